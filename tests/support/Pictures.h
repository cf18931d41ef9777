#pragma once

#include <QByteArray>
#include <QColor>
#include <QImage>
#include <QRect>
#include <QSize>

class QIcon;

// Pictures for and from the tests: PNG bytes as the model stores a block's images, icons as
// comparable images, how much of a rendering is ink, how many pages a PDF has.

// A PNG of the given size in one colour.
QByteArray pngBytes(QSize size, const QColor& colour);
// The icon drawn as a square of `side` pixels, in a format whose pixels compare exactly.
QImage iconImage(const QIcon& icon, int side);
// The pixels within `region` darker than mid-grey; the parts of the region outside the image
// count for nothing.
int darkPixels(const QImage& image, const QRect& region);
// The pixels that aren't fully transparent: the ink of a picture drawn on a transparent ground.
int inkedPixels(const QImage& image);
// The pages of a PDF document: its page objects, not the page tree that holds them.
int pdfPageCount(const QByteArray& pdf);
// The streams of a PDF, inflated where they are compressed, one after the other: the drawing of
// its pages in PDF operators, for a test to look for what was drawn.
QByteArray pdfStreams(const QByteArray& pdf);
