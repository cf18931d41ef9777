#pragma once

#include "Text.h"
#include "zkblockmodel_export.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>

class Block;
class BlockCode;
class BlockDefinition;
class BlockLibraryContainer;

// The JSON forms of blocks, definitions and code, shared by project files, library files and block
// snapshots. docs/project-format.md describes them.
namespace ModelJson {

ZK_MODEL_EXPORT QJsonObject textToJson(const Text& text);
ZK_MODEL_EXPORT Text textFromJson(const QJsonValue& value);
ZK_MODEL_EXPORT QJsonObject blockToJson(const Block* block);
ZK_MODEL_EXPORT QJsonObject definitionToJson(const BlockDefinition* definition);
ZK_MODEL_EXPORT QJsonObject codeToJson(const BlockCode* code);

// Reads blocks in two passes: first every block with its definitions, pins and local blocks, then
// the code, so that code may refer to any block read in the first pass. Validation comes before any
// object is made, so a bad text leaves nothing behind.
class ZK_MODEL_EXPORT Reader
{
public:
    explicit Reader(const QString& fileName);

    // Code refers to blocks of these containers before those of the repository.
    void addSearchContainer(BlockLibraryContainer* container) { m_containers.append(container); }
    void setUseRepository(bool use) { m_useRepository = use; }

    QString errorText() const { return m_error; }
    // "<file>: <place>: <what>"
    void fail(const QString& place, const QString& what);
    bool failed() const { return !m_error.isEmpty(); }

    bool validateText(const QJsonValue& value, const QString& place);
    bool validateBlock(const QJsonObject& object, const QString& place = QString());
    bool validateDefinition(const QJsonObject& object, const QString& place);
    bool validateCode(const QJsonObject& object, const QString& place);

    // First pass: a new block without its code; the code is remembered for fillCode().
    Block* createBlock(const QJsonObject& object);
    // Fills the definition's code; for a root definition read outside of any block file.
    void readDefinitionInto(BlockDefinition* definition, const QJsonObject& object);
    // Second pass over everything remembered by createBlock and readDefinitionInto.
    void fillCode();
    // Both passes on an existing block (a snapshot); definitions are updated in place.
    void applyBlock(Block* block, const QJsonObject& object);

    // Instances whose block could not be found and were given a fall-back block.
    int fallbackCount() const { return m_fallbacks; }

private:
    struct PendingCode
    {
        BlockDefinition* definition;
        QJsonObject code;
    };
    void readBlockData(Block* block, const QJsonObject& object);
    void readDefinitionData(BlockDefinition* definition, const QJsonObject& object);
    void readCode(BlockDefinition* definition, const QJsonObject& code);
    BlockDefinition* resolve(BlockDefinition* owner, const QString& identifier, unsigned int version,
                             const QJsonObject& instance, const QJsonArray& connections);

    QString m_fileName;
    QString m_error;
    QList<BlockLibraryContainer*> m_containers;
    bool m_useRepository = true;
    QList<PendingCode> m_pending;
    int m_fallbacks = 0;
};

} // namespace ModelJson
