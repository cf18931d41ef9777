#pragma once

#include <QString>
#include <QUndoCommand>

// An undo command that only counts how often the stack undoes and redoes it, so that a test sees
// which way the stack went.
class CountingCommand : public QUndoCommand
{
public:
    CountingCommand(int* undos, int* redos)
        : CountingCommand(QString(), undos, redos)
    {
    }
    CountingCommand(const QString& text, int* undos, int* redos)
        : QUndoCommand(text)
        , m_undos(undos)
        , m_redos(redos)
    {
    }
    void undo() override { ++*m_undos; }
    void redo() override { ++*m_redos; }

private:
    int* m_undos;
    int* m_redos;
};
