#pragma once

#include "DatatypeProvider.h"

#include <QList>
#include <QPointF>
#include <QString>

class Block;
class BlockCode;
class BlockDefinition;
class BlockInstance;
class BlockLibrary;
class BlockLibraryContainer;
class BlockPinConnection;

// A few calls that set up blocks and code in a handful of lines, for tests, benchmarks and the
// fuzzers. docs/fixtures.md shows how. It lives in the static ZkBlockModelTestSupport, not in the
// installed model library.
namespace ModelBuilder {

struct PinSpec
{
    QString shortName;
    uchar datatype = DatatypeProvider::Bool;
};

// A block without code. Inputs are numbered 1..n top to bottom, outputs n+1..n+m.
Block* primitive(BlockLibrary* library, const QString& identifier, const QString& germanName,
                 const QList<PinSpec>& inputs, const QList<PinSpec>& outputs, const QString& function = QString(),
                 unsigned int version = 0);
// A block made of blocks: pins as above, an empty code to fill.
Block* composite(BlockLibrary* library, const QString& identifier, const QString& germanName,
                 const QList<PinSpec>& inputs, const QList<PinSpec>& outputs, unsigned int version = 0);
// A new instance at a position in model units, in the real-time task.
BlockInstance* place(BlockCode* code, BlockDefinition* definition, const QPointF& position);
// Joins an output and an input, with the pins' positions left to the drawing.
BlockPinConnection* wire(BlockCode* code, BlockInstance* from, int outputPin, BlockInstance* to, int inputPin,
                         const QList<QPointF>& nodes = {});
// The newest definition of a block.
BlockDefinition* newest(Block* block);

} // namespace ModelBuilder
