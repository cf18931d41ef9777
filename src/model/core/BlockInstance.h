#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointF>
#include <QPointer>
#include <QSizeF>
#include <QString>
#include <QStringList>
#include <QVariant>

#include <memory>

class Block;
class BlockCode;
class BlockDefinition;
class BlockInstanceArea;
class BlockPinInstance;
class BlockSymbol;
struct InstanceRecord;


// One placed block in a code.
class ZK_MODEL_EXPORT BlockInstance : public QObject
{
    Q_OBJECT
public:
    ~BlockInstance() override;

    unsigned int identifier() const { return m_identifier; }
    BlockDefinition* blockDefinition() const;
    Block* block() const;
    void replaceBlockDefinition(BlockDefinition* definition);

    virtual int blockType() const;
    virtual QString title() const;
    virtual QString name() const;
    virtual QString numberText() const;
    virtual bool isVersionVisible() const;
    virtual unsigned int version() const;
    virtual BlockCode* code(BlockInstanceArea* area) const;
    virtual BlockCode* ownerCode() const;
    virtual QString parameterText(unsigned int areaIndex) const;
    virtual void setParameterText(const QString& text);
    virtual QVariant parameterList(BlockInstanceArea* area) const;
    virtual QPointF position() const;
    virtual void setPosition(const QPointF& position);
    virtual BlockSymbol* symbol() const;
    virtual QList<BlockPinInstance*> pins() const;
    virtual BlockPinInstance* pin(int identifier) const;
    virtual QString note() const;
    virtual bool showPropertiesView(bool readOnly, BlockInstanceArea* area);
    virtual void showRuntimePositionView(bool readOnly);
    virtual int error() const;

    void setName(const QString& name);
    void setNote(const QString& note);
    // The lines of a text or magic block; for a pin block its number, direction and name.
    QStringList lines() const { return m_lines; }
    void setLines(const QStringList& lines);
    // A size of its own (text blocks grow with their text); invalid for the symbol's size.
    void setSize(const QSizeF& size);
    QSizeF ownSize() const;
    void setError(int error);
    // The parameter value of one parameter ("P12=5"); parameterText() joins them with ";".
    QString parameterValue(const QString& key) const;
    void setParameterValue(const QString& key, const QString& value);

    // The block and version this instance was made of, also after that definition went: saving
    // names it, so that reading back makes a fall-back block instead of losing the instance.
    QString blockIdentifier() const { return m_blockIdentifier; }
    unsigned int blockVersion() const { return m_blockVersion; }

    // Definitions of blocks are mutable; an instance follows its definition's pins at once.
    void syncPins();

public Q_SLOTS:
    void resetError();
    // Puts a local copy back onto the library block it was made from.
    void bindBlock();
    // Makes the block of this instance a local block of the code's definition.
    void unbindBlock();
    // Adds a new version of the instance's block, a copy of the current one, and uses it.
    void createNewBlockVersion();

Q_SIGNALS:
    void definitionChanged();

private:
    friend struct InstanceRecord;
    friend class BlockCode;
    friend class BlockInstanceArea;
    friend class BlockDefinition;
    BlockInstance(BlockCode* code, unsigned int identifier, BlockDefinition* definition);
    void setDefinitionPointer(BlockDefinition* definition);

    BlockCode* m_code;
    unsigned int m_identifier;
    QPointer<BlockDefinition> m_definition;
    QString m_blockIdentifier;
    unsigned int m_blockVersion = 0;
    QPointF m_position;
    QString m_name;
    QString m_note;
    QStringList m_lines;
    QString m_parameterText;
    int m_error = 0;
    QList<BlockPinInstance*> m_pins;
    QHash<int, BlockPinInstance*> m_pinIndex;
    std::unique_ptr<BlockSymbol> m_ownSymbol;
};
