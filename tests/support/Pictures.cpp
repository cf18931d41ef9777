#include "Pictures.h"

#include <QBuffer>
#include <QIcon>
#include <QPixmap>
#include <QRegularExpression>

QByteArray pngBytes(QSize size, const QColor& colour)
{
    QImage image(size, QImage::Format_ARGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

QImage iconImage(const QIcon& icon, int side)
{
    return icon.pixmap(QSize(side, side)).toImage().convertToFormat(QImage::Format_ARGB32);
}

int darkPixels(const QImage& image, const QRect& region)
{
    const QRect inside = region & image.rect();
    int count = 0;
    for (int y = inside.top(); y <= inside.bottom(); ++y) {
        for (int x = inside.left(); x <= inside.right(); ++x) {
            if (qGray(image.pixel(x, y)) < 128)
                ++count;
        }
    }
    return count;
}

int inkedPixels(const QImage& image)
{
    const QImage argb = image.convertToFormat(QImage::Format_ARGB32);
    int count = 0;
    for (int y = 0; y < argb.height(); ++y) {
        for (int x = 0; x < argb.width(); ++x) {
            if (qAlpha(argb.pixel(x, y)) > 0)
                ++count;
        }
    }
    return count;
}

int pdfPageCount(const QByteArray& pdf)
{
    static const QRegularExpression page(QStringLiteral("/Type\\s*/Page(?!s)"));
    return int(QString::fromLatin1(pdf).count(page));
}

QByteArray pdfStreams(const QByteArray& pdf)
{
    // The text of the file as Latin-1 keeps every byte as one character.
    static const QRegularExpression stream(QStringLiteral("<<((?:(?!<<|>>).)*)>>\\s*stream\\r?\\n(.*?)\\r?\\nendstream"),
                                           QRegularExpression::DotMatchesEverythingOption);
    QByteArray streams;
    QRegularExpressionMatchIterator it = stream.globalMatch(QString::fromLatin1(pdf));
    while (it.hasNext()) {
        const QRegularExpressionMatch match = it.next();
        const QByteArray data = match.captured(2).toLatin1();
        if (!match.captured(1).contains(QLatin1String("/FlateDecode"))) {
            streams += data;
            continue;
        }
        // qUncompress wants the size ahead of the zlib data; it grows a size that is too small.
        QByteArray sized(4, '\0');
        sized[1] = 1;
        streams += qUncompress(sized + data);
    }
    return streams;
}
