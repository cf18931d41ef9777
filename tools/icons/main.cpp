// Renders every SVG of a folder to PNG at its nominal size and at twice that size ("@2x", which
// QIcon picks on high-density screens), and optionally writes a montage of all icons on a light and
// a dark background so that they can be judged side by side.
//
// A file name may carry a path below the resource folder with "__" for "/" and an explicit size
// with "_NxN" before ".svg": "General__Warning_16x16.svg" becomes General/Warning_16x16.png at 16 px.

#include <QDir>
#include <QFileInfo>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QRegularExpression>
#include <QSvgRenderer>

#include <cstdio>

namespace {

QImage render(QSvgRenderer& renderer, int size)
{
    QImage image(size, size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter, QRectF(0, 0, size, size));
    return image;
}

} // namespace

int main(int argc, char** argv)
{
    QGuiApplication app(argc, argv);
    if (argc < 3) {
        std::fprintf(stderr, "usage: %s SVG_DIR PNG_DIR [MONTAGE.png]\n", argv[0]);
        return 2;
    }
    const QDir svgDir(QString::fromLocal8Bit(argv[1]));
    const QDir pngDir(QString::fromLocal8Bit(argv[2]));
    const QRegularExpression explicitSize(QStringLiteral("_(\\d+)x(\\d+)$"));
    QList<QPair<QString, QImage>> shown;
    int failures = 0;
    for (const QFileInfo& info : svgDir.entryInfoList({QStringLiteral("*.svg")}, QDir::Files, QDir::Name)) {
        QSvgRenderer renderer(info.filePath());
        if (!renderer.isValid()) {
            std::fprintf(stderr, "invalid SVG: %s\n", qPrintable(info.filePath()));
            ++failures;
            continue;
        }
        QString name = info.completeBaseName();
        int size = 24;
        const QRegularExpressionMatch match = explicitSize.match(name);
        if (match.hasMatch())
            size = match.captured(1).toInt();
        name.replace(QStringLiteral("__"), QStringLiteral("/"));
        const QString base = pngDir.filePath(name);
        QDir().mkpath(QFileInfo(base).path());
        const QImage normal = render(renderer, size);
        const QImage doubled = render(renderer, size * 2);
        if (!normal.save(base + QStringLiteral(".png")) || !doubled.save(base + QStringLiteral("@2x.png"))) {
            std::fprintf(stderr, "cannot write %s\n", qPrintable(base));
            ++failures;
            continue;
        }
        shown.append({name, doubled});
        std::printf("%s.png (%d px)\n", qPrintable(name), size);
    }

    if (argc > 3 && !shown.isEmpty()) {
        // Each icon at 1x and 2x, on white and on a dark grey, in a grid with its name.
        const int cellWidth = 200, cellHeight = 72, columns = 4;
        const int rows = (int(shown.size()) + columns - 1) / columns;
        QImage montage(columns * cellWidth, rows * cellHeight, QImage::Format_ARGB32);
        montage.fill(Qt::white);
        QPainter painter(&montage);
        for (int i = 0; i < shown.size(); ++i) {
            const int x = (i % columns) * cellWidth, y = (i / columns) * cellHeight;
            const QImage& big = shown.at(i).second;
            const QImage small = QImage(pngDir.filePath(shown.at(i).first + QStringLiteral(".png")));
            painter.fillRect(x + 2, y + 2, 120, 52, QColor(0x3c, 0x3f, 0x41));
            painter.drawImage(x + 4, y + 4, big);
            painter.drawImage(x + 56, y + 16, small);
            painter.drawImage(x + 124, y + 4, big);
            painter.drawImage(x + 176, y + 16, small);
            painter.drawText(QRect(x, y + 54, cellWidth, 18), Qt::AlignCenter, shown.at(i).first);
        }
        painter.end();
        montage.save(QString::fromLocal8Bit(argv[3]));
    }
    return failures == 0 ? 0 : 1;
}
