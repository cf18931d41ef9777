#include "BlockInstance.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "BlockSymbol.h"
#include "ModelDialogs.h"
#include "System.h"

#include <QCoreApplication>

BlockInstance::BlockInstance(BlockCode* code, unsigned int identifier, BlockDefinition* definition)
    : QObject(code)
    , m_code(code)
    , m_identifier(identifier)
{
    setDefinitionPointer(definition);
    syncPins();
}

BlockInstance::~BlockInstance()
{
    setDefinitionPointer(nullptr);
    const auto pins = m_pins;
    m_pins.clear();
    m_pinIndex.clear();
    for (BlockPinInstance* pin : pins) {
        if (m_code)
            m_code->pinAboutToGo(pin);
        delete pin;
    }
}

void BlockInstance::setDefinitionPointer(BlockDefinition* definition)
{
    if (m_definition == definition)
        return;
    if (m_definition)
        m_definition->unregisterInstance(this);
    m_definition = definition;
    if (definition) {
        definition->registerInstance(this);
        if (const Block* block = definition->block())
            m_blockIdentifier = block->identifier();
        m_blockVersion = definition->version();
    }
}

BlockDefinition* BlockInstance::blockDefinition() const
{
    return m_definition.data();
}

Block* BlockInstance::block() const
{
    return m_definition ? m_definition->block() : nullptr;
}

void BlockInstance::replaceBlockDefinition(BlockDefinition* definition)
{
    if (!definition || definition == m_definition)
        return;
    setDefinitionPointer(definition);
    syncPins();
    Q_EMIT definitionChanged();
    if (m_code)
        m_code->notifyChanged();
}

void BlockInstance::syncPins()
{
    const QList<int> ids = m_definition ? m_definition->pins() : QList<int>();
    QList<BlockPinInstance*> pins;
    QHash<int, BlockPinInstance*> index;
    pins.reserve(ids.size());
    for (int id : ids) {
        BlockPinInstance* pin = m_pinIndex.take(id);
        if (!pin) {
            pin = new BlockPinInstance(this, id);
            if (const BlockPin* blockPin = m_definition->pin(id))
                pin->m_initialValue = blockPin->defaultInitialValue();
        }
        if (pin->m_inverted && !pin->isInvertible())
            pin->m_inverted = false;
        pins.append(pin);
        index.insert(id, pin);
    }
    for (BlockPinInstance* gone : std::as_const(m_pinIndex)) {
        if (m_code)
            m_code->pinAboutToGo(gone);
        delete gone;
    }
    m_pins = pins;
    m_pinIndex = index;
}

int BlockInstance::blockType() const
{
    return m_definition ? m_definition->blockType() : BlockTypeOrdinary;
}

QString BlockInstance::title() const
{
    const Block* b = block();
    if (!b)
        return QString();
    switch (blockType()) {
    case BlockTypeText:
        return QString();
    case BlockTypePin: {
        const QStringList list = parameterList(nullptr).toStringList();
        return list.size() >= 3 ? list.at(2) : b->name().text();
    }
    default:
        return b->name().text();
    }
}

QString BlockInstance::name() const
{
    return m_name;
}

void BlockInstance::setName(const QString& name)
{
    if (name == m_name)
        return;
    m_name = name;
    m_code->notifyChanged();
}

QString BlockInstance::numberText() const
{
    const Block* b = block();
    if (!b)
        return QString();
    const QString number = b->displayNumber();
    return number.isEmpty() ? b->identifier() : number;
}

bool BlockInstance::isVersionVisible() const
{
    const Block* b = block();
    return b && b->versionVisible();
}

unsigned int BlockInstance::version() const
{
    return m_definition ? m_definition->version() : 0;
}

BlockCode* BlockInstance::code(BlockInstanceArea*) const
{
    return m_definition ? m_definition->code() : nullptr;
}

BlockCode* BlockInstance::ownerCode() const
{
    return m_code;
}

QString BlockInstance::parameterText(unsigned int) const
{
    return m_parameterText;
}

void BlockInstance::setParameterText(const QString& text)
{
    if (text == m_parameterText)
        return;
    m_parameterText = text;
    if (m_code)
        m_code->notifyChanged();
}

QString BlockInstance::parameterValue(const QString& key) const
{
    const QString prefix = key + QLatin1Char('=');
    for (const QString& part : m_parameterText.split(QLatin1Char(';'))) {
        if (part.startsWith(prefix))
            return part.mid(prefix.size());
    }
    return QString();
}

void BlockInstance::setParameterValue(const QString& key, const QString& value)
{
    const QString prefix = key + QLatin1Char('=');
    QStringList parts = m_parameterText.isEmpty() ? QStringList() : m_parameterText.split(QLatin1Char(';'));
    bool found = false;
    for (QString& part : parts) {
        if (part.startsWith(prefix)) {
            part = prefix + value;
            found = true;
        }
    }
    if (!found)
        parts.append(prefix + value);
    setParameterText(parts.join(QLatin1Char(';')));
}

QVariant BlockInstance::parameterList(BlockInstanceArea*) const
{
    switch (blockType()) {
    case BlockTypeText:
    case BlockTypeMagic:
        return QVariant(m_lines);
    case BlockTypePin: {
        // Number, direction and name; direction and name follow the enclosing definition's pin.
        QStringList list = m_lines;
        while (list.size() < 3)
            list.append(QString());
        bool ok = false;
        const int number = list.at(0).toInt(&ok);
        const BlockDefinition* enclosing = m_code ? m_code->definition() : nullptr;
        if (ok && enclosing) {
            if (const BlockPin* pin = enclosing->pin(number)) {
                list[1] = QString::number(int(pin->function()));
                const QString name = pin->shortName().isEmpty() ? pin->name().text() : pin->shortName();
                list[2] = name;
            }
        }
        return QVariant(list);
    }
    default:
        return QVariant(QStringList());
    }
}

