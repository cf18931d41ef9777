#pragma once

#include "BlockSymbol.h"
#include "ModelEnums.h"
#include "Text.h"
#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QString>

class Block;
class BlockCode;
class BlockInstance;
class BlockLibrary;
class BlockLibraryContainer;
class BlockPin;
class LibraryBlockDefinitionSubWindow;
class ParameterDefinition;
namespace ModelJson {
class Reader;
}


// One version of a block: its pins, symbol, rights, and (for a block made of blocks) its code.
class ZK_MODEL_EXPORT BlockDefinition : public QObject
{
    Q_OBJECT
public:
    ~BlockDefinition() override;

    Block* block() const;
    unsigned int version() const { return m_version; }

    bool isVisible() const;
    bool isWritable() const;
    bool isStepInAllowed() const;
    bool isParameterDefinitionBlock() const { return m_parameterDefinitionBlock; }
    void setParameterDefinitionBlock(bool value);

    unsigned int accessLevelWrite() const { return m_accessLevelWrite; }
    void setAccessLevelWrite(unsigned int level);
    unsigned int accessLevelRead() const { return m_accessLevelRead; }
    void setAccessLevelRead(unsigned int level);
    // Whether users may look into instances at all (a block may hide its inside).
    bool stepInEnabled() const { return m_stepIn; }
    void setStepInEnabled(bool enabled);

    bool allowDelete() const;
    unsigned int instanceCount() const { return unsigned(m_instances.size()); }
    QList<BlockInstance*> instances() const { return m_instances; }

    // Copies content and properties, whatever block the other belongs to; keeps the own version.
    void cloneFrom(const BlockDefinition* other);

    // PNG bytes of the list icon. An icon kept as SVG is drawn once at SmallIconSize and cached.
    QByteArray smallListImage() const;
    static constexpr int SmallIconSize = 24;
    // The icon as stored: PNG or SVG bytes, or empty.
    QByteArray smallListImageSource() const { return m_smallListImage; }
    void setSmallListImage(const QByteArray& bytes);
    QString toolTipText() const;

    bool showPropertiesView(bool readOnly, unsigned int flags);

    QList<int> pins() const;
    BlockPin* pin(int identifier) const;
    // Adds or replaces the pin of that identifier, keeping the order of first insertion.
    void setPin(const BlockPin& pin);
    bool removePin(int identifier);
    void setPins(const QList<BlockPin>& pins);

    BlockSymbol* symbol() { return &m_symbol; }
    const BlockSymbol* symbol() const { return &m_symbol; }
    void setSymbol(const BlockSymbol& symbol);

    int blockType() const { return m_blockType; }
    void setBlockType(int type);

    // The name of the function that the device computes for a block without code ("and", "pi", ...).
    QString function() const { return m_function; }
    void setFunction(const QString& function);
    Text description() const { return m_description; }
    void setDescription(const Text& text) { m_description = text; }

    // Whether the block is made of blocks: only such a definition has a BlockCode.
    bool hasCode() const { return m_code != nullptr; }
    BlockCode* code() const { return m_code; }
    BlockCode* ensureCode();

    BlockLibrary* localBlockLibrary() const;
    BlockLibrary* existingLocalBlockLibrary() const;
    BlockLibrary* ensureLocalBlockLibrary();
    // Finds a block that the code of this definition may refer to: the local libraries from here
    // outward, then the repository.
    Block* resolveBlock(const QString& identifier) const;
    BlockDefinition* resolveDefinition(const QString& identifier, unsigned int version) const;

    void attachParameterGeneralDefinition(unsigned int index, ParameterDefinition* definition);
    ParameterDefinition* detachParameterGeneralDefinition(unsigned int index);
    QList<unsigned int> parameterIdentifiers(int areaIndex) const;
    ParameterDefinition* parameterDefinition(int areaIndex, unsigned int identifier) const;

    eRuntimeMembership runtimeMembership() const { return m_runtimeMembership; }
    void setRuntimeMembership(eRuntimeMembership membership);

    LibraryBlockDefinitionSubWindow* editSubWindow() const { return m_editSubWindow; }

    // Emits changed() and redrawRequired(); used after edits made through the setters.
    void notifyChanged();

Q_SIGNALS:
    void changed();
    void redrawRequired();

private:
    friend class ModelJson::Reader;
    friend class Block;
    friend class BlockInstance;
    friend class LibraryBlockDefinitionSubWindow;
    BlockDefinition(Block* block, unsigned int version);

    void setEditSubWindow(LibraryBlockDefinitionSubWindow* window) { m_editSubWindow = window; }
    void registerInstance(BlockInstance* instance);
    void unregisterInstance(BlockInstance* instance);
    bool wantsLocalLibrary() const;
    void setPinsSilently(const QList<BlockPin>& pins);
    void setPinSilently(const BlockPin& pin);

    Block* m_block;
    unsigned int m_version;
    QList<BlockPin*> m_pins;
    BlockSymbol m_symbol;
    int m_blockType = BlockTypeOrdinary;
    QString m_function;
    Text m_description;
    unsigned int m_accessLevelWrite = 0;
    unsigned int m_accessLevelRead = 0;
    bool m_stepIn = true;
    bool m_parameterDefinitionBlock = false;
    eRuntimeMembership m_runtimeMembership = RuntimeMembershipAny;
    QByteArray m_smallListImage;
    mutable QByteArray m_renderedIcon;
    BlockCode* m_code = nullptr;
    mutable BlockLibraryContainer* m_localContainer = nullptr;
    QMap<unsigned int, ParameterDefinition*> m_parameters;
    LibraryBlockDefinitionSubWindow* m_editSubWindow = nullptr;
    QList<BlockInstance*> m_instances;
};
