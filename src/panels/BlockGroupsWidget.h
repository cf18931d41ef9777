#pragma once

#include "zkblockview_export.h"

#include <QHash>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTreeWidget>

class Block;
class BlockLibraryContainer;
class BlockRepository;
class QTreeWidgetItem;

// The upper pane of the library panel: a tree of block groups and of libraries. It is reconciled,
// not rebuilt, so that the user's expansion and selection survive an update of the repository.
class ZK_VIEW_EXPORT BlockGroupsWidget : public QTreeWidget
{
    Q_OBJECT
public:
    explicit BlockGroupsWidget(QWidget* parent = nullptr);
    ~BlockGroupsWidget() override;

    // Called once after construction by the panel that holds the tree.
    void setup();

Q_SIGNALS:
    // A group path for a group row, the container's display name for a container row.
    void groupSelected(QString groupPath);

public Q_SLOTS:
    void update();
    void selectGroup(Block* pBlock);
    void onCurrentItemChanged(QTreeWidgetItem* pCurrent, QTreeWidgetItem* pPrevious);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    BlockRepository* repository = nullptr;
    QStringList groupPaths;
    QHash<BlockLibraryContainer*, QTreeWidgetItem*> containerItems;
    QTreeWidgetItem* standardRoot = nullptr;
    QTreeWidgetItem* userRoot = nullptr;
    QTreeWidgetItem* internalRoot = nullptr;

    // The repository deletes containers and only then says so: keys are checked through these
    // guards before a container is touched, and a key whose container died counts as gone.
    QHash<BlockLibraryContainer*, QPointer<BlockLibraryContainer>> containerGuards;

    QList<QTreeWidgetItem*> allRows() const;
    BlockLibraryContainer* containerOfRow(const QTreeWidgetItem* row) const;
    void deleteRow(QTreeWidgetItem* row);
};
