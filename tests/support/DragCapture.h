#pragma once

#include <QByteArray>
#include <QHash>
#include <QImage>
#include <QPoint>
#include <QString>

#include <functional>

class QObject;

// What a drag started by a widget carried: its payload by format, hot spot and picture.
struct DragRecord
{
    bool started = false;
    QHash<QString, QByteArray> payload;
    QPoint hotSpot;
    QImage picture;
};

// Runs `gesture` (mouse events sent to the widget) and records the drag that `source` starts during
// it. Where the platform runs a loop of its own for the drag, the drag is looked at from inside and
// cancelled; where it ends the drag at once, the finished drag is looked at afterwards. Drags left
// as children of `source` are deleted, so that the next capture sees only its own.
DragRecord captureDrag(QObject* source, const std::function<void()>& gesture);
