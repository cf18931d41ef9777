#pragma once

#include "zkblockmodel_export.h"

#include <QList>

class Block;
class BlockDefinition;
class BlockLibraryContainer;
struct BlockRecord;
struct CodeRecord;
struct DefinitionRecord;
struct InstanceRecord;
struct ConnectionRecord;

// The stored form of blocks, definitions and code, shared by project files, library files and block
// snapshots (docs/project-format.md). The records (ModelRecords.h) read, check and write it; the
// Reader makes and updates model objects from records that were read completely, so a bad file
// leaves nothing behind.
namespace ModelJson {

// Applies records in two passes: first every block with its definitions, pins and local blocks,
// then the code, so that code may refer to any block of the first pass. The records must live until
// fillCode() is done.
class ZK_MODEL_EXPORT Reader
{
public:
    // Code refers to blocks of these containers before those of the repository.
    void addSearchContainer(BlockLibraryContainer* container) { m_containers.append(container); }
    void setUseRepository(bool use) { m_useRepository = use; }

    // First pass: a new block without its code; the code is remembered for fillCode().
    Block* createBlock(const BlockRecord& record);
    // Fills the definition in place, its code in the second pass; for a root definition and clones.
    void readDefinitionInto(BlockDefinition* definition, const DefinitionRecord& record);
    // Second pass over everything remembered by createBlock and readDefinitionInto.
    void fillCode();
    // Both passes on an existing block (a snapshot); definitions are updated in place.
    void applyBlock(Block* block, const BlockRecord& record);

    // Instances whose block could not be found and were given a fall-back block.
    int fallbackCount() const { return m_fallbacks; }

private:
    struct PendingCode
    {
        BlockDefinition* definition;
        const CodeRecord* code;
    };
    void readBlockData(Block* block, const BlockRecord& record);
    void readDefinitionData(BlockDefinition* definition, const DefinitionRecord& record);
    void readCode(BlockDefinition* definition, const CodeRecord& record);
    BlockDefinition* resolve(BlockDefinition* owner, const InstanceRecord& instance,
                             const QList<ConnectionRecord>& connections);

    QList<BlockLibraryContainer*> m_containers;
    bool m_useRepository = true;
    QList<PendingCode> m_pending;
    int m_fallbacks = 0;
};

} // namespace ModelJson
