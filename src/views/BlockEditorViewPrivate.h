#pragma once

#include <QObject>
#include <QPointer>
#include <QString>

#include <memory>

class BlockCodeView;
class BlockDefinition;
class BlockEditorView;
class BlockInstanceArea;
class OverviewFrame;
class QLabel;
namespace Ui {
class BlockEditorViewClass;
}

class BlockEditorViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockEditorViewPrivate(BlockEditorView* owner);
    ~BlockEditorViewPrivate() override;

    void loadLayout();
    void saveLayout() const;
    // By the persisted numbering of the side panel's pages, which counts pages not built yet.
    void selectVerticalTab(int index);
    int verticalTabIndex() const;

    std::unique_ptr<Ui::BlockEditorViewClass> ui;
    // A child of the editor, made by the first setRoot; its class follows the kind of root.
    BlockCodeView* codeView = nullptr;
    // The model may delete the area while the editor still shows it.
    QPointer<BlockInstanceArea> area;
    BlockEditorView* q;
    // Made when the overview is first shown; a child of the code view.
    QPointer<OverviewFrame> overviewFrame;
    // Made without a parent: the host places it (a sub-window's status bar); the editor deletes it
    // wherever it went, for its text belongs to this editor alone.
    QPointer<QLabel> statusLabel;

public Q_SLOTS:
    void setRoot(BlockInstanceArea* pRoot);
    void setRoot(BlockDefinition* pRootDefinition);
    void navigateTo(const QString& path);
    void setEnvironmentVisible(bool value);

private Q_SLOTS:
    void zoomIn();
    void zoomOut();
    void zoom100();
    void onlineChanged(bool);
    void showBlockLibraryTab();
    void showHierarchyTab();
    void updateAreaEditAccess();
    void updateBackgoundColor();
    void onChangeEditRequest(bool activate);
    void onConvertFallbackClicked();
    void updateEnvironmentSelector();
    void onEnvironmentChanged();
    void setOverviewVisible(bool value);

private:
    void attachCodeView();
    bool isEditable() const;
};
