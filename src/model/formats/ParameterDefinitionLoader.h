#pragma once

#include "zkblockmodel_export.h"

#include <QByteArray>

class ParameterDefinition;

// Reads the saved text form of parameter definitions (docs/parameter-format.md).
class ZK_MODEL_EXPORT ParameterDefinitionLoader
{
public:
    // A ParameterDefinition or a RecordParameterDefinition as the text says, owned by the caller;
    // null for text that is no parameter definition.
    static ParameterDefinition* createAndLoadParameterDefinition(const QByteArray& text);
    // Replaces everything `definition` holds. Refused (and `definition` left as it was) for text that
    // is no parameter definition or one of the other kind: a record's elements have no place in a
    // plain definition, and a plain definition would be saved back as a record.
    static bool loadParameterDefinition(ParameterDefinition* definition, const QByteArray& text);
};
