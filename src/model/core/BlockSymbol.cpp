#include "BlockSymbol.h"

#include <algorithm>

BlockSymbol::BlockSymbol() = default;
BlockSymbol::~BlockSymbol() = default;

QList<int> BlockSymbol::inputPins() const
{
    return m_inputs;
}

QList<int> BlockSymbol::outputPins() const
{
    return m_outputs;
}

QByteArray BlockSymbol::image() const
{
    return m_image;
}

QSizeF BlockSymbol::defaultSize() const
{
    return m_defaultSize;
}

QSizeF BlockSymbol::size() const
{
    return m_size.isValid() ? m_size : m_defaultSize;
}

QSizeF BlockSymbol::sizeForPins(int inputs, int outputs)
{
    const int rows = std::max({inputs, outputs, 1});
    return QSizeF(4, rows + 1);
}

bool BlockSymbol::operator==(const BlockSymbol& other) const
{
    return m_inputs == other.m_inputs && m_outputs == other.m_outputs && m_image == other.m_image
        && m_defaultSize == other.m_defaultSize && m_size == other.m_size;
}
