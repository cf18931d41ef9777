#include "SignalLabelHostItem.h"

#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPinItem.h"
#include "SceneMetrics.h"
#include "SignalLabel.h"
#include "SignalLabelItem.h"

#include <QAction>
#include <QBrush>
#include <QHash>
#include <QMenu>
#include <QPainter>
#include <QPen>
#include <QPointer>
#include <QStyleOptionGraphicsItem>

namespace {

// Shared by every host of the process and never reset, so that no two new labels of a session
// start with the same name.
unsigned int s_nextLabelNumber = 1;

} // namespace

class SignalLabelHostItemPrivate
{
public:
    explicit SignalLabelHostItemPrivate(SignalLabelHostItem* item)
        : q(item)
    {
    }

    unsigned int instanceIdentifier() const { return pinItem && pinItem->blockItem() ? pinItem->blockItem()->identifier() : 0; }
    BlockInstanceHierarchyNode* parentNode() const { return hierarchyNode ? hierarchyNode->parentNode() : nullptr; }
    SignalLabel* labelOfSender() const;
    SignalLabelItem* createItem(SignalLabel* label);
    void removeItem(SignalLabel* label);

    BlockPinItem* pinItem = nullptr;
    QPointer<BlockInstanceHierarchyNode> hierarchyNode;
    // Values are guarded: label items are top-level scene items and may go with the scene first.
    QHash<SignalLabel*, QPointer<SignalLabelItem>> labelItems;
    SignalLabelHostItem* q;
};

SignalLabel* SignalLabelHostItemPrivate::labelOfSender() const
{
    const QObject* action = q->sender();
    if (!action)
        return nullptr;
    bool ok = false;
    const unsigned int identifier = action->property("signalLabelIdentifier").toUInt(&ok);
    return ok ? q->label(identifier) : nullptr;
}

SignalLabelItem* SignalLabelHostItemPrivate::createItem(SignalLabel* label)
{
    auto* item = new SignalLabelItem(label, q);
    labelItems.insert(label, item);
    // The model deletes labels on its own (a pin that went, a cancelled dialogue): the box must not
    // outlive the label it shows.
    QObject::connect(label, &QObject::destroyed, q, [this, label]() { removeItem(label); });
    return item;
}

void SignalLabelHostItemPrivate::removeItem(SignalLabel* label)
{
    QPointer<SignalLabelItem> item = labelItems.take(label);
    delete item.data();
}

SignalLabelHostItem::SignalLabelHostItem(BlockPinItem* pPinItem)
    : QObject()
    , QGraphicsRectItem()
    , d(new SignalLabelHostItemPrivate(this))
{
    // Set up before it joins its pin: outside a scene a setter costs nothing but the value.
    d->pinItem = pPinItem;
    setFlag(ItemSendsScenePositionChanges);
    setZValue(SceneZ::SignalLabelHost);
    setAcceptHoverEvents(true);
    setRect(-75.0, -75.0, 150.0, 150.0);
    // Every pin makes a host: one pen serves them all.
    static const QPen pen = [] {
        QPen outline(Qt::black);
        outline.setWidth(0);
        outline.setCosmetic(true);
        return outline;
    }();
    setPen(pen);
    setVisible(false);
    setParentItem(pPinItem);
}

SignalLabelHostItem::~SignalLabelHostItem()
{
    if (d->pinItem)
        d->pinItem->hostGone();
    const auto items = d->labelItems;
    d->labelItems.clear();
    for (const QPointer<SignalLabelItem>& item : items)
        delete item.data();
}

void SignalLabelHostItem::detachFromPin()
{
    d->pinItem = nullptr;
}

BlockPinItem* SignalLabelHostItem::pinItem() const
{
    return d->pinItem;
}

BlockInstanceHierarchyNode* SignalLabelHostItem::hierarchyNode() const
{
    return d->hierarchyNode.data();
}

void SignalLabelHostItem::addSignalLabel(SignalLabel* pLabel)
{
    if (!pLabel || d->labelItems.contains(pLabel))
        return;
    d->createItem(pLabel);
}

void SignalLabelHostItem::setHierarchyNode(BlockInstanceHierarchyNode* pNode)
{
    // Every update of the pin passes its node again; the connection is made once per node.
    if (pNode && pNode == d->hierarchyNode.data())
        return;
    d->hierarchyNode = pNode;
    if (pNode)
        connect(pNode, &QObject::destroyed, this, &SignalLabelHostItem::onHierarchyNodeDelete, Qt::UniqueConnection);
}

void SignalLabelHostItem::updateFromLabels()
{
    const QList<SignalLabel*> list = labels();
    setVisible(!list.isEmpty());
    if (d->pinItem)
        d->pinItem->hostShown(!list.isEmpty());
    if (list.isEmpty())
        return;
    QString text;
    for (const SignalLabel* label : list)
        text += label->name() + QStringLiteral("<br>");
    text.chop(4);
    if (toolTip() != text)
        setToolTip(text);
}

QList<SignalLabel*> SignalLabelHostItem::labels() const
{
    BlockInstanceHierarchyNode* parent = d->parentNode();
    if (!parent || !d->pinItem)
        return {};
    return parent->signalLabels(d->instanceIdentifier(), d->pinItem->identifier());
}

