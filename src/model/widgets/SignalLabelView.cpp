#include "SignalLabelView.h"

#include "BlockCode.h"
#include "BlockInstance.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "SignalLabel.h"

#include <QHeaderView>
#include <QTreeWidget>
#include <QVBoxLayout>

SignalLabelView::SignalLabelView(QWidget* parent)
    : QWidget(parent)
    , m_tree(new QTreeWidget(this))
{
    setProperty("HelpId", QStringLiteral("SignalLabelView"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(m_tree);
    m_tree->setObjectName(QStringLiteral("signalLabelTree"));
    m_tree->setHeaderLabels({tr("Name"), tr("Anschluss"), tr("Wert")});
    m_tree->setRootIsDecorated(false);
    m_tree->setSortingEnabled(true);
    m_tree->sortByColumn(0, Qt::AscendingOrder);
    connect(m_tree, &QTreeWidget::itemDoubleClicked, this, &SignalLabelView::onItemDoubleClicked);
}

SignalLabelView::~SignalLabelView() = default;

void SignalLabelView::setNode(BlockInstanceHierarchyNode* node)
{
    if (m_node == node)
        return;
    if (m_node)
        disconnect(m_node, nullptr, this, nullptr);
    m_node = node;
    if (node)
        connect(node, &BlockInstanceHierarchyNode::signalLabelsChanged, this, &SignalLabelView::refresh);
    refresh();
}

void SignalLabelView::refresh()
{
    m_tree->clear();
    delete m_rows;
    m_rows = new QObject(this);
    if (!m_node)
        return;
    const BlockCode* code = m_node->childCode();
    for (SignalLabel* label : m_node->signalLabels()) {
        const BlockInstance* instance = code ? code->instance(label->instanceIdentifier()) : nullptr;
        const BlockPinInstance* pin = instance ? instance->pin(label->pinIdentifier()) : nullptr;
        QString pinText = QStringLiteral("%1/%2").arg(label->instanceIdentifier()).arg(label->pinIdentifier());
        if (pin && pin->blockPin()) {
            const QString name = pin->blockPin()->shortName().isEmpty() ? pin->blockPin()->name().text()
                                                                       : pin->blockPin()->shortName();
            pinText = QStringLiteral("%1.%2 (%3)").arg(label->instanceIdentifier()).arg(name).arg(label->pinIdentifier());
        }
        auto* item = new QTreeWidgetItem(m_tree, {label->name(), pinText, label->currentValue()});
        item->setData(0, Qt::UserRole, label->instanceIdentifier());
        item->setToolTip(0, label->toolTipText());
        connect(label, &SignalLabel::currentValueChanged, m_rows, [item, label](const QString& value) {
            item->setText(2, value);
            item->setToolTip(0, label->toolTipText());
        });
        connect(label, &SignalLabel::propertiesChanged, m_rows, [this] { QMetaObject::invokeMethod(this, &SignalLabelView::refresh, Qt::QueuedConnection); });
    }
    m_tree->resizeColumnToContents(0);
}

void SignalLabelView::onItemDoubleClicked(QTreeWidgetItem* item, int)
{
    if (!item || !m_node)
        return;
    Q_EMIT needToShowInCode(m_node->locationPath() + QLatin1Char('.') + item->data(0, Qt::UserRole).toString());
}
