#pragma once

#include "BlockCode.h"
#include "BlockCodeScene.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchyNode.h"
#include "TestModel.h"

#include <QColor>
#include <QEvent>
#include <QGraphicsScene>
#include <QImage>
#include <QList>
#include <QPaintDevice>
#include <QPointer>
#include <QRectF>
#include <QString>
#include <QTransform>

#include <memory>

class BlockHierarchyNodeScene;
class BlockPinConnection;
class BlockPinItem;
class ConnectionItem;
class QGraphicsItem;
class QMimeData;
class RecordingPaintEngine;

// A concrete code scene for the tests of the scene and its items. It shows a given code, claims to
// be a definition scene or not as told, and keeps its read-only flag as a plain value, so that a
// test can drive every branch that the real derived scenes decide on. Like those, it is a child
// of its code and follows BlockCode::changed().
class TestCodeScene : public BlockCodeScene
{
    Q_OBJECT
public:
    explicit TestCodeScene(BlockCode* code, bool definitionScene = true, bool readOnly = false);
    ~TestCodeScene() override;

    bool isDefinitionScene() const override { return m_definitionScene; }
    bool isHierarchyNodeScene() const override { return !m_definitionScene; }
    bool isReadOnly() const override { return m_readOnly; }
    void setReadOnly(bool value) override { m_readOnly = value; }
    BlockCode* blockCode() const override;
    BlockInstanceHierarchyNode* hierarchyNode() const override { return m_node.data(); }
    BlockInstanceArea* instanceArea() const override { return m_area.data(); }
    void rebuild() override;

    void setDefinitionScene(bool value) { m_definitionScene = value; }
    void setHierarchyNode(BlockInstanceHierarchyNode* node) { m_node = node; }
    void setInstanceArea(BlockInstanceArea* area) { m_area = area; }
    int rebuildCount() const { return m_rebuilds; }

    // A scene is active while a view's window is; tests have no window, so they say it themselves.
    void activate();
    void deactivate();

private:
    QPointer<BlockCode> m_code;
    QPointer<BlockInstanceHierarchyNode> m_node;
    QPointer<BlockInstanceArea> m_area;
    bool m_definitionScene;
    bool m_readOnly;
    int m_rebuilds = 0;
};

// An AND at (10, 10) and a NOT at (30, 10) in the root code of a test model: the AND's output at
// (17000, 10500) and the NOT's first input at (27000, 10500) lie on one horizontal line. A test
// places what else it needs and makes the scene once the code is as it wants it.
struct GateDiagram
{
    GateDiagram();

    // The newest definition of the test library's block, placed in the code.
    BlockInstance* place(const QString& identifier, QPointF position);
    TestCodeScene* makeScene(bool definitionScene = true);
    ConnectionItem* itemOf(BlockPinConnection* connection) const;
    BlockPinItem* pinItem(BlockInstance* instance, int pin) const;
    // Where connections meet the pin, in scene coordinates.
    QPointF pinPoint(BlockInstance* instance, int pin) const;

    TestModel model;
    BlockCode* code;
    BlockInstance* gate = nullptr;
    BlockInstance* inverter = nullptr;
    // Destroyed before the model, whose code would otherwise take the scene along.
    std::unique_ptr<TestCodeScene> scene;
};

// The scene's items of type T, children included, in the order of the scene's own list: what a
// scan of the scene finds, as against what the scene's indexes answer.
template <typename T>
QList<T*> itemsOf(QGraphicsScene* scene)
{
    QList<T*> found;
    const QList<QGraphicsItem*> items = scene->items();
    for (QGraphicsItem* item : items) {
        if (auto* wanted = dynamic_cast<T*>(item))
            found.append(wanted);
    }
    return found;
}

template <typename T>
int itemCount(QGraphicsScene* scene)
{
    return int(itemsOf<T>(scene).size());
}

// Sends a mouse event of the given type straight to the scene, as a view would.
void sendSceneMouse(QGraphicsScene* scene, QEvent::Type type, QPointF scenePos,
                    Qt::MouseButton button = Qt::LeftButton, Qt::KeyboardModifiers modifiers = Qt::NoModifier);
// A left-button mouse event as a view sends it during a drag: the press position stays the
// button-down position, and a move carries the button in buttons() only.
void sendSceneDragMouse(QGraphicsScene* scene, QEvent::Type type, QPointF scenePos, QPointF downPos,
                        Qt::KeyboardModifiers modifiers = Qt::NoModifier);
// A key press sent straight to the scene; returns whether the event came back accepted.
bool sendSceneKey(QGraphicsScene* scene, int key, Qt::KeyboardModifiers modifiers = Qt::NoModifier);

// A drag event of the given type carrying `data`, proposing a copy, sent straight to the scene as a
// view passes it on; returns the action the scene settled on.
Qt::DropAction sendSceneDrag(QGraphicsScene* scene, QEvent::Type type, QMimeData* data, QPointF scenePos,
                             Qt::DropActions possible = Qt::CopyAction);

// Shows the pins of the scene as the display mode says: 0 names, 1 location paths, 2 memory
// addresses, 3 current values.
void showPinsAs(BlockHierarchyNodeScene* scene, int mode);

// The scene's `source` rectangle drawn over white, stretched to an image of `size`.
QImage renderScene(QGraphicsScene* scene, const QRectF& source, QSize size);

// Paints one item alone into an image of the given size, white at first, with the item's local
// origin at `origin` and the given scale; `selected` sets the option's selected state as a view
// would for a selected item.
QImage renderItem(QGraphicsItem* item, QSize size, qreal scale, QPointF origin = QPointF(), bool selected = false);

// A paint device that records what is drawn on it instead of rasterising: texts with their baseline
// point, images with their target rectangle, rectangles with pen and brush. Coordinates are those
// given to the painter, mapped through the painter's transform.
class PaintRecorder : public QPaintDevice
{
public:
    struct Text
    {
        QString text;
        QPointF position;
        QColor color;
    };
    struct Rect
    {
        QRectF rect;
        QColor pen;
        QColor brush;
        bool brushed;
    };

    PaintRecorder();
    ~PaintRecorder() override;

    QPaintEngine* paintEngine() const override;

    QList<Text> texts() const;
    QList<QRectF> images() const;
    QList<Rect> rects() const;
    // The recorded text that equals `text`, or an empty record with an empty text.
    Text text(const QString& text) const;

protected:
    int metric(PaintDeviceMetric metric) const override;

private:
    std::unique_ptr<RecordingPaintEngine> m_engine;
};

// Paints `item` into a PaintRecorder with the painter's transform `transform`.
void recordItem(QGraphicsItem* item, PaintRecorder* recorder, const QTransform& transform = QTransform(),
                bool selected = false);
