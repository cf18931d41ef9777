#pragma once

#include <QCoreApplication>
#include <QRectF>
#include <QString>

class QGraphicsScene;
class QPagedPaintDevice;
class QPainter;
class QPrinter;

// Puts one code scene on paper or into a file: PNG, SVG or PDF after the file's suffix, or the
// sheets of a printer. It needs the scene only, no view and no window, so that the studio's menu
// and a test write the same pictures.
class StudioExporter
{
    Q_DECLARE_TR_FUNCTIONS(StudioExporter)
public:
    // `resolution` is the dots per inch the scene's texts were measured at: the items draw their
    // texts in point sizes, and a device of another resolution would scale the texts against the
    // geometry, so files and sheets are made at that resolution. `title` names the document and
    // heads each sheet. A null scene has nothing to give: every export says that no code is open.
    StudioExporter(QGraphicsScene* scene, int resolution, const QString& title = QString());

    // Writes the file after its suffix (png, svg, pdf); on failure, `error` says why in the words
    // the studio shows.
    bool exportTo(const QString& path, QString* error = nullptr) const;
    // Draws the code onto the printer's sheets, as many as it takes to stay readable.
    bool print(QPrinter* printer) const;

    // What the scene draws, with a margin around it; empty when it draws nothing. The scene's
    // background layers (the frame, the tint and the grid of edit mode) span the whole scene
    // rectangle and would make every picture a square kilometre: they are no part of it.
    static QRectF drawingRect(QGraphicsScene* scene);

private:
    // The drawing on one sheet, or, when that would make it too small to read and several are
    // allowed, on as many as it takes.
    bool paintPages(QPagedPaintDevice* device, QPainter* painter, bool severalSheets) const;
    bool writePng(const QString& path, const QRectF& source, QString* error) const;
    bool writeSvg(const QString& path, const QRectF& source, QString* error) const;
    bool writePdf(const QString& path, const QRectF& source, QString* error) const;

    QGraphicsScene* m_scene;
    int m_resolution;
    QString m_title;
};
