#include "ModalAnswer.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "SignalLabel.h"
#include "SignalLabelView.h"
#include "System.h"

#include <QCheckBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QLineEdit>
#include <QMainWindow>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTest>
#include <QTreeWidget>

namespace {

template <typename T>
T* child(QDialog* dialog, const char* name)
{
    return dialog->findChild<T*>(QLatin1String(name));
}

void press(QDialog* dialog, QDialogButtonBox::StandardButton which)
{
    QPushButton* button = dialog->findChild<QDialogButtonBox*>()->button(which);
    QVERIFY(button);
    button->click();
}

} // namespace

class tst_ModelDialogs : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void instanceDialogWritesOnOk();
    void instanceDialogWritesNothingOnCancel();
    void instanceDialogValidatesInitialValues();
    void instanceDialogReadOnly();
    void dialogsAreParentedToMainWindow();
    void runtimePositionDialog();
    void definitionDialogWritesOnOk();
    void definitionDialogCancel();
    void signalLabelDialog();
    void signalLabelView();

private:
    QMainWindow* m_window = nullptr;
};

void tst_ModelDialogs::init()
{
    m_window = new QMainWindow;
    System::instance().setMainWindow(m_window);
}

void tst_ModelDialogs::cleanup()
{
    System::instance().setMainWindow(nullptr);
    delete m_window;
}

void tst_ModelDialogs::instanceDialogWritesOnOk()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    QSignalSpy spy(model.rootCode(), &BlockCode::changed);
    auto answered = answerNextModal([](QDialog* d) {
        child<QLineEdit>(d, "nameEdit")->setText(QStringLiteral("Freigabe"));
        child<QLineEdit>(d, "initial_1")->setText(QStringLiteral("TRUE"));
        child<QCheckBox>(d, "inverted_2")->setChecked(true);
        child<QCheckBox>(d, "remanent_3")->setChecked(true);
        press(d, QDialogButtonBox::Ok);
    });
    QVERIFY(instance->showPropertiesView(false, model.area()));
    QVERIFY(*answered);
    QCOMPARE(instance->name(), QStringLiteral("Freigabe"));
    QCOMPARE(instance->pin(1)->initialValue(), QStringLiteral("TRUE"));
    QVERIFY(instance->pin(2)->isInverted());
    QVERIFY(instance->pin(3)->isRemanent());
    // All of it as one change.
    QCOMPARE(spy.count(), 1);
}

void tst_ModelDialogs::instanceDialogWritesNothingOnCancel()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    const QByteArray before = model.rootCode()->text({instance->identifier()});
    QSignalSpy spy(model.rootCode(), &BlockCode::changed);
    auto answered = answerNextModal([](QDialog* d) {
        child<QLineEdit>(d, "nameEdit")->setText(QStringLiteral("anders"));
        child<QCheckBox>(d, "inverted_1")->setChecked(true);
        press(d, QDialogButtonBox::Cancel);
    });
    QVERIFY(!instance->showPropertiesView(false, model.area()));
    QVERIFY(*answered);
    QCOMPARE(model.rootCode()->text({instance->identifier()}), before);
    QCOMPARE(spy.count(), 0);
}

void tst_ModelDialogs::instanceDialogValidatesInitialValues()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_10"))->blockDefinition(0), {});
    bool okEnabledWithBadValue = true;
    bool okEnabledWithGoodValue = false;
    auto answered = answerNextModal([&](QDialog* d) {
        QLineEdit* initial = child<QLineEdit>(d, "initial_1");
        // The validator keeps letters out of a DINT field; what it lets through out of range
        // still blocks OK.
        initial->setText(QStringLiteral("99999999999"));
        okEnabledWithBadValue = d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        initial->setText(QStringLiteral("-12"));
        okEnabledWithGoodValue = d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        press(d, QDialogButtonBox::Ok);
    });
    QVERIFY(instance->showPropertiesView(false, model.area()));
    QVERIFY(*answered);
    QVERIFY(!okEnabledWithBadValue);
    QVERIFY(okEnabledWithGoodValue);
    QCOMPARE(instance->pin(1)->initialValue(), QStringLiteral("-12"));
}

