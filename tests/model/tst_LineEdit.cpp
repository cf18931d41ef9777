#include "LineEdit.h"
#include "TestRegistry.h"

#include <QImage>
#include <QSignalSpy>
#include <QTest>
#include <QVBoxLayout>
#include <QWidget>

#include <memory>

class tst_LineEdit : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void returnCommits_data();
    void returnCommits();
    void focusOutCommitsOnlyAChange();
    void programmaticTextIsNoChange();
    void escapeClears();
    void escapeOnEmptyPassesThrough();
    void crossClears();
    void hintShowsOnlyWhenEmptyAndUnfocused();
    void crossIsDrawnWithText();

private:
    QImage render(LineEdit* edit);

    std::unique_ptr<QWidget> m_window;
    LineEdit* m_edit = nullptr;
    LineEdit* m_other = nullptr;
};

void tst_LineEdit::init()
{
    m_window = std::make_unique<QWidget>();
    auto* layout = new QVBoxLayout(m_window.get());
    m_edit = new LineEdit(m_window.get());
    m_other = new LineEdit(m_window.get());
    layout->addWidget(m_edit);
    layout->addWidget(m_other);
    m_window->resize(240, 80);
    m_window->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_window.get()));
    m_window->activateWindow();
    QVERIFY(QTest::qWaitForWindowActive(m_window.get()));
    m_edit->setFocus();
    QTRY_VERIFY(m_edit->hasFocus());
}

void tst_LineEdit::cleanup()
{
    m_window.reset();
    m_edit = nullptr;
    m_other = nullptr;
}

void tst_LineEdit::returnCommits_data()
{
    QTest::addColumn<int>("key");
    QTest::newRow("Return") << int(Qt::Key_Return);
    QTest::newRow("Enter") << int(Qt::Key_Enter);
}

void tst_LineEdit::returnCommits()
{
    QFETCH(int, key);
    QSignalSpy committed(m_edit, &LineEdit::textCommited);
    QSignalSpy returnPressed(m_edit, &QLineEdit::returnPressed);
    QTest::keyClicks(m_edit, QStringLiteral("P12"));
    QCOMPARE(committed.count(), 0);
    QTest::keyClick(m_edit, Qt::Key(key));
    QCOMPARE(committed.count(), 1);
    QCOMPARE(committed.at(0).at(0).toString(), QStringLiteral("P12"));
    QCOMPARE(returnPressed.count(), 1);

    // Committed already: leaving without a further change commits nothing more.
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 1);
}

void tst_LineEdit::focusOutCommitsOnlyAChange()
{
    QSignalSpy committed(m_edit, &LineEdit::textCommited);
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 0);

    m_edit->setFocus();
    QTRY_VERIFY(m_edit->hasFocus());
    QTest::keyClicks(m_edit, QStringLiteral("abc"));
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 1);
    QCOMPARE(committed.at(0).at(0).toString(), QStringLiteral("abc"));

    // Typed and taken back: no change, nothing to commit.
    m_edit->setFocus();
    QTRY_VERIFY(m_edit->hasFocus());
    QTest::keyClick(m_edit, Qt::Key_End);
    QTest::keyClick(m_edit, Qt::Key_D);
    QTest::keyClick(m_edit, Qt::Key_Backspace);
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 1);
}

void tst_LineEdit::programmaticTextIsNoChange()
{
    QSignalSpy committed(m_edit, &LineEdit::textCommited);
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    m_edit->setText(QStringLiteral("from the model"));
    m_edit->setFocus();
    QTRY_VERIFY(m_edit->hasFocus());
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 0);
}

void tst_LineEdit::escapeClears()
{
    QSignalSpy committed(m_edit, &LineEdit::textCommited);
    QTest::keyClicks(m_edit, QStringLiteral("xyz"));
    QTest::keyClick(m_edit, Qt::Key_Escape);
    QVERIFY(m_edit->text().isEmpty());
    QCOMPARE(committed.count(), 0);
    QTest::keyClicks(m_edit, QStringLiteral("q"));
    QTest::keyClick(m_edit, Qt::Key_Return);
    QCOMPARE(committed.count(), 1);
    QCOMPARE(committed.at(0).at(0).toString(), QStringLiteral("q"));

    // Clearing a committed text is a change that focus out hands over.
    QTest::keyClick(m_edit, Qt::Key_Escape);
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    QCOMPARE(committed.count(), 2);
    QCOMPARE(committed.at(1).at(0).toString(), QString());
}

void tst_LineEdit::escapeOnEmptyPassesThrough()
{
    QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    m_edit->setText(QStringLiteral("x"));
    QApplication::sendEvent(m_edit, &escape);
    QVERIFY(escape.isAccepted());
    QVERIFY(m_edit->text().isEmpty());

    QKeyEvent again(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
    QApplication::sendEvent(m_edit, &again);
    QVERIFY(!again.isAccepted());
}

void tst_LineEdit::crossClears()
{
    m_edit->setText(QStringLiteral("clear me"));
    QTest::mouseClick(m_edit, Qt::LeftButton, Qt::NoModifier, QPoint(m_edit->width() - 8, m_edit->height() / 2));
    QVERIFY(m_edit->text().isEmpty());

    m_edit->setText(QStringLiteral("keep me"));
    QTest::mouseClick(m_edit, Qt::LeftButton, Qt::NoModifier, QPoint(10, m_edit->height() / 2));
    QCOMPARE(m_edit->text(), QStringLiteral("keep me"));
}

QImage tst_LineEdit::render(LineEdit* edit)
{
    return edit->grab().toImage().convertToFormat(QImage::Format_RGB32);
}

void tst_LineEdit::hintShowsOnlyWhenEmptyAndUnfocused()
{
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    const QImage bare = render(m_edit);
    m_edit->setPlaceholderText(QStringLiteral("Search WWW"));
    const QImage hinted = render(m_edit);
    QVERIFY(hinted != bare);

    m_edit->setFocus();
    QTRY_VERIFY(m_edit->hasFocus());
    m_edit->setPlaceholderText(QString());
    const QImage focusedBare = render(m_edit);
    m_edit->setPlaceholderText(QStringLiteral("Search WWW"));
    const QImage focusedHinted = render(m_edit);
    int differing = 0;
    for (int y = 0; y < focusedBare.height(); ++y) {
        for (int x = 0; x < focusedBare.width(); ++x)
            differing += focusedBare.pixel(x, y) != focusedHinted.pixel(x, y);
    }
    // At most the text cursor may differ; the hint text would change far more pixels.
    QVERIFY2(differing <= focusedBare.height(), QByteArray::number(differing).constData());
}

void tst_LineEdit::crossIsDrawnWithText()
{
    auto darkPixelsNearRightEnd = [this](const QImage& image) {
        int count = 0;
        for (int y = 0; y < image.height(); ++y) {
            for (int x = image.width() - 14; x < image.width() - 2; ++x)
                count += qGray(image.pixel(x, y)) < 128;
        }
        return count;
    };
    m_other->setFocus();
    QTRY_VERIFY(m_other->hasFocus());
    const int empty = darkPixelsNearRightEnd(render(m_edit));
    m_edit->setText(QStringLiteral("x"));
    const int withText = darkPixelsNearRightEnd(render(m_edit));
    QVERIFY2(withText > empty + 4, qPrintable(QStringLiteral("%1 vs %2").arg(withText).arg(empty)));
    m_edit->setReadOnly(true);
    QCOMPARE(darkPixelsNearRightEnd(render(m_edit)), empty);
}

ZK_TEST_REGISTER(tst_LineEdit)
#include "tst_LineEdit.moc"
