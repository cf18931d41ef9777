#include "BookmarkFiles.h"
#include "ModalAnswer.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "BlockBookmark.h"
#include "BlockBookmarkFolder.h"
#include "BlockBookmarkRepository.h"
#include "BlockBookmarkView.h"
#include "BlockBookmarkWidget.h"
#include "ModelBuilder.h"
#include "System.h"

#include <QDialog>
#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QVBoxLayout>

namespace {

QPushButton* buttonNamed(const BlockBookmarkView& view, const QString& text)
{
    const QList<QPushButton*> buttons = view.findChildren<QPushButton*>();
    for (QPushButton* button : buttons) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

// Answers the next file dialog with a file name, or cancels it for an empty name; the dialog's
// title, filter and mode are kept for the test.
struct FileDialogAnswer
{
    QString title;
    QStringList filters;
    QFileDialog::AcceptMode mode = QFileDialog::AcceptOpen;
    std::shared_ptr<bool> answered;
};

std::shared_ptr<FileDialogAnswer> answerFileDialog(const QString& fileName)
{
    auto answer = std::make_shared<FileDialogAnswer>();
    answer->answered = answerNextModal([answer, fileName](QDialog* dialog) {
        auto* files = qobject_cast<QFileDialog*>(dialog);
        if (!files) {
            dialog->reject();
            return;
        }
        answer->title = files->windowTitle();
        answer->filters = files->nameFilters();
        answer->mode = files->acceptMode();
        if (fileName.isEmpty()) {
            files->reject();
            return;
        }
        files->selectFile(fileName);
        // The dialog checks the typed name as its own accept does.
        QMetaObject::invokeMethod(files, "accept");
    });
    return answer;
}

QStringList bookmarkMessages()
{
    QStringList texts;
    for (const SystemMessage& message : System::instance().messages()) {
        if (message.origin == QStringLiteral("Baustein Favoriten"))
            texts.append(message.text);
    }
    return texts;
}

} // namespace

class tst_BlockBookmarkView : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        System::instance().setUserAccessLevelCode(3);
        resetBookmarks();
        System::instance().clearMessages();
    }
    void cleanup() { resetBookmarks(); }

    void layout()
    {
        BlockBookmarkView view;
        QCOMPARE(view.property("HelpId").toString(), QStringLiteral("BlockLibraryView"));
        auto* column = qobject_cast<QVBoxLayout*>(view.layout());
        QVERIFY(column);
        QCOMPARE(column->contentsMargins(), QMargins(0, 0, 0, 0));
        QCOMPARE(column->itemAt(0)->widget(), view.bookmarkWidget());
        auto* row = qobject_cast<QHBoxLayout*>(column->itemAt(1)->layout());
        QVERIFY(row);
        QCOMPARE(row->count(), 3);
        QCOMPARE(qobject_cast<QPushButton*>(row->itemAt(0)->widget())->text(), QStringLiteral("Importieren"));
        QCOMPARE(qobject_cast<QPushButton*>(row->itemAt(1)->widget())->text(), QStringLiteral("Exportieren"));
        QVERIFY(row->itemAt(2)->spacerItem());
        QCOMPARE(row->itemAt(2)->spacerItem()->sizeHint(), QSize(40, 20));
        QCOMPARE(view.bookmarkWidget()->parentWidget(), &view);
        // The tree was set up and filled by the constructor.
        QCOMPARE(view.bookmarkWidget()->headerItem()->text(1), QStringLiteral("Nummer"));
    }

    void cancellingDoesNothing_data()
    {
        QTest::addColumn<QString>("button");
        QTest::addColumn<QString>("title");
        QTest::newRow("import") << QStringLiteral("Importieren") << QStringLiteral("Favoriten importieren");
        QTest::newRow("export") << QStringLiteral("Exportieren") << QStringLiteral("Favoriten exportieren");
    }
    void cancellingDoesNothing()
    {
        QFETCH(QString, button);
        QFETCH(QString, title);
        TestModel model;
        BlockBookmarkRepository::instance().addBookmark(ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1"))));
        BlockBookmarkView view;
        view.show();
        QSignalSpy changed(&BlockBookmarkRepository::instance(), &BlockBookmarkRepository::changed);
        auto answer = answerFileDialog(QString());
        buttonNamed(view, button)->click();
        QVERIFY(*answer->answered);
        QCOMPARE(answer->title, title);
        QCOMPARE(answer->filters, QStringList{QStringLiteral("Bookmarks (*.ini)")});
        QCOMPARE(changed.count(), 0);
        QCOMPARE(bookmarkMessages(), QStringList());
    }

    // The filter adds no extension: the name is used as it was typed.
    void exportUsesTheNameAsTyped()
    {
        TestModel model;
        BlockBookmarkRepository::instance().addBookmark(ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_2"))));
        BlockBookmarkView view;
        view.show();
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("meine Favoriten"));
        auto answer = answerFileDialog(file);
        buttonNamed(view, QStringLiteral("Exportieren"))->click();
        QVERIFY(*answer->answered);
        QCOMPARE(answer->mode, QFileDialog::AcceptSave);
        QVERIFY(QFileInfo::exists(file));
        QVERIFY(!QFileInfo::exists(file + QStringLiteral(".ini")));
        QCOMPARE(bookmarkMessages(), QStringList{QStringLiteral("Export der Favoriten erfolgreich")});
        QVERIFY(readFile(file).contains("StandardBlock_2"));
    }

    void importMergesTheChosenFile()
    {
        TestModel model;
        QTemporaryDir dir;
        const QString file = dir.filePath(QStringLiteral("fremd"));
        {
            BlockBookmarkRepository::instance().addFolder(QStringLiteral("Geteilt"), nullptr);
            BlockBookmarkRepository::instance().exportBookmarks(file);
            resetBookmarks();
            System::instance().clearMessages();
        }
        BlockBookmarkView view;
        view.show();
        auto answer = answerFileDialog(file);
        buttonNamed(view, QStringLiteral("Importieren"))->click();
        QVERIFY(*answer->answered);
        QCOMPARE(answer->mode, QFileDialog::AcceptOpen);
        QCOMPARE(bookmarkTree(BlockBookmarkRepository::instance().rootFolder()), QStringList{QStringLiteral("[Geteilt]")});
        QCOMPARE(view.bookmarkWidget()->topLevelItem(0)->text(0), QStringLiteral("Geteilt"));
    }
};

ZK_TEST_REGISTER(tst_BlockBookmarkView)
#include "tst_BlockBookmarkView.moc"
