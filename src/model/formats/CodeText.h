#pragma once

#include "ModelRecords.h"

#include <QByteArray>
#include <QList>

// The text form of code (docs/project-format.md, "The text form of code"): sections of Key=Value
// lines, for undo, export and, behind a header, the clipboard. Its instances, connections and signal
// labels are the records of the JSON form, only spelt differently; BlockCode writes them and applies
// what parse() read, as the JSON reader does.
namespace CodeText {

struct Instance
{
    InstanceRecord record;
    // "RuntimeAbsolute=" and "BackgroundAbsolute=": the place in the task as it is, not after what
    // the task holds already.
    bool realtimeAbsolute = false;
    bool backgroundAbsolute = false;
    // "Place=": the 1-based place in the code's list of instances, 0 for none.
    unsigned int place = 0;
};

struct Content
{
    QList<Instance> instances;
    QList<ConnectionRecord> connections;
    QList<SignalLabelRecord> labels;
    // The JSON form of blocks that travel with the instances (Block::saveContents()).
    QList<QByteArray> localBlocks;
};

// False for a text that is refused as a whole; then `content` is of no use.
bool parse(const QByteArray& text, Content& content);

QByteArray instanceText(const InstanceRecord& record, unsigned int place = 0);
QByteArray connectionText(const ConnectionRecord& record);
QByteArray labelText(const SignalLabelRecord& record);
QByteArray localBlockText(const QByteArray& contents);

} // namespace CodeText