void BlockInstance::setLines(const QStringList& lines)
{
    if (lines == m_lines)
        return;
    m_lines = lines;
    if (m_code)
        m_code->notifyChanged();
}

QPointF BlockInstance::position() const
{
    return m_position;
}

void BlockInstance::setPosition(const QPointF& position)
{
    if (position == m_position)
        return;
    m_position = position;
    if (m_code)
        m_code->notifyChanged();
}

BlockSymbol* BlockInstance::symbol() const
{
    auto* self = const_cast<BlockInstance*>(this);
    if (!m_ownSymbol) {
        if (m_definition)
            return m_definition->symbol();
        self->m_ownSymbol = std::make_unique<BlockSymbol>();
        return m_ownSymbol.get();
    }
    // An own size on top of whatever the definition says about pins and image.
    const QSizeF size = m_ownSymbol->hasOwnSize() ? m_ownSymbol->size() : QSizeF();
    if (m_definition)
        *self->m_ownSymbol = *m_definition->symbol();
    self->m_ownSymbol->setSize(size);
    return m_ownSymbol.get();
}

void BlockInstance::setSize(const QSizeF& size)
{
    if (!size.isValid()) {
        if (!m_ownSymbol)
            return;
        m_ownSymbol.reset();
    } else {
        if (m_ownSymbol && m_ownSymbol->hasOwnSize() && m_ownSymbol->size() == size)
            return;
        if (!m_ownSymbol)
            m_ownSymbol = std::make_unique<BlockSymbol>(m_definition ? *m_definition->symbol() : BlockSymbol());
        m_ownSymbol->setSize(size);
    }
    if (m_code)
        m_code->notifyChanged();
}

QSizeF BlockInstance::ownSize() const
{
    return m_ownSymbol && m_ownSymbol->hasOwnSize() ? m_ownSymbol->size() : QSizeF();
}

QList<BlockPinInstance*> BlockInstance::pins() const
{
    return m_pins;
}

BlockPinInstance* BlockInstance::pin(int identifier) const
{
    return m_pinIndex.value(identifier);
}

QString BlockInstance::note() const
{
    return m_note;
}

void BlockInstance::setNote(const QString& note)
{
    if (note == m_note)
        return;
    m_note = note;
    if (m_code)
        m_code->notifyChanged();
}

bool BlockInstance::showPropertiesView(bool readOnly, BlockInstanceArea* area)
{
    return ModelDialogs::editInstance(this, readOnly, area);
}

void BlockInstance::showRuntimePositionView(bool readOnly)
{
    ModelDialogs::editRuntimePosition(this, readOnly);
}

int BlockInstance::error() const
{
    if (m_error)
        return m_error;
    if (!m_definition)
        return 1;
    const Block* b = m_definition->block();
    return b && b->isFallbackBlock() ? 2 : 0;
}

void BlockInstance::setError(int error)
{
    if (error == m_error)
        return;
    m_error = error;
    if (m_code)
        m_code->notifyChanged();
}

void BlockInstance::resetError()
{
    setError(0);
}

void BlockInstance::unbindBlock()
{
    Block* original = block();
    BlockDefinition* enclosing = m_code ? m_code->definition() : nullptr;
    if (!original || !enclosing || original->isLocalBlock())
        return;
    BlockLibrary* local = enclosing->localBlockLibrary();
    if (!local)
        local = enclosing->ensureLocalBlockLibrary();
    Block* copy = Block::createUserBlock();
    copy->cloneFrom(original);
    copy->setUserBlock(true);
    copy->setFallbackBlock(false);
    if (!original->isFallbackBlock())
        copy->setOrigin(original->identifier(), version());
    local->insertBlock(copy);
    BlockDefinition* definition = copy->blockDefinition(version());
    if (definition)
        replaceBlockDefinition(definition);
}

void BlockInstance::bindBlock()
{
    const Block* local = block();
    BlockDefinition* enclosing = m_code ? m_code->definition() : nullptr;
    if (!local || !enclosing || !local->isLocalBlock() || local->originIdentifier().isEmpty())
        return;
    BlockDefinition* origin = nullptr;
    // The origin is a library block: look past the local libraries.
    const BlockLibrary* own = local->ownerLibrary();
    for (const BlockDefinition* d = enclosing; d && !origin;) {
        Block* candidate = d->resolveBlock(local->originIdentifier());
        if (candidate && candidate->ownerLibrary() != own)
            origin = candidate->blockDefinition(local->originVersion());
        break;
    }
    if (!origin) {
        System::addInformationMessage(QCoreApplication::translate("BlockInstance", "Bausteincode"),
                                      QCoreApplication::translate("BlockInstance", "Der Bibliotheksbaustein %1 (Version %2) ist nicht mehr vorhanden.")
                                          .arg(local->originIdentifier())
                                          .arg(local->originVersion()));
        return;
    }
    replaceBlockDefinition(origin);
}

void BlockInstance::createNewBlockVersion()
{
    Block* b = block();
    if (!b || !m_definition || b->isReadOnlyMaterial() || b->isRootBlock())
        return;
    BlockDefinition* definition = b->createDefinitionClone(m_definition->version());
    if (definition)
        replaceBlockDefinition(definition);
}
