#include "BlockDefinition.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockRepository.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ModelDialogs.h"
#include "ModelJson.h"
#include "ModelRecords.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"
#include "ParameterDefinitionSaver.h"
#include "SimpleType.h"
#include "System.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QImage>
#include <QPainter>
#include <QSvgRenderer>

BlockDefinition::BlockDefinition(Block* block, unsigned int version)
    : QObject(block)
    , m_block(block)
    , m_version(version)
{
    if (block && block->isMagicBlock())
        m_blockType = BlockTypeMagic;
}

BlockDefinition::~BlockDefinition()
{
    // Instances of a definition that goes lose their block; they are deleted with their code by the
    // model or stay as faulty instances until then.
    const auto instances = m_instances;
    for (BlockInstance* instance : instances) {
        instance->setDefinitionPointer(nullptr);
        instance->syncPins();
        // Nodes that show this definition's code let go of it while it still exists.
        Q_EMIT instance->definitionChanged();
        if (BlockCode* code = instance->ownerCode())
            code->notifyChanged();
    }
    // The code first: its instances unregister from definitions that may be local blocks.
    delete m_code;
    m_code = nullptr;
    delete m_localContainer;
    m_localContainer = nullptr;
    qDeleteAll(m_pins);
    qDeleteAll(m_parameters);
}

Block* BlockDefinition::block() const
{
    return m_block;
}

bool BlockDefinition::isVisible() const
{
    return System::instance().userAccessLevelCode() >= m_accessLevelRead;
}

bool BlockDefinition::isWritable() const
{
    if (m_block && (m_block->isReadOnlyMaterial() || m_block->isFallbackBlock()))
        return false;
    return System::instance().userAccessLevelCode() >= m_accessLevelWrite;
}

bool BlockDefinition::isStepInAllowed() const
{
    return m_code && m_stepIn && isVisible();
}

void BlockDefinition::setParameterDefinitionBlock(bool value)
{
    if (value == m_parameterDefinitionBlock)
        return;
    m_parameterDefinitionBlock = value;
    notifyChanged();
}

void BlockDefinition::setAccessLevelWrite(unsigned int level)
{
    if (level == m_accessLevelWrite)
        return;
    m_accessLevelWrite = level;
    notifyChanged();
}

void BlockDefinition::setAccessLevelRead(unsigned int level)
{
    if (level == m_accessLevelRead)
        return;
    m_accessLevelRead = level;
    notifyChanged();
}

void BlockDefinition::setStepInEnabled(bool enabled)
{
    if (enabled == m_stepIn)
        return;
    m_stepIn = enabled;
    notifyChanged();
}

bool BlockDefinition::allowDelete() const
{
    return m_block && m_block->allowDelete();
}

void BlockDefinition::cloneFrom(const BlockDefinition* other)
{
    if (!other || other == this)
        return;
    // One path for every field: the same records that snapshots and project files use.
    DefinitionRecord record = DefinitionRecord::of(other);
    record.version = m_version;
    if (!other->m_code && m_code) {
        delete m_code;
        m_code = nullptr;
    }
    ModelJson::Reader reader;
    reader.readDefinitionInto(this, record);
    reader.fillCode();
    for (BlockInstance* instance : std::as_const(m_instances))
        instance->syncPins();
    notifyChanged();
}

void BlockDefinition::setSmallListImage(const QByteArray& bytes)
{
    if (bytes == m_smallListImage)
        return;
    m_smallListImage = bytes;
    m_renderedIcon.clear();
    notifyChanged();
}

QByteArray BlockDefinition::smallListImage() const
{
    const QByteArray head = m_smallListImage.left(256).trimmed();
    const bool svg = head.startsWith("<svg") || (head.startsWith("<?xml") && head.contains("<svg"));
    if (!svg)
        return m_smallListImage;
    if (m_renderedIcon.isEmpty()) {
        QSvgRenderer renderer(m_smallListImage);
        if (!renderer.isValid())
            return m_smallListImage; // undecodable: callers show their default icon
        QImage image(SmallIconSize, SmallIconSize, QImage::Format_ARGB32_Premultiplied);
        image.fill(Qt::transparent);
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        renderer.render(&painter);
        painter.end();
        QBuffer buffer(&m_renderedIcon);
        buffer.open(QIODevice::WriteOnly);
        image.save(&buffer, "PNG");
    }
    return m_renderedIcon;
}

