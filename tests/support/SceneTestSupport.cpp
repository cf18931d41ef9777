#include "SceneTestSupport.h"

#include "BlockCode.h"
#include "BlockHierarchyNodeScene.h"
#include "BlockInstance.h"
#include "BlockPinInstance.h"
#include "BlockPinItem.h"
#include "ConnectionItem.h"
#include "ModelBuilder.h"
#include "SceneMetrics.h"

#include <QApplication>
#include <QBrush>
#include <QPen>
#include <QGraphicsItem>
#include <QPaintEngine>
#include <QPainter>
#include <QStyle>
#include <QStyleOptionGraphicsItem>

#include <climits>
#include <QEvent>
#include <QGraphicsSceneDragDropEvent>
#include <QGraphicsSceneMouseEvent>
#include <QKeyEvent>

TestCodeScene::TestCodeScene(BlockCode* code, bool definitionScene, bool readOnly)
    : BlockCodeScene(code)
    , m_code(code)
    , m_definitionScene(definitionScene)
    , m_readOnly(readOnly)
{
    if (code)
        connect(code, &BlockCode::changed, this, &BlockCodeScene::updateRequired);
    rebuild();
}

TestCodeScene::~TestCodeScene()
{
    // Items write into the model while the base class deletes them; by then this scene can't take
    // an update any more.
    if (m_code)
        disconnect(m_code, &BlockCode::changed, this, &BlockCodeScene::updateRequired);
}

BlockCode* TestCodeScene::blockCode() const
{
    return m_code.data();
}

void TestCodeScene::rebuild()
{
    ++m_rebuilds;
    BlockCodeScene::rebuild();
}

void TestCodeScene::activate()
{
    QEvent event(QEvent::WindowActivate);
    QApplication::sendEvent(this, &event);
}

void TestCodeScene::deactivate()
{
    QEvent event(QEvent::WindowDeactivate);
    QApplication::sendEvent(this, &event);
}

GateDiagram::GateDiagram()
    : code(model.rootCode())
{
    gate = place(QStringLiteral("StandardBlock_1"), {10, 10});
    inverter = place(QStringLiteral("StandardBlock_3"), {30, 10});
}

BlockInstance* GateDiagram::place(const QString& identifier, QPointF position)
{
    return ModelBuilder::place(code, ModelBuilder::newest(model.block(identifier)), position);
}

TestCodeScene* GateDiagram::makeScene(bool definitionScene)
{
    scene.reset(new TestCodeScene(code, definitionScene));
    return scene.get();
}

ConnectionItem* GateDiagram::itemOf(BlockPinConnection* connection) const
{
    const auto items = scene->connectionItemMap().values(connection);
    return items.isEmpty() ? nullptr : items.first();
}

BlockPinItem* GateDiagram::pinItem(BlockInstance* instance, int pin) const
{
    return scene->pinItemOf(instance->pin(pin));
}

QPointF GateDiagram::pinPoint(BlockInstance* instance, int pin) const
{
    BlockPinItem* item = pinItem(instance, pin);
    return item->mapToScene(item->connectionPoint());
}

void sendSceneMouse(QGraphicsScene* scene, QEvent::Type type, QPointF scenePos, Qt::MouseButton button,
                    Qt::KeyboardModifiers modifiers)
{
    QGraphicsSceneMouseEvent event(type);
    event.setScenePos(scenePos);
    event.setScreenPos(scenePos.toPoint());
    event.setButtonDownScenePos(button, scenePos);
    event.setButtonDownScreenPos(button, scenePos.toPoint());
    event.setLastScenePos(scenePos);
    event.setLastScreenPos(scenePos.toPoint());
    event.setButton(button);
    event.setButtons(type == QEvent::GraphicsSceneMouseRelease ? Qt::NoButton : Qt::MouseButtons(button));
    event.setModifiers(modifiers);
    QApplication::sendEvent(scene, &event);
}

void sendSceneDragMouse(QGraphicsScene* scene, QEvent::Type type, QPointF scenePos, QPointF downPos,
                        Qt::KeyboardModifiers modifiers)
{
    QGraphicsSceneMouseEvent event(type);
    event.setScenePos(scenePos);
    event.setScreenPos(scenePos.toPoint());
    event.setButtonDownScenePos(Qt::LeftButton, downPos);
    event.setButtonDownScreenPos(Qt::LeftButton, downPos.toPoint());
    event.setLastScenePos(scenePos);
    event.setLastScreenPos(scenePos.toPoint());
    event.setButton(type == QEvent::GraphicsSceneMouseMove ? Qt::NoButton : Qt::LeftButton);
    event.setButtons(type == QEvent::GraphicsSceneMouseRelease ? Qt::NoButton : Qt::LeftButton);
    event.setModifiers(modifiers);
    QApplication::sendEvent(scene, &event);
}

bool sendSceneKey(QGraphicsScene* scene, int key, Qt::KeyboardModifiers modifiers)
{
    QKeyEvent event(QEvent::KeyPress, key, modifiers);
    QApplication::sendEvent(scene, &event);
    return event.isAccepted();
}

Qt::DropAction sendSceneDrag(QGraphicsScene* scene, QEvent::Type type, QMimeData* data, QPointF scenePos,
                             Qt::DropActions possible)
{
    QGraphicsSceneDragDropEvent event(type);
    event.setScenePos(scenePos);
    event.setMimeData(data);
    event.setPossibleActions(possible);
    event.setProposedAction(Qt::CopyAction);
    event.setDropAction(Qt::CopyAction);
    event.setButtons(Qt::LeftButton);
    QApplication::sendEvent(scene, &event);
    return event.dropAction();
}