void tst_ModelDialogs::instanceDialogReadOnly()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    bool readOnly = false;
    bool hasOk = true;
    auto answered = answerNextModal([&](QDialog* d) {
        readOnly = child<QLineEdit>(d, "nameEdit")->isReadOnly() && !child<QCheckBox>(d, "inverted_1")->isEnabled();
        hasOk = d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok) != nullptr;
        child<QLineEdit>(d, "nameEdit")->setText(QStringLiteral("x"));
        press(d, QDialogButtonBox::Close);
    });
    QVERIFY(!instance->showPropertiesView(true, model.area()));
    QVERIFY(*answered);
    QVERIFY(readOnly);
    QVERIFY(!hasOk);
    QCOMPARE(instance->name(), QString());
}

void tst_ModelDialogs::dialogsAreParentedToMainWindow()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    QWidget* parent = nullptr;
    bool modal = false;
    auto answered = answerNextModal([&](QDialog* d) {
        parent = d->parentWidget();
        modal = d->isModal();
        d->reject();
    });
    instance->showRuntimePositionView(false);
    QVERIFY(*answered);
    QCOMPARE(parent, m_window);
    QVERIFY(modal);
}

void tst_ModelDialogs::runtimePositionDialog()
{
    TestModel model;
    BlockDefinition* andDef = model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0);
    for (int i = 0; i < 3; ++i)
        model.rootCode()->createInstanceInRealtimeTask(andDef);
    BlockInstance* third = model.rootCode()->instance(3);
    auto answered = answerNextModal([](QDialog* d) {
        child<QSpinBox>(d, "realtimeSpin")->setValue(1);
        child<QSpinBox>(d, "backgroundSpin")->setValue(1);
        press(d, QDialogButtonBox::Ok);
    });
    third->showRuntimePositionView(false);
    QVERIFY(*answered);
    QCOMPARE(model.rootCode()->realtimeOrder(), (QList<unsigned int>{3, 1, 2}));
    QCOMPARE(model.rootCode()->background(3), 1u);
    answered = answerNextModal([](QDialog* d) {
        child<QSpinBox>(d, "realtimeSpin")->setValue(0);
        press(d, QDialogButtonBox::Cancel);
    });
    third->showRuntimePositionView(false);
    QVERIFY(*answered);
    QCOMPARE(model.rootCode()->realtime(3), 1u);
}

void tst_ModelDialogs::definitionDialogWritesOnOk()
{
    TestModel model;
    System::instance().setUserAccessLevelCode(4);
    Block* user = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_D"), QStringLiteral("Alt"), {}, {});
    BlockDefinition* d = user->blockDefinition(0);
    int maximumLevel = -1;
    auto answered = answerNextModal([&](QDialog* dialog) {
        child<QLineEdit>(dialog, "nameGermanEdit")->setText(QStringLiteral("Neu"));
        child<QLineEdit>(dialog, "nameEnglishEdit")->setText(QStringLiteral("New"));
        QSpinBox* level = child<QSpinBox>(dialog, "accessLevelSpin");
        maximumLevel = level->maximum();
        level->setValue(2);
        child<QCheckBox>(dialog, "stepInCheck")->setChecked(false);
        press(dialog, QDialogButtonBox::Ok);
    });
    QVERIFY(d->showPropertiesView(false, 0));
    QVERIFY(*answered);
    QCOMPARE(user->name().text(LanguageManager::German), QStringLiteral("Neu"));
    QCOMPARE(user->name().text(LanguageManager::English), QStringLiteral("New"));
    QCOMPARE(d->accessLevelWrite(), 2u);
    QVERIFY(!d->stepInEnabled());
    // Nobody protects above the own level.
    QCOMPARE(maximumLevel, 4);
}

