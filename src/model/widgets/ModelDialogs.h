#pragma once

#include "zkblockmodel_export.h"

class BlockDefinition;
class BlockInstance;
class BlockInstanceArea;
class SignalLabel;

// The model's own modal dialogs, parented to the main window. Each writes only on OK; read-only
// dialogs show the values and write nothing.
namespace ModelDialogs {

ZK_MODEL_EXPORT bool editInstance(BlockInstance* instance, bool readOnly, BlockInstanceArea* area);
ZK_MODEL_EXPORT bool editRuntimePosition(BlockInstance* instance, bool readOnly);
ZK_MODEL_EXPORT bool editDefinition(BlockDefinition* definition, bool readOnly);
ZK_MODEL_EXPORT bool editSignalLabel(SignalLabel* label);

} // namespace ModelDialogs
