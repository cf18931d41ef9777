#include "PropertiesChangeRecord.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "ParameterDefinitionSaver.h"

namespace {

void capture(BlockInstance* instance, unsigned int index, QString& text, QByteArray& contents,
             QByteArray& parameter, quint32& recordedIndex)
{
    if (!instance)
        return;
    text = instance->parameterText(index);
    Block* block = instance->block();
    contents = block ? block->saveContents() : QByteArray();
    BlockDefinition* definition = instance->blockDefinition();
    ParameterDefinition* parameterDefinition = definition ? definition->parameterDefinition(int(index), 0) : nullptr;
    parameter = parameterDefinition ? ParameterDefinitionSaver::saveParameterDefinition(parameterDefinition)
                                    : QByteArray();
    recordedIndex = index;
}

} // namespace

void captureBefore(PropertiesChangeRecord& record, BlockInstance* pInstance, unsigned int index)
{
    capture(pInstance, index, record.textBefore, record.contentsBefore, record.parameterBefore, record.indexBefore);
}

void captureAfter(PropertiesChangeRecord& record, BlockInstance* pInstance, unsigned int index)
{
    capture(pInstance, index, record.textAfter, record.contentsAfter, record.parameterAfter, record.indexAfter);
}
