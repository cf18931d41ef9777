#include "BlockInstanceHierarchyNode.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockPinInstance.h"
#include "SignalLabel.h"

#include <QSet>

BlockInstanceHierarchyNode::BlockInstanceHierarchyNode(BlockInstanceHierarchy* hierarchy,
                                                       BlockInstanceHierarchyNode* parent, BlockInstance* instance)
    : QObject(parent ? static_cast<QObject*>(parent) : static_cast<QObject*>(hierarchy))
    , m_hierarchy(hierarchy)
    , m_parent(parent)
    , m_instance(instance)
{
    const unsigned int id = instance ? instance->identifier() : BlockInstanceArea::RootInstanceIdentifier;
    m_path = parent ? parent->m_path + QLatin1Char('.') + QString::number(id)
                    : QStringLiteral("A%1:%2").arg(hierarchy->area()->firstNumber()).arg(id);
    if (instance)
        connect(instance, &BlockInstance::definitionChanged, this, &BlockInstanceHierarchyNode::onInstanceDefinitionChanged);
}

BlockInstanceHierarchyNode::~BlockInstanceHierarchyNode()
{
    if (m_code)
        m_code->m_nodes.removeOne(this);
    const auto labels = m_labels;
    m_labels.clear();
    qDeleteAll(labels);
    const auto children = m_children;
    m_children.clear();
    qDeleteAll(children);
}

BlockInstanceHierarchyNode* BlockInstanceHierarchyNode::instanceNode(const QString& path) const
{
    return m_hierarchy ? m_hierarchy->nodeForPath(path) : nullptr;
}

QList<int> BlockInstanceHierarchyNode::instanceNodes() const
{
    QList<int> ids;
    if (!m_code)
        return ids;
    ids.reserve(m_children.size());
    for (const BlockInstance* instance : m_code->instances()) {
        if (m_children.contains(instance->identifier()))
            ids.append(int(instance->identifier()));
    }
    return ids;
}

QString BlockInstanceHierarchyNode::pinLocationPath(int pinIdentifier) const
{
    return m_path + QLatin1Char('p') + QString::number(pinIdentifier);
}

void BlockInstanceHierarchyNode::updateVariantPins(bool recursive)
{
    if (m_code)
        m_code->updateVariantPins(m_hierarchy->area());
    if (!recursive)
        return;
    for (BlockInstanceHierarchyNode* child : std::as_const(m_children))
        child->updateVariantPins(true);
}

BlockHierarchyNodeScene* BlockInstanceHierarchyNode::blockHierarchyNodeScene() const
{
    // Known by class name only, as for BlockCode::blockDefinitionScene(): the scene's QObject part
    // starts at its own address.
    for (QObject* child : children()) {
        if (child->inherits("BlockHierarchyNodeScene"))
            return reinterpret_cast<BlockHierarchyNodeScene*>(child);
    }
    return nullptr;
}

bool BlockInstanceHierarchyNode::definitionRecursAbove(const BlockDefinition* definition) const
{
    for (const BlockInstanceHierarchyNode* node = m_parent; node; node = node->m_parent) {
        if (node->m_instance && node->m_instance->blockDefinition() == definition)
            return true;
    }
    return false;
}

void BlockInstanceHierarchyNode::detachChild(BlockInstanceHierarchyNode* child)
{
    // A scene of the node may be busy in the event that changed the code: the node goes later,
    // but it is out of the tree now.
    child->m_parent = nullptr;
    child->m_instance = nullptr;
    if (child->m_code) {
        child->m_code->m_nodes.removeOne(child);
        disconnect(child->m_code, nullptr, child, nullptr);
        child->m_code = nullptr;
    }
    child->deleteLater();
}

void BlockInstanceHierarchyNode::dropChildren()
{
    const auto children = m_children;
    m_children.clear();
    for (BlockInstanceHierarchyNode* child : children)
        detachChild(child);
}

