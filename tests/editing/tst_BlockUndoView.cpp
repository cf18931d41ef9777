#include "CountingCommand.h"
#include "TestRegistry.h"

#include "BlockUndoView.h"

#include <QBoxLayout>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSpacerItem>
#include <QTest>
#include <QUndoStack>
#include <QUndoView>
#include <QVBoxLayout>

namespace {

void checkMargins(QLayout* layout)
{
    QCOMPARE(layout->spacing(), 6);
    QCOMPARE(layout->contentsMargins(), QMargins(11, 11, 11, 11));
}

} // namespace

class tst_BlockUndoView : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void formObjectsAndLayout();
    void buttonsLookAndStartDisabled();
    void attachingClearsShowsAndEnables();
    void buttonsWorkOnTheStack();
    void buttonsStayEnabledWithAnEmptyStack();
    void nullStackDetachesAndDisables();
    void secondStackWithoutNullKeepsTheFirstConnected();
    void stackThatDiesLeavesTheViewUsable();
};

void tst_BlockUndoView::formObjectsAndLayout()
{
    BlockUndoView view;
    QCOMPARE(view.property("HelpId").toString(), QStringLiteral("BlockUndoView"));
    QCOMPARE(view.objectName(), QStringLiteral("BlockUndoViewClass"));
    QCOMPARE(view.size(), QSize(974, 326));
    QCOMPARE(view.windowTitle(), QStringLiteral("BlockUndoView"));

    auto* outer = qobject_cast<QHBoxLayout*>(view.layout());
    QVERIFY(outer);
    QCOMPARE(outer->objectName(), QStringLiteral("horizontalLayout"));
    checkMargins(outer);
    QCOMPARE(outer->count(), 2);

    auto* undoView = view.findChild<QUndoView*>(QStringLiteral("undoView"));
    QVERIFY(undoView);
    QCOMPARE(outer->itemAt(0)->widget(), undoView);
    QCOMPARE(undoView->frameShape(), QFrame::Panel);
    QVERIFY(!undoView->stack());

    auto* panel = view.findChild<QWidget*>(QStringLiteral("widgetButtons"));
    QVERIFY(panel);
    QCOMPARE(outer->itemAt(1)->widget(), panel);
    QCOMPARE(panel->sizePolicy().horizontalPolicy(), QSizePolicy::Maximum);
    QCOMPARE(panel->sizePolicy().verticalPolicy(), QSizePolicy::Preferred);
    QCOMPARE(panel->sizePolicy().horizontalStretch(), 0);
    QCOMPARE(panel->sizePolicy().verticalStretch(), 0);

    auto* inner = qobject_cast<QVBoxLayout*>(panel->layout());
    QVERIFY(inner);
    QCOMPARE(inner->objectName(), QStringLiteral("verticalLayout"));
    checkMargins(inner);
    QCOMPARE(inner->count(), 3);
    QCOMPARE(inner->itemAt(0)->widget()->objectName(), QStringLiteral("buttonUndo"));
    QCOMPARE(inner->itemAt(1)->widget()->objectName(), QStringLiteral("buttonRedo"));
    QSpacerItem* spacer = inner->itemAt(2)->spacerItem();
    QVERIFY(spacer);
    QCOMPARE(spacer->sizeHint(), QSize(20, 40));
    QCOMPARE(spacer->sizePolicy().horizontalPolicy(), QSizePolicy::Minimum);
    QCOMPARE(spacer->sizePolicy().verticalPolicy(), QSizePolicy::Expanding);
}

void tst_BlockUndoView::buttonsLookAndStartDisabled()
{
    BlockUndoView view;
    for (const char* name : {"buttonUndo", "buttonRedo"}) {
        auto* button = view.findChild<QPushButton*>(QString::fromLatin1(name));
        QVERIFY(button);
        QCOMPARE(button->minimumSize(), QSize(32, 32));
        QVERIFY(button->text().isEmpty());
        QVERIFY(!button->icon().isNull());
        QVERIFY(!button->isEnabled());
    }
    QCOMPARE(view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->toolTip(), QStringLiteral("Undo"));
    QCOMPARE(view.findChild<QPushButton*>(QStringLiteral("buttonRedo"))->toolTip(), QStringLiteral("Redo"));
    // The icons come from the library's own resources.
    const QImage undo(QStringLiteral(":/Resources/undo.png"));
    const QImage redo(QStringLiteral(":/Resources/redo.png"));
    QVERIFY(!undo.isNull());
    QVERIFY(!redo.isNull());
    QVERIFY(undo != redo);
}

