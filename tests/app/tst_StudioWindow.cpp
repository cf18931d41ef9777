#include "ModalAnswer.h"
#include "TestRegistry.h"

#include "MessageDock.h"
#include "StudioWindow.h"

#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockRepository.h"
#include "Project.h"
#include "System.h"

#include <QAction>
#include <QFile>
#include <QMdiArea>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>

class tst_StudioWindow : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void hostsTheMdiArea();
    void opensTheEmbeddedSample();
    void brokenFileKeepsTheOpenProject();
    void brokenFileIsShownToTheUser();
    void accessLevelMenu();
    void onlineMenu();
    void saveAndReopen();
    void messagesAppearInTheDock();
};

void tst_StudioWindow::hostsTheMdiArea()
{
    StudioWindow window;
    QCOMPARE(System::instance().mainWindow(), &window);
    auto* area = window.findChild<QMdiArea*>(QStringLiteral("mdiArea"));
    QVERIFY(area);
    QCOMPARE(area, window.mdiArea());
}

void tst_StudioWindow::opensTheEmbeddedSample()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QVERIFY(window.project());
    QVERIFY(window.project()->isActive());
    QVERIFY(!window.project()->areas().isEmpty());
    QVERIFY(!BlockRepository::instance().containers().isEmpty());
    QVERIFY(BlockRepository::instance().blockDefinition(QStringLiteral("ToolBlock_8000008"), 1));
}

void tst_StudioWindow::brokenFileKeepsTheOpenProject()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    Project* before = window.project();
    const QByteArray text = before->projectText();
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("broken.zkproj"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"format":"zkblockproject","formatVersion":1,"areas":[{"first":)");
    file.close();
    const int messages = System::instance().messageCount();
    QVERIFY(!window.openProject(path));
    QVERIFY(!window.openProject(path));
    QCOMPARE(window.project(), before);
    QVERIFY(before->isActive());
    QCOMPARE(before->projectText(), text);
    QCOMPARE(System::instance().messageCount(), messages + 2);
    QCOMPARE(System::instance().messages().last().severity, SystemMessage::Critical);
    QVERIFY(System::instance().messages().last().text.contains(QStringLiteral("broken.zkproj")));
}

void tst_StudioWindow::brokenFileIsShownToTheUser()
{
    StudioWindow window;
    window.show();
    QVERIFY(window.openSample());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("foreign.zkproj"));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("this is no project");
    file.close();
    QString shown;
    auto answered = answerNextModal([&shown](QDialog* dialog) {
        if (auto* box = qobject_cast<QMessageBox*>(dialog))
            shown = box->text();
        dialog->accept();
    });
    Project* before = window.project();
    QVERIFY(!window.openProject(path));
    QVERIFY(*answered);
    QVERIFY2(shown.contains(QStringLiteral("foreign.zkproj")), qPrintable(shown));
    QCOMPARE(window.project(), before);
}

void tst_StudioWindow::accessLevelMenu()
{
    StudioWindow window;
    auto* level5 = window.findChild<QAction*>(QStringLiteral("accessLevel5"));
    QVERIFY(level5);
    level5->trigger();
    QCOMPARE(System::instance().userAccessLevelCode(), 5u);
    System::instance().setUserAccessLevelCode(2);
    QVERIFY(window.findChild<QAction*>(QStringLiteral("accessLevel2"))->isChecked());
    System::instance().setUserAccessLevelCode(3);
}

void tst_StudioWindow::onlineMenu()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    auto* menu = window.findChild<QMenu*>(QStringLiteral("areaMenu"));
    QVERIFY(menu);
    BlockInstanceArea* area = window.project()->areas().first();
    QMenu* areaMenu = menu->actions().first()->menu();
    QVERIFY(areaMenu);
    QAction* online = areaMenu->actions().first();
    online->trigger();
    QVERIFY(area->isOnline());
    area->setOnline(false);
    QVERIFY(!online->isChecked());
}

void tst_StudioWindow::saveAndReopen()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("sample.zkproj"));
    QVERIFY(window.saveProject(path));
    const QByteArray saved = window.project()->projectText();
    QVERIFY(window.openProject(path));
    QCOMPARE(window.project()->projectText(), saved);
    QCOMPARE(window.project()->filePath(), QFileInfo(path).absoluteFilePath());
}

void tst_StudioWindow::messagesAppearInTheDock()
{
    StudioWindow window;
    auto* dock = window.findChild<MessageDock*>(QStringLiteral("messageDock"));
    QVERIFY(dock);
    const int rows = dock->list()->topLevelItemCount();
    System::addCriticalMessage(QStringLiteral("Test"), QStringLiteral("Etwas ging schief"));
    QCOMPARE(dock->list()->topLevelItemCount(), rows + 1);
    QTreeWidgetItem* last = dock->list()->topLevelItem(rows);
    QCOMPARE(last->text(1), QStringLiteral("Test"));
    QCOMPARE(last->text(2), QStringLiteral("Etwas ging schief"));
}

ZK_TEST_REGISTER(tst_StudioWindow)
#include "tst_StudioWindow.moc"