void showPinsAs(BlockHierarchyNodeScene* scene, int mode)
{
    // Unlike a mode carried over, the name mode here asks for the names.
    if (mode == PinDisplay::Name)
        scene->showPinsName();
    else
        scene->showPinsInMode(mode);
}

QImage renderScene(QGraphicsScene* scene, const QRectF& source, QSize size)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    scene->render(&painter, QRectF(QPointF(0, 0), QSizeF(size)), source, Qt::IgnoreAspectRatio);
    painter.end();
    return image;
}

namespace {

// What a view hands an item it paints alone: the selection state and the whole item exposed.
QStyleOptionGraphicsItem paintOption(QGraphicsItem* item, bool selected)
{
    QStyleOptionGraphicsItem option;
    option.state = QStyle::State_None;
    if (selected)
        option.state |= QStyle::State_Selected;
    option.exposedRect = item->boundingRect();
    return option;
}

} // namespace

QImage renderItem(QGraphicsItem* item, QSize size, qreal scale, QPointF origin, bool selected)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.translate(origin);
    painter.scale(scale, scale);
    const QStyleOptionGraphicsItem option = paintOption(item, selected);
    item->paint(&painter, &option, nullptr);
    painter.end();
    return image;
}

class RecordingPaintEngine : public QPaintEngine
{
public:
    RecordingPaintEngine()
        : QPaintEngine(QPaintEngine::AllFeatures)
    {
    }

    bool begin(QPaintDevice*) override { return true; }
    bool end() override { return true; }
    Type type() const override { return QPaintEngine::User; }

    void updateState(const QPaintEngineState& state) override
    {
        if (state.state() & DirtyPen)
            m_pen = state.pen();
        if (state.state() & DirtyBrush)
            m_brush = state.brush();
        if (state.state() & DirtyTransform)
            m_transform = state.transform();
    }

    void drawPixmap(const QRectF& r, const QPixmap&, const QRectF&) override { images.append(m_transform.mapRect(r)); }
    void drawImage(const QRectF& r, const QImage&, const QRectF&, Qt::ImageConversionFlags) override
    {
        images.append(m_transform.mapRect(r));
    }
    void drawTextItem(const QPointF& p, const QTextItem& textItem) override
    {
        texts.append({textItem.text(), m_transform.map(p), m_pen.color()});
    }
    void drawRects(const QRectF* r, int count) override
    {
        for (int i = 0; i < count; ++i)
            rects.append({m_transform.mapRect(r[i]), m_pen.color(), m_brush.color(), m_brush.style() != Qt::NoBrush});
    }
    void drawRects(const QRect* r, int count) override
    {
        for (int i = 0; i < count; ++i)
            rects.append({m_transform.mapRect(QRectF(r[i])), m_pen.color(), m_brush.color(), m_brush.style() != Qt::NoBrush});
    }
    // Lines, polygons, paths and ellipses are recorded by none of the tests that use this engine.
    void drawPath(const QPainterPath&) override {}
    void drawPolygon(const QPointF*, int, PolygonDrawMode) override {}
    void drawPolygon(const QPoint*, int, PolygonDrawMode) override {}
    void drawLines(const QLineF*, int) override {}
    void drawLines(const QLine*, int) override {}
    void drawEllipse(const QRectF&) override {}
    void drawPoints(const QPointF*, int) override {}

    QList<PaintRecorder::Text> texts;
    QList<QRectF> images;
    QList<PaintRecorder::Rect> rects;

private:
    QPen m_pen;
    QBrush m_brush;
    QTransform m_transform;
};

PaintRecorder::PaintRecorder()
    : m_engine(std::make_unique<RecordingPaintEngine>())
{
}

PaintRecorder::~PaintRecorder() = default;

QPaintEngine* PaintRecorder::paintEngine() const
{
    return m_engine.get();
}

QList<PaintRecorder::Text> PaintRecorder::texts() const
{
    return m_engine->texts;
}

QList<QRectF> PaintRecorder::images() const
{
    return m_engine->images;
}

QList<PaintRecorder::Rect> PaintRecorder::rects() const
{
    return m_engine->rects;
}

PaintRecorder::Text PaintRecorder::text(const QString& wanted) const
{
    for (const Text& recorded : m_engine->texts) {
        if (recorded.text == wanted)
            return recorded;
    }
    return {};
}

int PaintRecorder::metric(PaintDeviceMetric metric) const
{
    switch (metric) {
    case PdmWidth:
    case PdmHeight:
        return 100000;
    case PdmWidthMM:
    case PdmHeightMM:
        return 26458;
    case PdmNumColors:
        return INT_MAX;
    case PdmDepth:
        return 32;
    case PdmDpiX:
    case PdmDpiY:
    case PdmPhysicalDpiX:
    case PdmPhysicalDpiY:
        return 96;
    case PdmDevicePixelRatio:
        return 1;
    case PdmDevicePixelRatioScaled:
        return int(QPaintDevice::devicePixelRatioFScale());
    default:
        return 0;
    }
}

void recordItem(QGraphicsItem* item, PaintRecorder* recorder, const QTransform& transform, bool selected)
{
    QPainter painter(recorder);
    painter.setTransform(transform);
    const QStyleOptionGraphicsItem option = paintOption(item, selected);
    item->paint(&painter, &option, nullptr);
}
