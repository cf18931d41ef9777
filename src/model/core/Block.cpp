#include "Block.h"

#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockRepository.h"
#include "JsonInput.h"
#include "ModelJson.h"
#include "ModelRecords.h"

#include <QJsonDocument>
#include <QSet>
#include <QUuid>

const QString Block::SystemBlockPrefix = QStringLiteral("SystemBlock_");
const QString Block::StandardBlockPrefix = QStringLiteral("StandardBlock_");
const QString Block::TemplateBlockPrefix = QStringLiteral("TemplateBlock_");
const QString Block::ToolBlockPrefix = QStringLiteral("ToolBlock_");
const QString Block::MagicBlockPrefix = QStringLiteral("MagicBlock_");
const QString Block::RootBlockIdentifier = QStringLiteral("RootBlock");
const QString Block::UserBlockPrefix = QStringLiteral("UserBlock_");

namespace {

// The identifier is prefix followed by decimal digits only (possibly none), as in ^Prefix(\d*)$.
bool hasNumberedPrefix(const QString& identifier, const QString& prefix)
{
    if (!identifier.startsWith(prefix))
        return false;
    for (qsizetype i = prefix.size(); i < identifier.size(); ++i) {
        const QChar c = identifier.at(i);
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    return true;
}

unsigned int numberOf(const QString& identifier, const QString& prefix)
{
    if (!hasNumberedPrefix(identifier, prefix))
        return 0;
    return QStringView(identifier).mid(prefix.size()).toUInt();
}

QSet<QString>& liveUserIdentifiers()
{
    static QSet<QString> identifiers;
    return identifiers;
}

} // namespace

Block::Block(const QString& identifier)
    : m_identifier(identifier)
{
    if (identifier.startsWith(UserBlockPrefix))
        liveUserIdentifiers().insert(identifier);
}

Block::~Block()
{
    // Definitions go first while the block is still whole: their instances ask for block data.
    const auto definitions = m_definitions;
    m_definitions.clear();
    qDeleteAll(definitions);
    liveUserIdentifiers().remove(m_identifier);
}

Block* Block::createBlock(const QString& identifier)
{
    return new Block(identifier);
}

Block* Block::createUserBlock()
{
    QString identifier;
    do {
        identifier = UserBlockPrefix + QUuid::createUuid().toString(QUuid::Id128).left(12).toUpper();
    } while (liveUserIdentifiers().contains(identifier) || BlockRepository::instance().block(identifier));
    auto* block = new Block(identifier);
    block->m_userBlock = true;
    return block;
}

BlockDefinition* Block::addDefinition(unsigned int version)
{
    auto* definition = new BlockDefinition(this, version);
    m_definitions.insert(version, definition);
    if (m_userBlock || isRootBlock())
        definition->ensureCode();
    return definition;
}

BlockDefinition* Block::createDefinition()
{
    const unsigned int version = m_definitions.isEmpty() ? 0 : m_definitions.lastKey() + 1;
    BlockDefinition* definition = addDefinition(version);
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
    return definition;
}

BlockDefinition* Block::createDefinition(unsigned int version)
{
    if (m_definitions.contains(version))
        return nullptr;
    BlockDefinition* definition = addDefinition(version);
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
    return definition;
}

BlockDefinition* Block::createDefinitionClone(unsigned int version)
{
    const BlockDefinition* source = m_definitions.value(version);
    if (!source)
        return nullptr;
    const unsigned int newVersion = m_definitions.lastKey() + 1;
    if (newVersion == 0) // the versions are used up
        return nullptr;
    BlockDefinition* definition = addDefinition(newVersion);
    definition->cloneFrom(source);
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
    return definition;
}

void Block::deleteDefinition(unsigned int version)
{
    BlockDefinition* definition = m_definitions.take(version);
    if (!definition)
        return;
    delete definition;
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
}

void Block::cloneFrom(const Block* other)
{
    if (!other || other == this)
        return;
    m_name = other->m_name;
    m_shortName = other->m_shortName;
    m_groupPath = other->m_groupPath;
    m_userBlock = other->m_userBlock;
    m_fallbackBlock = other->m_fallbackBlock;
    m_versionVisible = other->m_versionVisible;
    m_originIdentifier = other->m_originIdentifier;
    m_originVersion = other->m_originVersion;
    // Definitions of versions that the other block lacks go; the others are updated in place so
    // that instances bound to them stay bound.
    const auto versions = m_definitions.keys();
    for (unsigned int v : versions) {
        if (!other->m_definitions.contains(v))
            delete m_definitions.take(v);
    }
    for (auto it = other->m_definitions.constBegin(); it != other->m_definitions.constEnd(); ++it) {
        BlockDefinition* definition = m_definitions.value(it.key());
        if (!definition) {
            definition = new BlockDefinition(this, it.key());
            m_definitions.insert(it.key(), definition);
        }
        definition->cloneFrom(it.value());
    }
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
}

BlockDefinition* Block::blockDefinition(unsigned int version) const
{
    return m_definitions.value(version);
}

void Block::setName(const Text& name)
{
    if (name == m_name)
        return;
    m_name = name;
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
}

void Block::setShortName(const QString& name)
{
    if (name == m_shortName)
        return;
    m_shortName = name;
    notifyChanged();
}

void Block::setGroupPath(const QString& path)
{
    if (path == m_groupPath)
        return;
    m_groupPath = path;
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
}

bool Block::allowDelete() const
{
    return !isRootBlock() && !isReadOnlyMaterial();
}

unsigned int Block::instanceCount() const
{
    unsigned int count = 0;
    for (const BlockDefinition* definition : m_definitions)
        count += definition->instanceCount();
    return count;
}

void Block::setVersionVisible(bool visible)
{
    if (visible == m_versionVisible)
        return;
    m_versionVisible = visible;
    notifyChanged();
}

QByteArray Block::saveContents() const
{
    return QJsonDocument(BlockRecord::of(this).toJson()).toJson(QJsonDocument::Compact);
}

bool Block::loadContents(const QByteArray& contents)
{
    QJsonParseError error;
    const QJsonDocument doc = QJsonDocument::fromJson(contents, &error);
    if (error.error != QJsonParseError::NoError || !doc.isObject())
        return false;
    // The caller only learns whether the snapshot was taken; the message of a refusal goes nowhere.
    JsonInput input(QStringLiteral("snapshot"));
    BlockRecord record;
    if (!BlockRecord::read(input, doc.object(), QString(), record))
        return false;
    ModelJson::Reader().applyBlock(this, record);
    notifyChanged();
    if (m_ownerLibrary)
        Q_EMIT m_ownerLibrary->contentsChanged();
    return true;
}

bool Block::isSystemBlock() const { return hasNumberedPrefix(m_identifier, SystemBlockPrefix); }
bool Block::isStandardBlock() const { return hasNumberedPrefix(m_identifier, StandardBlockPrefix); }
bool Block::isTemplateBlock() const { return hasNumberedPrefix(m_identifier, TemplateBlockPrefix); }
bool Block::isToolBlock() const { return hasNumberedPrefix(m_identifier, ToolBlockPrefix); }
bool Block::isMagicBlock() const { return hasNumberedPrefix(m_identifier, MagicBlockPrefix); }
bool Block::isRootBlock() const { return m_identifier == RootBlockIdentifier; }

bool Block::isLocalBlock() const
{
    return !m_fallbackBlock && m_ownerLibrary && m_ownerLibrary->container()
        && m_ownerLibrary->container()->isLocal();
}

void Block::setFallbackBlock(bool value)
{
    if (value == m_fallbackBlock)
        return;
    m_fallbackBlock = value;
    notifyChanged();
}

unsigned int Block::systemBlockNumber() const { return numberOf(m_identifier, SystemBlockPrefix); }
unsigned int Block::standardBlockNumber() const { return numberOf(m_identifier, StandardBlockPrefix); }
unsigned int Block::toolBlockNumber() const { return numberOf(m_identifier, ToolBlockPrefix); }
unsigned int Block::magicBlockNumber() const { return numberOf(m_identifier, MagicBlockPrefix); }

QString Block::displayNumber() const
{
    if (isStandardBlock())
        return QString::number(standardBlockNumber());
    if (isMagicBlock())
        return QString::number(magicBlockNumber());
    if (isSystemBlock())
        return QString::number(systemBlockNumber());
    if (isToolBlock())
        return QString::number(toolBlockNumber());
    return QString();
}

void Block::setOrigin(const QString& identifier, unsigned int version)
{
    m_originIdentifier = identifier;
    m_originVersion = version;
}

bool Block::isReadOnlyMaterial() const
{
    const BlockLibraryContainer* container = m_ownerLibrary ? m_ownerLibrary->container() : nullptr;
    return container && !container->isLocal() && container->containerKind() < BlockLibraryContainer::UserLibraryKind;
}

void Block::notifyChanged()
{
    Q_EMIT changed();
}
