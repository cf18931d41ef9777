#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class BlockDefinition;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockSearchView;
namespace Ui {
class BlockSearchView;
}

class BlockSearchViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockSearchViewPrivate(BlockSearchView* pOwner);
    ~BlockSearchViewPrivate() override;

    std::unique_ptr<Ui::BlockSearchView> ui;
    // The model may delete the area while the panel still holds it.
    QPointer<BlockInstanceArea> area;
    // Lowered unless the search is case sensitive.
    QString searchText;
    BlockSearchView* owner;
    // Copies of the option boxes, taken when a search starts.
    bool caseSensitive = false;
    bool usePins = true;
    bool useShortName = true;
    bool useNames = true;
    bool useNumber = true;

public Q_SLOTS:
    void startSearch();

private:
    void searchHierarchy(BlockInstanceHierarchyNode* pNode);
    void searchLibraries();
    bool matches(const QString& candidate) const;
    bool matchesInstance(const BlockInstance* pInstance) const;
    bool matchesDefinition(const BlockDefinition* pDefinition, bool ignoreVisibility) const;
};
