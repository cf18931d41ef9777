#pragma once

#include "zkblockmodel_export.h"

// The guarded pointers below hand out their objects in inline accessors.
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class BlockCode;
class BlockDefinition;
class BlockHierarchyNodeScene;
class BlockInstance;
class BlockInstanceHierarchy;
class SignalLabel;

// One instance at its place in the hierarchy. Its children are the instances of its block's code;
// a definition that contains itself stops the descent there, so the tree stays finite.
class ZK_MODEL_EXPORT BlockInstanceHierarchyNode : public QObject
{
    Q_OBJECT
public:
    ~BlockInstanceHierarchyNode() override;

    BlockInstanceHierarchy* hierarchy() const { return m_hierarchy; }
    BlockInstance* blockInstance() const { return m_instance.data(); }
    BlockInstanceHierarchyNode* parentNode() const { return m_parent; }
    BlockInstanceHierarchyNode* instanceNode(unsigned int identifier) const { return m_children.value(identifier); }
    // A whole location path, looked up from the root of the hierarchy.
    BlockInstanceHierarchyNode* instanceNode(const QString& path) const;
    QList<int> instanceNodes() const;
    QString locationPath() const { return m_path; }
    QString pinLocationPath(int pinIdentifier) const;
    void updateVariantPins(bool recursive);
    BlockHierarchyNodeScene* blockHierarchyNodeScene() const;

    // The code whose instances are the children; null for a block without code and where the
    // definition recurs among the ancestors.
    BlockCode* childCode() const { return m_code.data(); }
    bool isRecursionStop() const { return m_recursionStop; }

    QList<SignalLabel*> signalLabels() const { return m_labels; }
    QList<SignalLabel*> signalLabels(unsigned int instance, int pin) const;
    SignalLabel* createSignalLabel(unsigned int instance, int pin, QString name, unsigned int identifier);
    bool deleteSignalLabel(SignalLabel* label);
    SignalLabel* signalLabel(unsigned int identifier) const;

Q_SIGNALS:
    void definitionChanged();
    void signalLabelsChanged();

private:
    friend class BlockInstanceHierarchy;
    BlockInstanceHierarchyNode(BlockInstanceHierarchy* hierarchy, BlockInstanceHierarchyNode* parent,
                               BlockInstance* instance);
    void reconcile();
    void onInstanceAdded(unsigned int identifier);
    void onInstanceRemoved(unsigned int identifier);
    void onInstanceDefinitionChanged();
    void detachChild(BlockInstanceHierarchyNode* child);
    void pruneLabels();
    bool definitionRecursAbove(const BlockDefinition* definition) const;
    void dropChildren();

    BlockInstanceHierarchy* m_hierarchy;
    BlockInstanceHierarchyNode* m_parent;
    QPointer<BlockInstance> m_instance;
    QPointer<BlockCode> m_code;
    QPointer<BlockDefinition> m_definition;
    QString m_path;
    bool m_recursionStop = false;
    QHash<unsigned int, BlockInstanceHierarchyNode*> m_children;
    QList<SignalLabel*> m_labels;
};
