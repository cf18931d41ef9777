#include "AreaInfo.h"

#include "BlockInstanceArea.h"

AreaInfo::AreaInfo(BlockInstanceArea* area)
    : QObject(area)
    , m_area(area)
{
}

AreaInfo::~AreaInfo() = default;

QString AreaInfo::name() const
{
    return m_area ? m_area->displayName() : QString();
}