void tst_ModelDialogs::definitionDialogCancel()
{
    TestModel model;
    Block* user = ModelBuilder::composite(model.user()->library(), QStringLiteral("UserBlock_D"), QStringLiteral("Alt"), {}, {});
    const QByteArray before = user->saveContents();
    bool emptyNameBlocksOk = false;
    auto answered = answerNextModal([&](QDialog* dialog) {
        child<QLineEdit>(dialog, "nameGermanEdit")->clear();
        child<QLineEdit>(dialog, "nameEnglishEdit")->clear();
        emptyNameBlocksOk = !dialog->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        press(dialog, QDialogButtonBox::Cancel);
    });
    QVERIFY(!user->blockDefinition(0)->showPropertiesView(false, 0));
    QVERIFY(*answered);
    QVERIFY(emptyNameBlocksOk);
    QCOMPARE(user->saveContents(), before);
}

void tst_ModelDialogs::signalLabelDialog()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    SignalLabel* label = model.area()->hierarchy()->rootNode()->createSignalLabel(instance->identifier(), 3, QStringLiteral("Alt"), 0);
    bool blankRefused = false;
    bool blanksInsideAccepted = false;
    auto answered = answerNextModal([&](QDialog* d) {
        QLineEdit* name = child<QLineEdit>(d, "nameEdit");
        name->setText(QStringLiteral("mit;Trenner"));
        const bool separatorRefused = !d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        name->setText(QStringLiteral("   "));
        blankRefused = separatorRefused && !d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        name->setText(QStringLiteral("Signalname 2"));
        blanksInsideAccepted = d->findChild<QDialogButtonBox*>()->button(QDialogButtonBox::Ok)->isEnabled();
        name->setText(QStringLiteral("Neu"));
        press(d, QDialogButtonBox::Ok);
    });
    QSignalSpy spy(label, &SignalLabel::propertiesChanged);
    QVERIFY(label->showPropertiesView());
    QVERIFY(*answered);
    QVERIFY(blankRefused);
    QVERIFY(blanksInsideAccepted);
    QCOMPARE(label->name(), QStringLiteral("Neu"));
    QCOMPARE(spy.count(), 1);
    answered = answerNextModal([](QDialog* d) {
        child<QLineEdit>(d, "nameEdit")->setText(QStringLiteral("Verworfen"));
        press(d, QDialogButtonBox::Cancel);
    });
    QVERIFY(!label->showPropertiesView());
    QCOMPARE(label->name(), QStringLiteral("Neu"));
}

void tst_ModelDialogs::signalLabelView()
{
    TestModel model;
    BlockInstance* instance = ModelBuilder::place(model.rootCode(), model.block(QStringLiteral("StandardBlock_1"))->blockDefinition(0), {});
    BlockInstanceHierarchyNode* root = model.area()->hierarchy()->rootNode();
    SignalLabelView view(nullptr);
    view.setNode(root);
    QCOMPARE(view.tree()->topLevelItemCount(), 0);
    root->createSignalLabel(instance->identifier(), 3, QStringLiteral("Start"), 0);
    QCOMPARE(view.tree()->topLevelItemCount(), 1);
    QCOMPARE(view.tree()->topLevelItem(0)->text(0), QStringLiteral("Start"));
    QVERIFY(view.tree()->topLevelItem(0)->text(1).contains(QStringLiteral("A")));
    // A value arrives while online.
    model.area()->setOnline(true);
    model.area()->pinValueSource()->publishValue(root->signalLabels().first()->pinPath(), QStringLiteral("TRUE"));
    QCOMPARE(view.tree()->topLevelItem(0)->text(2), QStringLiteral("TRUE"));
    QSignalSpy spy(&view, &SignalLabelView::needToShowInCode);
    emit view.tree()->itemDoubleClicked(view.tree()->topLevelItem(0), 0);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().toString(), QStringLiteral("A1:0.%1").arg(instance->identifier()));
    // The node goes: the view empties, no crash.
    model.rootCode()->deleteInstance(instance->identifier());
    QTRY_COMPARE(view.tree()->topLevelItemCount(), 0);
}

ZK_TEST_REGISTER(tst_ModelDialogs)
#include "tst_ModelDialogs.moc"
