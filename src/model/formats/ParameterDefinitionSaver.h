#pragma once

#include "zkblockmodel_export.h"

#include <QByteArray>

class ParameterDefinition;

// Writes the saved text form of parameter definitions (docs/parameter-format.md); the exact inverse
// of ParameterDefinitionLoader.
class ZK_MODEL_EXPORT ParameterDefinitionSaver
{
public:
    // Empty for a null definition.
    static QByteArray saveParameterDefinition(ParameterDefinition* definition);
};
