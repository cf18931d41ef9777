#include "BlockCheckIssueTracker.h"

#include "Block.h"
#include "BlockCheckIssue.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "DatatypeProvider.h"
#include "SignalLabel.h"
#include "SimpleType.h"

#include <QCoreApplication>
#include <QHash>

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("BlockCheckIssueTracker", text);
}

unsigned int issueNumber(unsigned int check, int pin)
{
    return check * 1000u + (pin < 0 ? 999u : unsigned(pin) % 999u);
}

QString sourceName(const BlockInstance* instance)
{
    const Block* block = instance->block();
    QString name = instance->name();
    if (name.isEmpty())
        name = block ? block->name().text() : tr("unbekannter Baustein");
    return QStringLiteral("%1 (%2)").arg(name).arg(instance->identifier());
}

QString pinName(const BlockPinInstance* pin)
{
    const BlockPin* blockPin = pin ? pin->blockPin() : nullptr;
    if (!blockPin)
        return pin ? QString::number(pin->identifier()) : QString();
    return blockPin->shortName().isEmpty() ? blockPin->name().text() : blockPin->shortName();
}

QString typeName(unsigned char number)
{
    const SimpleType* type = DatatypeProvider::instance()->simpleType(number);
    return type ? type->shortName() : QStringLiteral("????");
}

} // namespace

BlockCheckIssueTracker::BlockCheckIssueTracker(QObject* parent)
    : QObject(parent)
{
}

BlockCheckIssueTracker::~BlockCheckIssueTracker() = default;

void BlockCheckIssueTracker::setRoot(BlockDefinition* definition, BlockInstanceHierarchyNode* node)
{
    m_definition = definition;
    m_node = node;
    m_area = node && node->hierarchy() ? node->hierarchy()->area() : nullptr;
}

void BlockCheckIssueTracker::setRoot(BlockDefinition* definition, BlockInstanceArea* area)
{
    m_definition = definition;
    m_node = nullptr;
    m_area = area;
}

BlockDefinition* BlockCheckIssueTracker::rootDefinition() const
{
    return m_definition.data();
}

BlockInstanceHierarchyNode* BlockCheckIssueTracker::rootNode() const
{
    return m_node.data();
}

QList<BlockCheckIssue*> BlockCheckIssueTracker::currentIssues(bool checkSubInstances) const
{
    m_issues.clear();
    QList<BlockCheckIssue*> out;
    if (!m_definition || !m_definition->code())
        return out;
    const BlockInstanceHierarchyNode* node = m_node.data();
    QString prefix;
    if (!node && m_area && m_area->rootDefinition() == m_definition.data()) {
        // Checked in an area without a node: paths start at the area's root entry.
        node = m_area->hierarchy() ? m_area->hierarchy()->rootNode() : nullptr;
        prefix = QString::number(BlockInstanceArea::RootInstanceIdentifier) + QLatin1Char('.');
    }
    QSet<const BlockDefinition*> visiting{m_definition.data()};
    checkCode(m_definition->code(), node, prefix, checkSubInstances, visiting, out);
    return out;
}

