#include "SceneRebuild.h"

#include "BlockDefinition.h"

QString SceneRebuild::definitionToolTip(const BlockDefinition* definition)
{
    if (!definition)
        return QString();
    auto it = m_toolTips.find(definition);
    if (it == m_toolTips.end())
        it = m_toolTips.insert(definition, definition->toolTipText());
    return it.value();
}
