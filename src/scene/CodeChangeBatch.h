#pragma once

#include "BlockCode.h"

#include <QPointer>

// Holds back a code's changed() while a command changes many instances one by one, and sends it
// once at the end: every changed() rebuilds the scenes of the code, so a thousand deleted blocks
// would otherwise mean a thousand rebuilds. Inside an outer batch the signal waits for the outer
// one. The code may be deleted by the changes themselves; then nothing is sent.
class CodeChangeBatch
{
public:
    explicit CodeChangeBatch(BlockCode* code)
        : m_code(code)
        , m_previous(code ? code->blockChangeSignals(true) : false)
    {
    }
    ~CodeChangeBatch()
    {
        if (!m_code)
            return;
        m_code->blockChangeSignals(m_previous);
        if (!m_previous)
            m_code->sendBlockedChangeSignal();
    }
    CodeChangeBatch(const CodeChangeBatch&) = delete;
    CodeChangeBatch& operator=(const CodeChangeBatch&) = delete;

private:
    QPointer<BlockCode> m_code;
    bool m_previous;
};