QString BlockDefinition::toolTipText() const
{
    if (!m_block)
        return QString();
    QString text = QStringLiteral("<b>%1</b>").arg(m_block->name().text().toHtmlEscaped());
    const QString number = m_block->displayNumber();
    text += QStringLiteral("<br>%1").arg(number.isEmpty() ? m_block->identifier().toHtmlEscaped() : number);
    if (m_block->versionVisible() || m_block->versions().size() > 1)
        text += QCoreApplication::translate("BlockDefinition", " (Version %1)").arg(m_version);
    if (!m_block->shortName().isEmpty())
        text += QStringLiteral(" &ndash; %1").arg(m_block->shortName().toHtmlEscaped());
    const QString description = m_description.text();
    if (!description.isEmpty())
        text += QStringLiteral("<br>%1").arg(description.section(QLatin1Char('\n'), 0, 0).toHtmlEscaped());
    return text;
}

bool BlockDefinition::showPropertiesView(bool readOnly, unsigned int)
{
    return ModelDialogs::editDefinition(this, readOnly);
}

QList<int> BlockDefinition::pins() const
{
    QList<int> ids;
    ids.reserve(m_pins.size());
    for (const BlockPin* pin : m_pins)
        ids.append(pin->identifier());
    return ids;
}

BlockPin* BlockDefinition::pin(int identifier) const
{
    for (BlockPin* pin : m_pins) {
        if (pin->identifier() == identifier)
            return pin;
    }
    return nullptr;
}

void BlockDefinition::setPinSilently(const BlockPin& pin)
{
    if (BlockPin* existing = this->pin(pin.identifier()))
        *existing = pin;
    else
        m_pins.append(new BlockPin(pin));
}

void BlockDefinition::setPinsSilently(const QList<BlockPin>& pins)
{
    // Pins stay the same objects where the identifier stays, so that pointers held elsewhere live on.
    QList<BlockPin*> kept;
    for (const BlockPin& pin : pins) {
        BlockPin* existing = this->pin(pin.identifier());
        if (existing) {
            *existing = pin;
            m_pins.removeOne(existing);
            kept.append(existing);
        } else {
            kept.append(new BlockPin(pin));
        }
    }
    qDeleteAll(m_pins);
    m_pins = kept;
}

void BlockDefinition::setPin(const BlockPin& pin)
{
    setPinSilently(pin);
    for (BlockInstance* instance : std::as_const(m_instances))
        instance->syncPins();
    notifyChanged();
}

bool BlockDefinition::removePin(int identifier)
{
    BlockPin* pin = this->pin(identifier);
    if (!pin)
        return false;
    m_pins.removeOne(pin);
    delete pin;
    QList<int> inputs = m_symbol.inputPins();
    QList<int> outputs = m_symbol.outputPins();
    inputs.removeAll(identifier);
    outputs.removeAll(identifier);
    m_symbol.setInputPins(inputs);
    m_symbol.setOutputPins(outputs);
    for (BlockInstance* instance : std::as_const(m_instances))
        instance->syncPins();
    notifyChanged();
    return true;
}

void BlockDefinition::setPins(const QList<BlockPin>& pins)
{
    setPinsSilently(pins);
    for (BlockInstance* instance : std::as_const(m_instances))
        instance->syncPins();
    notifyChanged();
}

void BlockDefinition::setSymbol(const BlockSymbol& symbol)
{
    if (symbol == m_symbol)
        return;
    m_symbol = symbol;
    notifyChanged();
}

void BlockDefinition::setBlockType(int type)
{
    if (type == m_blockType)
        return;
    m_blockType = type;
    notifyChanged();
}

void BlockDefinition::setFunction(const QString& function)
{
    if (function == m_function)
        return;
    m_function = function;
    notifyChanged();
}

BlockCode* BlockDefinition::ensureCode()
{
    if (!m_code)
        m_code = new BlockCode(this);
    return m_code;
}

