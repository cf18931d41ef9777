#include "DragCapture.h"

#include <QDrag>
#include <QMimeData>
#include <QPixmap>
#include <QTimer>

namespace {

void record(QDrag* drag, DragRecord& into)
{
    if (!drag || into.started)
        return;
    into.started = true;
    if (const QMimeData* data = drag->mimeData()) {
        const QStringList formats = data->formats();
        for (const QString& format : formats)
            into.payload.insert(format, data->data(format));
    }
    into.hotSpot = drag->hotSpot();
    into.picture = drag->pixmap().toImage();
}

} // namespace

DragRecord captureDrag(QObject* source, const std::function<void()>& gesture)
{
    qDeleteAll(source->findChildren<QDrag*>());
    DragRecord result;
    QTimer watcher;
    watcher.setInterval(5);
    QObject::connect(&watcher, &QTimer::timeout, [&] {
        if (result.started)
            return;
        if (QDrag* drag = source->findChild<QDrag*>()) {
            record(drag, result);
            QDrag::cancel();
        }
    });
    watcher.start();
    gesture();
    watcher.stop();
    record(source->findChild<QDrag*>(), result);
    qDeleteAll(source->findChildren<QDrag*>());
    return result;
}
