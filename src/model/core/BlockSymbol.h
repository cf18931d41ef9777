#pragma once

#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QList>
#include <QSizeF>

// The shape of a block: which pins stand on the left and on the right, top to bottom, the image
// drawn inside, and the size in model units.
class ZK_MODEL_EXPORT BlockSymbol
{
public:
    BlockSymbol();
    virtual ~BlockSymbol();
    BlockSymbol(const BlockSymbol&) = default;
    BlockSymbol& operator=(const BlockSymbol&) = default;

    // Pin identifiers top to bottom; the enable pin -1 stands among the inputs when there is one.
    virtual QList<int> inputPins() const;
    virtual QList<int> outputPins() const;
    // Image file bytes (PNG or SVG), empty for none.
    virtual QByteArray image() const;
    virtual QSizeF defaultSize() const;
    virtual QSizeF size() const;

    void setInputPins(const QList<int>& pins) { m_inputs = pins; }
    void setOutputPins(const QList<int>& pins) { m_outputs = pins; }
    void setImage(const QByteArray& bytes) { m_image = bytes; }
    void setDefaultSize(const QSizeF& size) { m_defaultSize = size; }
    // An invalid size means: as large as the default.
    void setSize(const QSizeF& size) { m_size = size; }
    bool hasOwnSize() const { return m_size.isValid(); }

    // Enough height for the longer pin column, one model unit per pin and a margin.
    static QSizeF sizeForPins(int inputs, int outputs);

    bool operator==(const BlockSymbol& other) const;

private:
    QList<int> m_inputs;
    QList<int> m_outputs;
    QByteArray m_image;
    QSizeF m_defaultSize{4, 3};
    QSizeF m_size;
};
