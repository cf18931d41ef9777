#pragma once

#include "Text.h"
#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

class BlockDefinition;
class BlockLibrary;
namespace ModelJson {
class Reader;
}


// A versioned block type. It owns one BlockDefinition per version.
class ZK_MODEL_EXPORT Block : public QObject
{
    Q_OBJECT
public:
    static const QString SystemBlockPrefix;
    static const QString StandardBlockPrefix;
    static const QString TemplateBlockPrefix;
    static const QString ToolBlockPrefix;
    static const QString MagicBlockPrefix;
    static const QString RootBlockIdentifier;
    static const QString UserBlockPrefix;

    ~Block() override;

    static Block* createBlock(const QString& identifier);
    // A fresh identifier, unique in the repository and among the blocks alive in this process.
    static Block* createUserBlock();

    BlockDefinition* createDefinition();
    BlockDefinition* createDefinitionClone(unsigned int version);
    // Also a definition of an explicit version; null if that version exists.
    BlockDefinition* createDefinition(unsigned int version);
    void deleteDefinition(unsigned int version);
    // Takes over all data of the other block, definitions included, but not its identifier.
    void cloneFrom(const Block* other);

    BlockDefinition* blockDefinition(unsigned int version) const;
    QList<unsigned int> versions() const { return m_definitions.keys(); }
    QList<BlockDefinition*> definitions() const { return m_definitions.values(); }

    QString identifier() const { return m_identifier; }
    Text name() const { return m_name; }
    void setName(const Text& name);
    QString shortName() const { return m_shortName; }
    void setShortName(const QString& name);
    QString groupPath() const { return m_groupPath; }
    void setGroupPath(const QString& path);

    BlockLibrary* ownerLibrary() const { return m_ownerLibrary; }

    bool allowDelete() const;
    unsigned int instanceCount() const;
    bool versionVisible() const { return m_versionVisible; }
    void setVersionVisible(bool visible);

    QByteArray saveContents() const;
    bool loadContents(const QByteArray& contents);

    bool isSystemBlock() const;
    bool isStandardBlock() const;
    bool isTemplateBlock() const;
    bool isToolBlock() const;
    bool isMagicBlock() const;
    bool isRootBlock() const;
    bool isUserBlock() const { return m_userBlock; }
    bool isLocalBlock() const;
    bool isFallbackBlock() const { return m_fallbackBlock; }
    void setUserBlock(bool value) { m_userBlock = value; }
    void setFallbackBlock(bool value);

    unsigned int systemBlockNumber() const;
    unsigned int standardBlockNumber() const;
    unsigned int toolBlockNumber() const;
    unsigned int magicBlockNumber() const;
    // The one number shown for a block: standard, magic, system, tool, in this order; empty for a
    // block of none of these kinds, which shows its identifier instead.
    QString displayNumber() const;

    // The library block that a local copy was made from; empty for other blocks.
    QString originIdentifier() const { return m_originIdentifier; }
    unsigned int originVersion() const { return m_originVersion; }
    void setOrigin(const QString& identifier, unsigned int version);

    // A block lives in a standard library shipped with the suite and may not be changed.
    bool isReadOnlyMaterial() const;

    // Called by the model when something inside changed (definitions, pins, code of a definition).
    void notifyChanged();

Q_SIGNALS:
    void changed();

private:
    friend class ModelJson::Reader;
    friend class BlockLibrary;
    explicit Block(const QString& identifier);
    void setOwnerLibrary(BlockLibrary* library) { m_ownerLibrary = library; }
    BlockDefinition* addDefinition(unsigned int version);

    QString m_identifier;
    Text m_name;
    QString m_shortName;
    QString m_groupPath;
    bool m_userBlock = false;
    bool m_fallbackBlock = false;
    bool m_versionVisible = false;
    QString m_originIdentifier;
    unsigned int m_originVersion = 0;
    BlockLibrary* m_ownerLibrary = nullptr;
    QMap<unsigned int, BlockDefinition*> m_definitions;
};