bool BlockDefinition::wantsLocalLibrary() const
{
    if (!m_code || !m_block)
        return false;
    if (m_block->isRootBlock() || m_block->isUserBlock() || m_block->isLocalBlock())
        return true;
    return !m_block->isReadOnlyMaterial();
}

BlockLibrary* BlockDefinition::existingLocalBlockLibrary() const
{
    return m_localContainer ? m_localContainer->library() : nullptr;
}

BlockLibrary* BlockDefinition::localBlockLibrary() const
{
    if (!m_localContainer && wantsLocalLibrary())
        const_cast<BlockDefinition*>(this)->ensureLocalBlockLibrary();
    return existingLocalBlockLibrary();
}

BlockLibrary* BlockDefinition::ensureLocalBlockLibrary()
{
    if (!m_localContainer) {
        const QString identifier = m_block ? QStringLiteral("%1:%2").arg(m_block->identifier()).arg(m_version)
                                           : QString::number(m_version);
        m_localContainer = new BlockLibraryContainer(identifier, BlockLibraryContainer::LocalContainerKind,
                                                     Text(LanguageManager::German, QStringLiteral("Lokale Bausteine")),
                                                     this);
    }
    return m_localContainer->library();
}

Block* BlockDefinition::resolveBlock(const QString& identifier) const
{
    for (const BlockDefinition* d = this; d;) {
        if (const BlockLibrary* local = d->existingLocalBlockLibrary()) {
            if (Block* block = local->block(identifier))
                return block;
        }
        const Block* block = d->m_block;
        const BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
        const BlockLibraryContainer* container = library ? library->container() : nullptr;
        d = container && container->isLocal() ? qobject_cast<const BlockDefinition*>(container->parent()) : nullptr;
    }
    return BlockRepository::instance().block(identifier);
}

BlockDefinition* BlockDefinition::resolveDefinition(const QString& identifier, unsigned int version) const
{
    // As when reading: a block that has the version wins over a fall-back block of the same name.
    BlockDefinition* fallback = nullptr;
    for (const BlockDefinition* d = this; d;) {
        if (const BlockLibrary* local = d->existingLocalBlockLibrary()) {
            if (const Block* block = local->block(identifier)) {
                BlockDefinition* found = block->blockDefinition(version);
                if (found && !block->isFallbackBlock())
                    return found;
                if (found && !fallback)
                    fallback = found;
            }
        }
        const Block* block = d->m_block;
        const BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
        const BlockLibraryContainer* container = library ? library->container() : nullptr;
        d = container && container->isLocal() ? qobject_cast<const BlockDefinition*>(container->parent()) : nullptr;
    }
    if (BlockDefinition* found = BlockRepository::instance().blockDefinition(identifier, version))
        return found;
    return fallback;
}

void BlockDefinition::attachParameterGeneralDefinition(unsigned int index, ParameterDefinition* definition)
{
    if (!definition)
        return;
    ParameterDefinition* old = m_parameters.value(index);
    if (old == definition)
        return;
    delete old;
    m_parameters.insert(index, definition);
    m_parameterDefinitionBlock = true;
    notifyChanged();
}

ParameterDefinition* BlockDefinition::detachParameterGeneralDefinition(unsigned int index)
{
    ParameterDefinition* definition = m_parameters.take(index);
    if (definition) {
        if (m_parameters.isEmpty())
            m_parameterDefinitionBlock = false;
        notifyChanged();
    }
    return definition;
}

QList<unsigned int> BlockDefinition::parameterIdentifiers(int) const
{
    return m_parameters.keys();
}

ParameterDefinition* BlockDefinition::parameterDefinition(int, unsigned int identifier) const
{
    return m_parameters.value(identifier);
}

void BlockDefinition::setRuntimeMembership(eRuntimeMembership membership)
{
    if (membership == m_runtimeMembership)
        return;
    m_runtimeMembership = membership;
    notifyChanged();
}

void BlockDefinition::notifyChanged()
{
    Q_EMIT changed();
    Q_EMIT redrawRequired();
    if (m_block)
        m_block->notifyChanged();
}

void BlockDefinition::registerInstance(BlockInstance* instance)
{
    m_instances.append(instance);
}

void BlockDefinition::unregisterInstance(BlockInstance* instance)
{
    m_instances.removeOne(instance);
}