void BlockInstanceHierarchyNode::reconcile()
{
    BlockDefinition* definition = m_instance ? m_instance->blockDefinition() : nullptr;
    m_recursionStop = definition && definitionRecursAbove(definition);
    BlockCode* code = (m_instance && !m_recursionStop) ? m_instance->code(m_hierarchy->area()) : nullptr;
    if (code != m_code) {
        if (m_code) {
            m_code->m_nodes.removeOne(this);
            disconnect(m_code, nullptr, this, nullptr);
        }
        dropChildren();
        m_code = code;
        if (code) {
            code->m_nodes.append(this);
            connect(code, &BlockCode::structureChanged, this, &BlockInstanceHierarchyNode::reconcile);
            connect(code, &BlockCode::instanceAdded, this, &BlockInstanceHierarchyNode::onInstanceAdded);
            connect(code, &BlockCode::instanceRemoved, this, &BlockInstanceHierarchyNode::onInstanceRemoved);
        }
    }
    m_definition = definition;
    if (!code) {
        if (!m_labels.isEmpty()) {
            const auto labels = m_labels;
            m_labels.clear();
            for (SignalLabel* label : labels)
                label->deleteLater();
            Q_EMIT signalLabelsChanged();
        }
        return;
    }
    QSet<unsigned int> present;
    for (BlockInstance* instance : code->instances()) {
        const unsigned int id = instance->identifier();
        present.insert(id);
        BlockInstanceHierarchyNode* child = m_children.value(id);
        if (child && child->m_instance != instance) {
            // The identifier was reused by another instance: the old node is gone with its instance.
            m_children.remove(id);
            detachChild(child);
            child = nullptr;
        }
        if (!child) {
            child = new BlockInstanceHierarchyNode(m_hierarchy, this, instance);
            m_children.insert(id, child);
            child->reconcile();
        } else if (child->m_definition != instance->blockDefinition()) {
            child->reconcile();
        }
    }
    for (auto it = m_children.begin(); it != m_children.end();) {
        if (present.contains(it.key())) {
            ++it;
            continue;
        }
        BlockInstanceHierarchyNode* child = it.value();
        it = m_children.erase(it);
        detachChild(child);
    }
    pruneLabels();
}

void BlockInstanceHierarchyNode::onInstanceAdded(unsigned int identifier)
{
    BlockInstance* instance = m_code ? m_code->instance(identifier) : nullptr;
    if (!instance)
        return;
    if (BlockInstanceHierarchyNode* old = m_children.take(identifier))
        detachChild(old);
    auto* child = new BlockInstanceHierarchyNode(m_hierarchy, this, instance);
    m_children.insert(identifier, child);
    child->reconcile();
}

void BlockInstanceHierarchyNode::onInstanceRemoved(unsigned int identifier)
{
    if (BlockInstanceHierarchyNode* child = m_children.take(identifier))
        detachChild(child);
    bool labelsGone = false;
    for (int i = int(m_labels.size()) - 1; i >= 0; --i) {
        SignalLabel* label = m_labels.at(i);
        if (label->instanceIdentifier() == identifier) {
            m_labels.removeAt(i);
            label->deleteLater();
            labelsGone = true;
        }
    }
    if (labelsGone)
        Q_EMIT signalLabelsChanged();
}

void BlockInstanceHierarchyNode::pruneLabels()
{
    if (!m_code)
        return;
    bool labelsGone = false;
    for (int i = int(m_labels.size()) - 1; i >= 0; --i) {
        SignalLabel* label = m_labels.at(i);
        const BlockInstance* instance = m_code->instance(label->instanceIdentifier());
        if (!instance || !instance->pin(label->pinIdentifier())) {
            m_labels.removeAt(i);
            label->deleteLater();
            labelsGone = true;
        }
    }
    if (labelsGone)
        Q_EMIT signalLabelsChanged();
}

void BlockInstanceHierarchyNode::onInstanceDefinitionChanged()
{
    // The parent reconciles on the structure signal of its code; this covers an instance whose
    // definition was swapped without one.
    if (m_instance && m_definition != m_instance->blockDefinition())
        reconcile();
    // Pins may have gone with the old definition: their labels live one level up.
    if (m_parent)
        m_parent->pruneLabels();
    Q_EMIT definitionChanged();
}

QList<SignalLabel*> BlockInstanceHierarchyNode::signalLabels(unsigned int instance, int pin) const
{
    QList<SignalLabel*> list;
    for (SignalLabel* label : m_labels) {
        if (label->instanceIdentifier() == instance && label->pinIdentifier() == pin)
            list.append(label);
    }
    return list;
}

SignalLabel* BlockInstanceHierarchyNode::signalLabel(unsigned int identifier) const
{
    for (SignalLabel* label : m_labels) {
        if (label->identifier() == identifier)
            return label;
    }
    return nullptr;
}

SignalLabel* BlockInstanceHierarchyNode::createSignalLabel(unsigned int instance, int pin, QString name,
                                                           unsigned int identifier)
{
    if (!m_code)
        return nullptr;
    const BlockInstance* target = m_code->instance(instance);
    if (!target || !target->pin(pin))
        return nullptr;
    // Identifiers are unique within the node; 0 asks for a fresh one.
    if (identifier == 0 || signalLabel(identifier)) {
        identifier = 1;
        for (const SignalLabel* label : std::as_const(m_labels))
            identifier = std::max(identifier, label->identifier() + 1);
    }
    auto* label = new SignalLabel(this, identifier, instance, pin, name);
    m_labels.append(label);
    Q_EMIT signalLabelsChanged();
    m_code->notifyChanged();
    return label;
}

bool BlockInstanceHierarchyNode::deleteSignalLabel(SignalLabel* label)
{
    if (!label || !m_labels.removeOne(label))
        return false;
    delete label;
    Q_EMIT signalLabelsChanged();
    if (m_code)
        m_code->notifyChanged();
    return true;
}
