#include "ModalAnswer.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockLibraryContainer.h"
#include "ModelBuilder.h"
#include "UserBlockEditMethodDialog.h"

#include <QGridLayout>
#include <QImage>
#include <QLabel>
#include <QPixmap>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

#include <memory>

class tst_UserBlockEditMethodDialog : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();

    void formHasItsNamesAndTexts();
    void onlyCurrentVersionAndCancelAreOffered();
    void warningOnlyBelowTheHighestVersion_data();
    void warningOnlyBelowTheHighestVersion();
    void buttonsSetTheEditMethod_data();
    void buttonsSetTheEditMethod();
    void closingIsCancelling();
    void withoutDefinition();

private:
    std::unique_ptr<TestModel> m_model;
    Block* m_block = nullptr;
};

void tst_UserBlockEditMethodDialog::init()
{
    m_model = std::make_unique<TestModel>();
    m_block = ModelBuilder::composite(m_model->user()->library(), QStringLiteral("UserBlock_1"), QStringLiteral("Kunde"),
                                      {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
    m_block->setUserBlock(true);
    // Versions 0, 1 and 2.
    m_block->createDefinition();
    m_block->createDefinition();
    QCOMPARE(m_block->versions().size(), 3);
}

void tst_UserBlockEditMethodDialog::cleanup()
{
    m_block = nullptr;
    m_model.reset();
}

void tst_UserBlockEditMethodDialog::formHasItsNamesAndTexts()
{
    UserBlockEditMethodDialog dialog(nullptr, m_block->blockDefinition(2));
    QCOMPARE(dialog.objectName(), QStringLiteral("UserBlockEditMethodDialog"));
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Bibliotheksbaustein editieren"));
    QCOMPARE(dialog.property("HelpId").toString(), QStringLiteral("UserBlockEditMethodDialog"));
    QVERIFY(!(dialog.windowFlags() & Qt::WindowContextHelpButtonHint));
    QCOMPARE(dialog.sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);
    QCOMPARE(dialog.sizePolicy().verticalPolicy(), QSizePolicy::Maximum);

    auto* label = dialog.findChild<QLabel*>(QStringLiteral("label"));
    QVERIFY(label);
    QVERIFY(label->wordWrap());
    QVERIFY(label->text().startsWith(QStringLiteral("Dieser Baustein ist Teil einer Bibliothek und wird möglicherweise "
                                                    "an mehreren Stellen in verschiedenen Projekten eingesetzt.<br><br>\n\n"
                                                    "Durch das Editieren einer Version")));
    QVERIFY(label->text().contains(QStringLiteral("<br><br>\n\n1)  Ersetzten Sie die Instanz")));
    QVERIFY(label->text().endsWith(QStringLiteral("Diese Kopie ist dann von der Bibliothek und diesem Baustein unabhängig.")));

    auto* warningText = dialog.findChild<QLabel*>(QStringLiteral("warningText"));
    QVERIFY(warningText);
    QCOMPARE(warningText->text(), QStringLiteral("Dies ist nicht die höchste Version des Bausteins."));
    auto* icon = dialog.findChild<QLabel*>(QStringLiteral("waringIcon"));
    QVERIFY(icon);
    QVERIFY(!icon->hasScaledContents());
    const QImage expected(QStringLiteral(":/Resources/General/Warning_16x16.png"));
    QVERIFY(!expected.isNull());
    QCOMPARE(icon->pixmap().toImage().convertToFormat(QImage::Format_ARGB32),
             expected.convertToFormat(QImage::Format_ARGB32));

    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("newVersionButton"))->text(),
             QStringLiteral("In neue Version konvertieren"));
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("localBlockButton"))->text(),
             QStringLiteral("In lokalen Baustein konvertieren"));
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("cancelButton"))->text(), QStringLiteral("Abbrechen"));
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("currentVersionButton"))->text(),
             QStringLiteral("Ändern der Version 2"));

    auto* grid = dialog.findChild<QGridLayout*>(QStringLiteral("gridLayout"));
    QVERIFY(grid);
    int row = -1, column = -1, rowSpan = 0, columnSpan = 0;
    grid->getItemPosition(grid->indexOf(dialog.findChild<QPushButton*>(QStringLiteral("cancelButton"))), &row, &column,
                          &rowSpan, &columnSpan);
    QCOMPARE(row, 0);
    QCOMPARE(column, 2);
    grid->getItemPosition(grid->indexOf(dialog.findChild<QPushButton*>(QStringLiteral("localBlockButton"))), &row, &column,
                          &rowSpan, &columnSpan);
    QCOMPARE(row, 2);
    QCOMPARE(column, 0);
    QCOMPARE(grid->contentsMargins().top(), 0);
    QCOMPARE(dialog.editMethod(), 0);
}