SignalLabel* SignalLabelHostItem::label(unsigned int identifier) const
{
    const QList<SignalLabel*> list = labels();
    for (SignalLabel* label : list) {
        if (label->identifier() == identifier)
            return label;
    }
    return nullptr;
}

SignalLabelItem* SignalLabelHostItem::labelItem(SignalLabel* pLabel) const
{
    return d->labelItems.value(pLabel).data();
}

QList<SignalLabelItem*> SignalLabelHostItem::labelItems() const
{
    QList<SignalLabelItem*> items;
    for (const QPointer<SignalLabelItem>& item : std::as_const(d->labelItems)) {
        if (item)
            items.append(item.data());
    }
    return items;
}

void SignalLabelHostItem::addContextMenuActions(QMenu* pMenu)
{
    if (!pMenu)
        return;
    pMenu->addSeparator();
    const QList<SignalLabel*> list = labels();
    for (SignalLabel* label : list) {
        QMenu* submenu = pMenu->addMenu(tr("Signalname: \"%1\"").arg(label->name()));
        addLabelActions(submenu, label);
    }
    pMenu->addAction(tr("neuer Signalname ..."), this, &SignalLabelHostItem::createSignalLabel);
    pMenu->addAction(tr("alle Signalnamen anzeigen"), this, &SignalLabelHostItem::showAllSignalLabels);
    pMenu->addAction(tr("alle Signalnamen ausblenden"), this, &SignalLabelHostItem::hideAllSignalLabels);
}

void SignalLabelHostItem::addLabelActions(QMenu* pMenu, SignalLabel* pLabel)
{
    SignalLabelItem* item = labelItem(pLabel);
    if (!pMenu || !item)
        return;
    QAction* properties = pMenu->addAction(tr("Eigenschaften anzeigen"), this,
                                           &SignalLabelHostItem::showSignalLabelProperties);
    properties->setProperty("signalLabelIdentifier", pLabel->identifier());
    pMenu->addAction(item->isVisible() ? tr("Ausblenden") : tr("Anzeigen"), item, &SignalLabelItem::toggleVisibility);
    pMenu->addSeparator();
    QAction* remove = pMenu->addAction(tr("Löschen"), this, &SignalLabelHostItem::deleteSignalLabel);
    remove->setProperty("signalLabelIdentifier", pLabel->identifier());
}

void SignalLabelHostItem::paint(QPainter* pPainter, const QStyleOptionGraphicsItem* pOption, QWidget* pWidget)
{
    Q_UNUSED(pOption)
    Q_UNUSED(pWidget)
    pPainter->save();
    pPainter->setRenderHint(QPainter::Antialiasing, false);
    pPainter->setBrush(QBrush(Qt::yellow, Qt::SolidPattern));
    QPen pen(Qt::black);
    pen.setWidth(0);
    pen.setCosmetic(true);
    pPainter->setPen(pen);
    pPainter->drawRect(rect());
    pPainter->restore();
}

void SignalLabelHostItem::createSignalLabel()
{
    BlockInstanceHierarchyNode* parent = d->parentNode();
    if (!parent || !d->pinItem)
        return;
    const QString name = tr("Signalname %1").arg(s_nextLabelNumber++);
    QPointer<SignalLabel> label =
        parent->createSignalLabel(d->instanceIdentifier(), d->pinItem->identifier(), name, 0);
    if (!label)
        return;
    if (label->showPropertiesView() && label) {
        label->setOffset(QPointF(0.5, -0.5));
        // An update of the scene while the dialogue was open may have made the box already.
        if (SignalLabelItem* item = labelItem(label))
            item->updatePosition();
        else
            d->createItem(label);
        updateFromLabels();
    } else if (label && d->parentNode()) {
        d->parentNode()->deleteSignalLabel(label);
    }
}

void SignalLabelHostItem::deleteSignalLabel()
{
    if (SignalLabel* label = d->labelOfSender()) {
        if (BlockInstanceHierarchyNode* parent = d->parentNode())
            parent->deleteSignalLabel(label);
        d->removeItem(label);
    }
    updateFromLabels();
}

void SignalLabelHostItem::showSignalLabelProperties()
{
    if (SignalLabel* label = d->labelOfSender())
        label->showPropertiesView();
    updateFromLabels();
}

void SignalLabelHostItem::showAllSignalLabels()
{
    for (const QPointer<SignalLabelItem>& item : std::as_const(d->labelItems)) {
        if (item)
            item->setVisible(true);
    }
}

void SignalLabelHostItem::hideAllSignalLabels()
{
    for (const QPointer<SignalLabelItem>& item : std::as_const(d->labelItems)) {
        if (item)
            item->setVisible(false);
    }
}

void SignalLabelHostItem::onHierarchyNodeDelete()
{
    const auto items = d->labelItems;
    d->labelItems.clear();
    for (const QPointer<SignalLabelItem>& item : items)
        delete item.data();
    deleteLater();
}

QVariant SignalLabelHostItem::itemChange(GraphicsItemChange change, const QVariant& value)
{
    // Offsets of labels are relative to the host, so a moved block carries its labels along.
    if (change == ItemScenePositionHasChanged) {
        for (const QPointer<SignalLabelItem>& item : std::as_const(d->labelItems)) {
            if (item)
                item->updatePosition();
        }
    }
    return QGraphicsRectItem::itemChange(change, value);
}