void BlockCheckIssueTracker::checkCode(const BlockCode* code, const BlockInstanceHierarchyNode* node,
                                       const QString& prefix, bool recurse, QSet<const BlockDefinition*>& visiting,
                                       QList<BlockCheckIssue*>& out) const
{
    BlockInstanceArea* area = m_area.data();
    auto add = [&](const BlockInstance* instance, unsigned int check, int pin, const QString& text,
                   BlockCheckIssue::eLevel level) {
        auto issue = std::make_unique<BlockCheckIssue>(prefix + QString::number(instance->identifier()),
                                                       issueNumber(check, pin), sourceName(instance), text, level);
        out.append(issue.get());
        m_issues.push_back(std::move(issue));
    };

    for (const BlockInstance* instance : code->instances()) {
        const Block* block = instance->block();
        const BlockDefinition* definition = instance->blockDefinition();
        if (block && block->isFallbackBlock()) {
            add(instance, CheckFallbackBlock, 0,
                tr("Der Baustein %1 ist unbekannt und durch einen Ersatzbaustein vertreten.").arg(block->identifier()),
                BlockCheckIssue::Warning);
        }
        const bool ordinary = instance->blockType() != BlockTypeText;
        if (ordinary && definition && definition->runtimeMembership() != RuntimeMembershipNone
            && instance->blockType() != BlockTypePin
            && code->realtime(instance->identifier()) == 0 && code->background(instance->identifier()) == 0) {
            add(instance, CheckRuntimeOrder, 0, tr("Der Baustein steht in keiner Laufzeitreihenfolge und wird nie berechnet."),
                BlockCheckIssue::Warning);
        }
        for (const BlockPinInstance* pin : instance->pins()) {
            if (pin->function() != BlockPinFunctionInput || instance->blockType() == BlockTypePin)
                continue;
            const QList<BlockPinConnection*> wires = code->connectionsOf(pin);
            int drivers = 0;
            for (const BlockPinConnection* c : wires) {
                if (c->target() == pin && c->source())
                    ++drivers;
            }
            if (drivers == 0 && pin->initialValue().isEmpty() && pin->identifier() != -1) {
                add(instance, CheckUnconnectedInput, pin->identifier(),
                    tr("Der Eingang %1 ist nicht verbunden und hat keinen Anfangswert.").arg(pinName(pin)),
                    BlockCheckIssue::Error);
            }
            if (drivers > 1) {
                add(instance, CheckInputDrivenTwice, pin->identifier(),
                    tr("Der Eingang %1 wird von %2 Ausgängen zugleich beschrieben.").arg(pinName(pin)).arg(drivers),
                    BlockCheckIssue::Error);
            }
        }
    }
    for (const BlockPinConnection* c : code->connections()) {
        const BlockPinInstance* source = c->source();
        const BlockPinInstance* target = c->target();
        if (!source || !target) {
            const BlockPinInstance* end = source ? source : target;
            if (end) {
                add(end->owner(), CheckDanglingConnection, end->identifier(),
                    tr("Die Verbindung an %1 hat ein offenes Ende.").arg(pinName(end)), BlockCheckIssue::Error);
            }
            continue;
        }
        if (!c->isValid(area)) {
            add(target->owner(), CheckTypeMismatch, target->identifier(),
                tr("Der Ausgang %1 (%2) von %3 passt nicht zum Eingang %4 (%5).")
                    .arg(pinName(source), typeName(source->datatype(area)), sourceName(source->owner()), pinName(target),
                         typeName(target->datatype(area))),
                BlockCheckIssue::Error);
        }
    }
    if (node) {
        QHash<QString, const SignalLabel*> seen;
        for (const SignalLabel* label : node->signalLabels()) {
            const QString key = label->name().toLower();
            if (key.isEmpty())
                continue;
            if (seen.contains(key)) {
                if (const BlockInstance* instance = code->instance(label->instanceIdentifier())) {
                    add(instance, CheckDuplicateSignalLabel, label->pinIdentifier(),
                        tr("Der Signalname %1 ist in diesem Code mehrfach vergeben.").arg(label->name()),
                        BlockCheckIssue::Warning);
                }
            } else {
                seen.insert(key, label);
            }
        }
    }
    if (!recurse)
        return;
    for (const BlockInstance* instance : code->instances()) {
        const BlockDefinition* definition = instance->blockDefinition();
        if (!definition || !definition->code() || !definition->isStepInAllowed() || visiting.contains(definition))
            continue;
        visiting.insert(definition);
        const BlockInstanceHierarchyNode* child = node ? node->instanceNode(instance->identifier()) : nullptr;
        checkCode(definition->code(), child, prefix + QString::number(instance->identifier()) + QLatin1Char('.'), true,
                  visiting, out);
        visiting.remove(definition);
    }
}