void tst_UserBlockEditMethodDialog::onlyCurrentVersionAndCancelAreOffered()
{
    UserBlockEditMethodDialog dialog(nullptr, m_block->blockDefinition(1));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QStringList visible;
    const QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
    for (QPushButton* button : buttons) {
        if (button->isVisible())
            visible.append(button->objectName());
    }
    visible.sort();
    QCOMPARE(visible, (QStringList{QStringLiteral("cancelButton"), QStringLiteral("currentVersionButton")}));
    QCOMPARE(buttons.size(), 4);
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("currentVersionButton"))->text(),
             QStringLiteral("Ändern der Version 1"));
}

void tst_UserBlockEditMethodDialog::warningOnlyBelowTheHighestVersion_data()
{
    QTest::addColumn<unsigned int>("version");
    QTest::addColumn<bool>("warning");
    QTest::newRow("lowest") << 0u << true;
    QTest::newRow("middle") << 1u << true;
    QTest::newRow("highest") << 2u << false;
}

void tst_UserBlockEditMethodDialog::warningOnlyBelowTheHighestVersion()
{
    QFETCH(unsigned int, version);
    QFETCH(bool, warning);
    UserBlockEditMethodDialog dialog(nullptr, m_block->blockDefinition(version));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QCOMPARE(dialog.findChild<QWidget*>(QStringLiteral("warningWidget"))->isVisible(), warning);
}

void tst_UserBlockEditMethodDialog::buttonsSetTheEditMethod_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<int>("method");
    QTest::addColumn<int>("result");
    QTest::newRow("current version") << QStringLiteral("currentVersionButton") << 1 << int(QDialog::Accepted);
    QTest::newRow("new version") << QStringLiteral("newVersionButton") << 2 << int(QDialog::Accepted);
    QTest::newRow("local block") << QStringLiteral("localBlockButton") << 3 << int(QDialog::Accepted);
    QTest::newRow("cancel") << QStringLiteral("cancelButton") << 0 << int(QDialog::Rejected);
}

void tst_UserBlockEditMethodDialog::buttonsSetTheEditMethod()
{
    QFETCH(QString, button);
    QFETCH(int, method);
    QFETCH(int, result);
    UserBlockEditMethodDialog dialog(nullptr, m_block->blockDefinition(0));
    auto answered = answerNextModal([&](QDialog* shown) {
        QCOMPARE(shown, &dialog);
        // The hidden buttons are still connected; clicked in code they answer like the others.
        auto* target = shown->findChild<QPushButton*>(button);
        QVERIFY(target);
        target->click();
    });
    QCOMPARE(dialog.exec(), result);
    QVERIFY(*answered);
    QCOMPARE(dialog.editMethod(), method);
}

void tst_UserBlockEditMethodDialog::closingIsCancelling()
{
    UserBlockEditMethodDialog dialog(nullptr, m_block->blockDefinition(2));
    auto answered = answerNextModal([](QDialog* shown) { shown->close(); });
    QCOMPARE(dialog.exec(), int(QDialog::Rejected));
    QVERIFY(*answered);
    QCOMPARE(dialog.editMethod(), 0);
}

void tst_UserBlockEditMethodDialog::withoutDefinition()
{
    // Nothing to compare with: no warning, and the version reads 0.
    UserBlockEditMethodDialog dialog(nullptr, nullptr);
    dialog.show();
    QVERIFY(QTest::qWaitForWindowExposed(&dialog));
    QVERIFY(!dialog.findChild<QWidget*>(QStringLiteral("warningWidget"))->isVisible());
    QCOMPARE(dialog.findChild<QPushButton*>(QStringLiteral("currentVersionButton"))->text(),
             QStringLiteral("Ändern der Version 0"));
}

ZK_TEST_REGISTER(tst_UserBlockEditMethodDialog)
#include "tst_UserBlockEditMethodDialog.moc"