void tst_BlockUndoView::attachingClearsShowsAndEnables()
{
    BlockUndoView view;
    QUndoStack stack;
    int undos = 0;
    int redos = 0;
    stack.push(new CountingCommand(QStringLiteral("eins"), &undos, &redos));
    stack.push(new CountingCommand(QStringLiteral("zwei"), &undos, &redos));
    view.setUndoStack(&stack);
    QCOMPARE(stack.count(), 0);
    // Clearing deletes the commands without undoing them.
    QCOMPARE(undos, 0);
    QCOMPARE(view.findChild<QUndoView*>(QStringLiteral("undoView"))->stack(), &stack);
    QVERIFY(view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->isEnabled());
    QVERIFY(view.findChild<QPushButton*>(QStringLiteral("buttonRedo"))->isEnabled());
}

void tst_BlockUndoView::buttonsWorkOnTheStack()
{
    BlockUndoView view;
    QUndoStack stack;
    view.setUndoStack(&stack);
    int undos = 0;
    int redos = 0;
    stack.push(new CountingCommand(QStringLiteral("eins"), &undos, &redos));
    QCOMPARE(redos, 1);
    view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->click();
    QCOMPARE(undos, 1);
    QCOMPARE(stack.index(), 0);
    view.findChild<QPushButton*>(QStringLiteral("buttonRedo"))->click();
    QCOMPARE(redos, 2);
    QCOMPARE(stack.index(), 1);
}

void tst_BlockUndoView::buttonsStayEnabledWithAnEmptyStack()
{
    BlockUndoView view;
    QUndoStack stack;
    view.setUndoStack(&stack);
    auto* undo = view.findChild<QPushButton*>(QStringLiteral("buttonUndo"));
    QVERIFY(undo->isEnabled());
    undo->click();
    QVERIFY(undo->isEnabled());
    QCOMPARE(stack.index(), 0);
}

void tst_BlockUndoView::nullStackDetachesAndDisables()
{
    BlockUndoView view;
    QUndoStack stack;
    view.setUndoStack(&stack);
    int undos = 0;
    int redos = 0;
    stack.push(new CountingCommand(QStringLiteral("eins"), &undos, &redos));
    view.setUndoStack(nullptr);
    auto* undo = view.findChild<QPushButton*>(QStringLiteral("buttonUndo"));
    auto* redo = view.findChild<QPushButton*>(QStringLiteral("buttonRedo"));
    QVERIFY(!undo->isEnabled());
    QVERIFY(!redo->isEnabled());
    QVERIFY(!view.findChild<QUndoView*>(QStringLiteral("undoView"))->stack());
    // Detaching leaves the stack's commands alone.
    QCOMPARE(stack.count(), 1);
    // Even enabled by someone else, the buttons no longer reach the stack.
    undo->setEnabled(true);
    undo->click();
    QCOMPARE(undos, 0);
}

void tst_BlockUndoView::secondStackWithoutNullKeepsTheFirstConnected()
{
    BlockUndoView view;
    QUndoStack first;
    QUndoStack second;
    view.setUndoStack(&first);
    view.setUndoStack(&second);
    QCOMPARE(view.findChild<QUndoView*>(QStringLiteral("undoView"))->stack(), &second);
    int firstUndos = 0;
    int firstRedos = 0;
    int secondUndos = 0;
    int secondRedos = 0;
    first.push(new CountingCommand(QStringLiteral("eins"), &firstUndos, &firstRedos));
    second.push(new CountingCommand(QStringLiteral("zwei"), &secondUndos, &secondRedos));
    view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->click();
    QCOMPARE(firstUndos, 1);
    QCOMPARE(secondUndos, 1);

    // Only a null in between ends it.
    view.setUndoStack(nullptr);
    view.setUndoStack(&second);
    second.push(new CountingCommand(QStringLiteral("drei"), &secondUndos, &secondRedos));
    first.redo();
    view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->click();
    QCOMPARE(firstUndos, 1);
    QCOMPARE(secondUndos, 2);
}

void tst_BlockUndoView::stackThatDiesLeavesTheViewUsable()
{
    BlockUndoView view;
    auto* stack = new QUndoStack;
    view.setUndoStack(stack);
    delete stack;
    view.findChild<QPushButton*>(QStringLiteral("buttonUndo"))->click();
    view.findChild<QPushButton*>(QStringLiteral("buttonRedo"))->click();
    QUndoStack next;
    view.setUndoStack(&next);
    QCOMPARE(view.findChild<QUndoView*>(QStringLiteral("undoView"))->stack(), &next);
}

ZK_TEST_REGISTER(tst_BlockUndoView)
#include "tst_BlockUndoView.moc"
