#pragma once

#include <QByteArray>
#include <QList>
#include <QString>

class Block;
class BlockCode;
class BlockInstanceArea;
class BlockLibraryContainer;
class Project;

// A small project for a test: one standard library with a few logic blocks, one user library and
// two areas, made active on construction and torn down on destruction, so each test starts clean.
class TestModel
{
public:
    TestModel();
    ~TestModel();
    TestModel(const TestModel&) = delete;
    TestModel& operator=(const TestModel&) = delete;

    Project* project() const { return m_project; }
    BlockLibraryContainer* standard() const { return m_standard; }
    BlockLibraryContainer* user() const { return m_user; }
    BlockInstanceArea* area() const { return m_area; }
    BlockInstanceArea* globalArea() const { return m_global; }
    BlockCode* rootCode() const;

    // StandardBlock_1 AND (1,2 -> 3), StandardBlock_2 OR, StandardBlock_3 NOT (1 -> 2),
    // StandardBlock_10 ADD (DINT 1,2 -> 3), StandardBlock_20 composite "Regler" (1 -> 2) whose
    // code holds an AND, ToolBlock_8000008 constant, MagicBlock_300005 (enable 1 -> value 2), MagicBlock_300006 (value 1).
    Block* block(const QString& identifier) const;

    // Loads a project from JSON text and activates it in place of this one; null on error.
    static Project* loadJson(const QByteArray& json, QString* error = nullptr);

private:
    Project* m_project;
    BlockLibraryContainer* m_standard;
    BlockLibraryContainer* m_user;
    BlockInstanceArea* m_area;
    BlockInstanceArea* m_global;
};

// Path of a file under tests/data.
QString testDataPath(const QString& relative);
// The folder of the sample project in the source tree: a test binary does not link the studio's
// resources, which embed the same files.
QString sampleProjectDir();
// A file's bytes; empty when it cannot be read.
QByteArray readFile(const QString& path);

// The identifiers of the code's instances, in the code's order.
QList<unsigned int> instanceIds(const BlockCode* code);
// The text form of the whole code, signal labels included: what a round trip has to keep.
QByteArray wholeText(const BlockCode* code);

// Closes the repository's help window and deletes it, so that the next test starts without one.
void closeHelpWindow();
