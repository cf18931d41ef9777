#pragma once

#include "zkblockview_export.h"

#include <QGraphicsView>
#include <QScopedPointer>
#include <QSize>
#include <QString>

class BlockCheckIssueView;
class BlockCodeScene;
class BlockCodeViewPrivate;
class BlockDefinition;
class QComboBox;
class QContextMenuEvent;
class QFocusEvent;
class QKeyEvent;
class QLabel;
class QMouseEvent;
class QResizeEvent;
class QWheelEvent;

// The view on which block code is shown. It owns what every code view shares (zoom and its limits,
// wheel zoom, hand panning while Control is held, the fall-back context menu, the find requests);
// what is shown and how the user walks it, the two concrete views decide.
class ZK_VIEW_EXPORT BlockCodeView : public QGraphicsView
{
    Q_OBJECT
public:
    static constexpr double MinimumZoomFactor = 0.1;
    static constexpr double MaximumZoomFactor = 8.0;
    // A scene unit is this many device pixels at 100 %.
    static constexpr double BaseScale = 0.03;

    explicit BlockCodeView(QWidget* parent = nullptr);
    ~BlockCodeView() override;

    virtual bool isReadOnly() const = 0;
    virtual bool isBlockDefinitionEditMode() const = 0;
    virtual bool isEditAllowed() const = 0;
    virtual bool isStepInAllowed() const = 0;
    virtual bool isStepOutAllowed() const = 0;
    virtual QString currentPath() const = 0;

    // Where the user stands in the shown scene; views that swap scenes keep one per scene.
    struct ViewState
    {
        int horizontalValue = 0;
        int verticalValue = 0;
        double zoomFactor = 1.0;
    };
    ViewState viewState() const;
    // The zoom first: it moves the scroll ranges that the values are read against.
    void applyViewState(const ViewState& state);

    double zoomFactor() const;
    BlockCheckIssueView* checkIssueView() const;
    QLabel* statusLabel() const;
    void setCheckIssueView(BlockCheckIssueView* pView);
    void setStatusLabel(QLabel* pLabel);
    // Makes the finder that searches this view with the text of the combo box. A second call makes
    // a second finder; the first stays in the object tree.
    void setSearchComboBox(QComboBox* pComboBox);

Q_SIGNALS:
    void zoomFactorChanged(double zoomFactor);
    void needToShowInHierarchyView(const QString& path);
    void needToShowInLibraryView(BlockDefinition* pBlockDefinition);
    // Declared with results for the sake of the established interface; nobody reads them.
    bool areaChanged();
    bool stepInAllowedChanged(bool value);
    bool stepOutAllowedChanged(bool value);
    void sizeChanged(QSize value);

public Q_SLOTS:
    virtual bool setReadOnly(bool value) = 0;
    virtual bool navigateTo(const QString& path) = 0;
    virtual bool stepInSelectedBlock() = 0;
    virtual bool stepOut() = 0;
    virtual bool scrollToItem(uint identifier, bool selectItem) = 0;
    virtual void showBlockProperties() = 0;

    void setZoomFactor(double zoomFactor);
    void findNextBlock();
    void findPreviousBlock();

protected:
    // What both concrete views do for scrollToItem on the scene they show: centre on the block and,
    // if asked, make it the only selected item. False when the scene has no such block.
    bool centreOnBlockItem(BlockCodeScene* pScene, uint identifier, bool selectItem);

    void mousePressEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    friend class BlockCodeViewPrivate;
    QScopedPointer<BlockCodeViewPrivate> d;
};
