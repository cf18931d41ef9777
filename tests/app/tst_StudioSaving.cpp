#include "EditSteps.h"
#include "ModalAnswer.h"
#include "ScratchSettings.h"
#include "TestModel.h"
#include "TestRegistry.h"

#include "ProjectChangeWatch.h"
#include "StudioEditMenu.h"
#include "StudioWindow.h"

#include "BlockCodeView.h"
#include "BlockDefinitionScene.h"
#include "BlockHierarchyNodeView.h"
#include "BlockItem.h"
#include "MoveCommand.h"
#include "SceneMetrics.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPinInstance.h"
#include "Project.h"
#include "System.h"

#include <QAbstractButton>
#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QMap>
#include <QMessageBox>
#include <QPointer>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUndoStack>

namespace {

enum class Answer { Save, Discard, Cancel };

QMessageBox::StandardButton buttonOf(Answer answer)
{
    switch (answer) {
    case Answer::Save:
        return QMessageBox::Save;
    case Answer::Discard:
        return QMessageBox::Discard;
    case Answer::Cancel:
        break;
    }
    return QMessageBox::Cancel;
}

// Answers the question about unsaved changes with a click on the button, keeping its text for the
// test; any other dialog is rejected, so that a wrong one fails the test rather than hanging it.
std::shared_ptr<bool> answerUnsavedChanges(Answer answer, QString* text = nullptr)
{
    return answerNextModal([answer, text](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (!box || box->objectName() != QStringLiteral("unsavedChangesBox")) {
            dialog->reject();
            return;
        }
        if (text)
            *text = box->text() + QLatin1Char('\n') + box->informativeText();
        if (QAbstractButton* button = box->button(buttonOf(answer)))
            button->click();
        else
            dialog->reject();
    });
}

// Answers the file dialog of "Speichern unter..." with the path, or cancels it with an empty one.
std::shared_ptr<bool> answerSaveDialog(const QString& path)
{
    return answerNextModal([path](QDialog* dialog) {
        auto* files = qobject_cast<QFileDialog*>(dialog);
        if (!files || path.isEmpty()) {
            dialog->reject();
            return;
        }
        files->selectFile(path);
        // Through the dialog's public face: the file dialog's own accept() checks the name as a click would.
        dialog->accept();
    });
}

// Closes whatever dialog comes; armed where none may come, checked and withdrawn afterwards.
std::shared_ptr<bool> refuseAnyModal()
{
    return answerNextModal([](QDialog* dialog) { dialog->reject(); }, 2000);
}

void collectCodes(BlockLibrary* library, const QString& prefix, QMap<QString, BlockCode*>& codes);

void collectCodes(Block* block, const QString& prefix, QMap<QString, BlockCode*>& codes)
{
    if (!block)
        return;
    for (BlockDefinition* definition : block->definitions()) {
        const QString key = QStringLiteral("%1%2/%3").arg(prefix, block->identifier()).arg(definition->version());
        if (BlockCode* code = definition->code())
            codes.insert(key, code);
        collectCodes(definition->existingLocalBlockLibrary(), key + QLatin1Char(':'), codes);
    }
}

void collectCodes(BlockLibrary* library, const QString& prefix, QMap<QString, BlockCode*>& codes)
{
    if (!library)
        return;
    for (Block* block : library->blocks())
        collectCodes(block, prefix, codes);
}

// Every code of the project, named by where it stands: the areas' programs and every code of the
// libraries, local blocks included.
QMap<QString, BlockCode*> codesOf(const Project* project)
{
    QMap<QString, BlockCode*> codes;
    for (BlockLibraryContainer* container : project->containers())
        collectCodes(container->library(), container->name().text() + QLatin1Char(':'), codes);
    for (BlockInstanceArea* area : project->areas())
        collectCodes(area->rootBlock(), QStringLiteral("area %1:").arg(area->firstNumber()), codes);
    return codes;
}

// The whole code of the project as text: instances with their positions and parameters, the
// connections and the signal labels, in the text form the model writes.
QMap<QString, QByteArray> codeTextOf(const Project* project)
{
    QMap<QString, QByteArray> texts;
    const QMap<QString, BlockCode*> codes = codesOf(project);
    for (auto it = codes.constBegin(); it != codes.constEnd(); ++it)
        texts.insert(it.key(), wholeText(it.value()));
    return texts;
}

} // namespace

class tst_StudioSaving : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();
    void titleCarriesTheMarker();
    void openingAndViewingIsNoChange();
    void aMoveMarksTheProjectAndUndoClearsIt();
    void aSilentModelChangeCountsWhenAsked();
    void savingClearsTheMarker();
    void saveWithoutFileAsksForOne();
    void saveAsCancelledWritesNothing();
    void saveWritesTheKnownFileAgain();
    void saveLeavesNoTemporaryFiles();
    void aFailedSaveKeepsTheMarker();
    void closingAsks_data();
    void closingAsks();
    void closingUnmodifiedAsksNothing();
    void openingAnotherAsks_data();
    void openingAnotherAsks();
    void saveInThePromptCancelledIsACancel();
    void walkOfEditsLoadsBackWithTheSameCode();

private:
    // The sample, written to the scratch folder and opened from there: the project has a file.
    bool openSavedSample(StudioWindow& window, const QString& name = QStringLiteral("sample.zkproj"));
    // A change that the model announces, for tests that need some change.
    static void changeSomething(StudioWindow& window);

    QTemporaryDir m_settingsDir;
    std::unique_ptr<QTemporaryDir> m_dir;
};

void tst_StudioSaving::initTestCase()
{
    QVERIFY(m_settingsDir.isValid());
    redirectSettings(m_settingsDir.path());
}

void tst_StudioSaving::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
    System::instance().setUserAccessLevelCode(5);
}

void tst_StudioSaving::cleanup()
{
    withdrawModalAnswers();
    System::instance().setUserAccessLevelCode(3);
}

bool tst_StudioSaving::openSavedSample(StudioWindow& window, const QString& name)
{
    if (!window.openSample())
        return false;
    const QString path = m_dir->filePath(name);
    return window.saveProject(path) && window.openProject(path) && !window.isProjectModified();
}

void tst_StudioSaving::changeSomething(StudioWindow& window)
{
    BlockInstanceArea* area = window.project()->areas().at(1);
    BlockCode* code = area->rootDefinition()->code();
    BlockInstance* instance = code->instances().first();
    instance->setNote(instance->note() + QStringLiteral(" geändert"));
}

void tst_StudioSaving::titleCarriesTheMarker()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QVERIFY(window.windowTitle().contains(QStringLiteral("[*]")));
    QVERIFY(window.windowTitle().startsWith(QStringLiteral("Beispielanlage")));
    QVERIFY(!window.isWindowModified());
    changeSomething(window);
    QTRY_VERIFY(window.isWindowModified());
}

void tst_StudioSaving::openingAndViewingIsNoChange()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QVERIFY(!window.isProjectModified());
    // Every area opened, the first shown in edit mode and back: looking is no edit.
    for (BlockInstanceArea* area : window.project()->areas())
        QVERIFY(window.openArea(area));
    window.openArea(window.project()->areas().at(1));
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    auto* view = qobject_cast<BlockHierarchyNodeView*>(window.activeCodeView());
    view->setBlockDefinitionEditMode(false);
    QVERIFY(!view->isBlockDefinitionEditMode());
    QVERIFY(!window.isProjectModified());
    QVERIFY(!window.isWindowModified());
}

void tst_StudioSaving::aMoveMarksTheProjectAndUndoClearsIt()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    QSignalSpy marked(window.changeWatch(), &ProjectChangeWatch::modifiedChanged);
    QGraphicsItem* item = firstBlockItem(scene);
    QVERIFY(item);
    QVERIFY(moveByCommand(scene, {item}, QPointF(SceneRaster::Block, 0)));
    QTRY_VERIFY(window.isWindowModified());
    QCOMPARE(marked.count(), 1);
    // Back to the form of the file: nothing is left to save.
    window.editMenu()->undoAction()->trigger();
    QTRY_VERIFY(!window.isWindowModified());
    QCOMPARE(marked.count(), 2);
    QVERIFY(!window.isProjectModified());
    window.editMenu()->redoAction()->trigger();
    QTRY_VERIFY(window.isWindowModified());
}

void tst_StudioSaving::aSilentModelChangeCountsWhenAsked()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    // An inverted pin tells nobody; the comparison before a decision sees it all the same.
    BlockCode* code = window.project()->areas().at(1)->rootDefinition()->code();
    BlockPinInstance* pin = nullptr;
    for (BlockInstance* instance : code->instances()) {
        if (!instance->pins().isEmpty()) {
            pin = instance->pins().first();
            break;
        }
    }
    QVERIFY(pin);
    pin->setInverted(!pin->isInverted());
    QVERIFY(window.isProjectModified());
    QVERIFY(window.isWindowModified());
    pin->setInverted(!pin->isInverted());
    QVERIFY(!window.isProjectModified());
    QVERIFY(!window.isWindowModified());
}

void tst_StudioSaving::savingClearsTheMarker()
{
    StudioWindow window;
    QVERIFY(openSavedSample(window));
    changeSomething(window);
    QTRY_VERIFY(window.isWindowModified());
    const QString path = window.project()->filePath();
    QVERIFY(window.save());
    QVERIFY(!window.isWindowModified());
    QVERIFY(!window.isProjectModified());
    QCOMPARE(readFile(path), window.project()->projectText());
}

void tst_StudioSaving::saveWithoutFileAsksForOne()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    QVERIFY(window.project()->filePath().isEmpty());
    changeSomething(window);
    // Typed without a suffix: the file gets the project's.
    const QString typed = m_dir->filePath(QStringLiteral("neu"));
    auto answered = answerSaveDialog(typed);
    auto* save = window.findChild<QAction*>(QStringLiteral("save"));
    QVERIFY(save);
    QCOMPARE(save->shortcut(), QKeySequence(QKeySequence::Save));
    save->trigger();
    QVERIFY(*answered);
    const QString written = typed + QStringLiteral(".zkproj");
    QVERIFY(QFile::exists(written));
    QCOMPARE(window.project()->filePath(), QFileInfo(written).absoluteFilePath());
    QVERIFY(!window.isWindowModified());
    // The libraries the project keeps in files went along.
    for (const char* library : {"standard.zklib", "anlage.zklib", "intern.zklib"})
        QVERIFY2(QFile::exists(m_dir->filePath(QLatin1String(library))), library);
}

void tst_StudioSaving::saveAsCancelledWritesNothing()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    changeSomething(window);
    auto answered = answerSaveDialog(QString());
    QVERIFY(!window.saveAs());
    QVERIFY(*answered);
    QVERIFY(window.project()->filePath().isEmpty());
    QVERIFY(window.isProjectModified());
    QVERIFY(QDir(m_dir->path()).entryList(QDir::Files).isEmpty());
}

void tst_StudioSaving::saveWritesTheKnownFileAgain()
{
    StudioWindow window;
    QVERIFY(openSavedSample(window));
    const QString path = window.project()->filePath();
    changeSomething(window);
    // No dialog: the project knows its file.
    auto dialog = refuseAnyModal();
    window.findChild<QAction*>(QStringLiteral("save"))->trigger();
    QVERIFY(!*dialog);
    withdrawModalAnswers();
    QCOMPARE(window.project()->filePath(), path);
    QVERIFY(readFile(path).contains("geändert"));
    // And "Speichern unter..." writes a second file, which becomes the project's.
    const QString other = m_dir->filePath(QStringLiteral("kopie.zkproj"));
    auto answered = answerSaveDialog(other);
    window.findChild<QAction*>(QStringLiteral("saveAs"))->trigger();
    QVERIFY(*answered);
    QCOMPARE(window.project()->filePath(), QFileInfo(other).absoluteFilePath());
    QCOMPARE(readFile(other), window.project()->projectText());
}

void tst_StudioSaving::saveLeavesNoTemporaryFiles()
{
    StudioWindow window;
    QVERIFY(openSavedSample(window));
    changeSomething(window);
    QVERIFY(window.save());
    // Written through a file beside the target that replaces it at the end: nothing else stays.
    QStringList files = QDir(m_dir->path()).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    QCOMPARE(files, QStringList({"anlage.zklib", "intern.zklib", "sample.zkproj", "standard.zklib"}));
}

void tst_StudioSaving::aFailedSaveKeepsTheMarker()
{
    StudioWindow window;
    window.show();
    QVERIFY(openSavedSample(window));
    changeSomething(window);
    QTRY_VERIFY(window.isWindowModified());
    // A folder where the file should go: nothing can be written there.
    const QString blocked = m_dir->filePath(QStringLiteral("ordner.zkproj"));
    QVERIFY(QDir().mkpath(blocked));
    QString shown;
    auto answered = answerNextModal([&shown](QDialog* dialog) {
        if (auto* box = qobject_cast<QMessageBox*>(dialog))
            shown = box->text();
        dialog->accept();
    });
    QVERIFY(!window.saveProject(blocked));
    QVERIFY(*answered);
    QVERIFY2(shown.contains(QStringLiteral("ordner.zkproj")), qPrintable(shown));
    QVERIFY(window.isWindowModified());
    QVERIFY(window.isProjectModified());
    QCOMPARE(window.project()->filePath(), m_dir->filePath(QStringLiteral("sample.zkproj")));
}

void tst_StudioSaving::closingAsks_data()
{
    QTest::addColumn<Answer>("answer");
    QTest::addColumn<bool>("closed");
    QTest::addColumn<bool>("written");
    QTest::newRow("speichern") << Answer::Save << true << true;
    QTest::newRow("verwerfen") << Answer::Discard << true << false;
    QTest::newRow("abbrechen") << Answer::Cancel << false << false;
}

void tst_StudioSaving::closingAsks()
{
    QFETCH(Answer, answer);
    QFETCH(bool, closed);
    QFETCH(bool, written);
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(openSavedSample(window));
    changeSomething(window);
    Project* project = window.project();
    const QByteArray before = project->projectText();
    QString text;
    auto answered = answerUnsavedChanges(answer, &text);
    QCOMPARE(window.close(), closed);
    QVERIFY(*answered);
    QVERIFY2(text.contains(QStringLiteral("Beispielanlage")), qPrintable(text));
    QCOMPARE(window.isVisible(), !closed);
    QCOMPARE(readFile(project->filePath()).contains("geändert"), written);
    // Cancelled, everything stays as it was: the project, its edit, the marker.
    QCOMPARE(window.project(), project);
    QCOMPARE(project->projectText(), before);
    QCOMPARE(window.isProjectModified(), !written);
}

void tst_StudioSaving::closingUnmodifiedAsksNothing()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    auto asked = refuseAnyModal();
    QVERIFY(window.close());
    QVERIFY(!*asked);
}

void tst_StudioSaving::openingAnotherAsks_data()
{
    closingAsks_data();
}

void tst_StudioSaving::openingAnotherAsks()
{
    QFETCH(Answer, answer);
    QFETCH(bool, closed);
    QFETCH(bool, written);
    StudioWindow window;
    window.show();
    QVERIFY(openSavedSample(window, QStringLiteral("other.zkproj")));
    QVERIFY(openSavedSample(window));
    changeSomething(window);
    QTRY_VERIFY(window.isWindowModified());
    QPointer<Project> project = window.project();
    const QString path = project->filePath();
    auto answered = answerUnsavedChanges(answer);
    QCOMPARE(window.openProject(m_dir->filePath(QStringLiteral("other.zkproj"))), closed);
    QVERIFY(*answered);
    QCOMPARE(window.project() == project.data(), !closed);
    QCOMPARE(project.isNull(), closed);
    QCOMPARE(readFile(path).contains("geändert"), written);
    // The new project comes up unmodified; a cancelled one keeps its marker.
    QCOMPARE(window.isWindowModified(), !closed);
    // The sample from the menu asks as well.
    if (!closed)
        return;
    changeSomething(window);
    auto again = answerUnsavedChanges(Answer::Cancel);
    Project* other = window.project();
    QVERIFY(!window.openSample());
    QVERIFY(*again);
    QCOMPARE(window.project(), other);
}

void tst_StudioSaving::saveInThePromptCancelledIsACancel()
{
    StudioWindow window;
    window.show();
    QVERIFY(QTest::qWaitForWindowExposed(&window));
    QVERIFY(window.openSample());
    changeSomething(window);
    // "Speichern" for a project that has no file yet asks for one; cancelling that keeps all.
    // The file dialog follows the prompt: its answer is armed as the prompt is answered.
    auto files = std::make_shared<std::shared_ptr<bool>>();
    auto prompt = answerNextModal([files](QDialog* dialog) {
        auto* box = qobject_cast<QMessageBox*>(dialog);
        if (!box || !box->button(QMessageBox::Save)) {
            dialog->reject();
            return;
        }
        *files = answerSaveDialog(QString());
        box->button(QMessageBox::Save)->click();
    });
    QVERIFY(!window.close());
    QVERIFY(*prompt);
    QVERIFY(*files && **files);
    QVERIFY(window.isVisible());
    QVERIFY(window.isProjectModified());
    QVERIFY(window.project()->filePath().isEmpty());
}

void tst_StudioSaving::walkOfEditsLoadsBackWithTheSameCode()
{
    StudioWindow window;
    QVERIFY(window.openSample());
    Project* project = window.project();
    const QMap<QString, QByteArray> original = codeTextOf(project);
    QVERIFY(original.size() > 3);

    // Moves in the editor of the first axis: one block right, then two at once down.
    BlockDefinitionScene* scene = enterEditMode(window.activeCodeView());
    QVERIFY(scene);
    const QList<BlockItem*> items = scene->blockItemMap().values();
    QVERIFY(items.size() >= 3);
    QVERIFY(moveByCommand(scene, {items.at(0)}, QPointF(SceneRaster::Block * 3, 0)));
    QVERIFY(moveByCommand(scene, {items.at(1), items.at(2)}, QPointF(0, SceneRaster::Block * 2)));
    // A move in another area's program, through the scene of its code.
    BlockCode* otherCode = project->areas().at(2)->rootDefinition()->code();
    QVERIFY(otherCode && otherCode != scene->blockCode());
    BlockDefinitionScene* otherScene = BlockDefinitionScene::forCode(otherCode);
    otherScene->setReadOnly(false);
    QGraphicsItem* otherItem = firstBlockItem(otherScene);
    QVERIFY(otherItem);
    QVERIFY(moveByCommand(otherScene, {otherItem}, QPointF(SceneRaster::Block, SceneRaster::Block)));
    // A move undone and done again ends where it was done.
    QVERIFY(moveByCommand(scene, {items.at(0)}, QPointF(0, SceneRaster::Block)));
    scene->undoStack()->undo();
    scene->undoStack()->redo();

    // Property changes through the model: note, name, parameter, pin, run-time order.
    BlockCode* code = scene->blockCode();
    BlockInstance* first = code->instances().first();
    first->setNote(QStringLiteral("Notiz mit ; und = und \"Zeichen\""));
    first->setName(QStringLiteral("Umbenannt"));
    first->setParameterValue(QStringLiteral("P99"), QStringLiteral("42"));
    BlockPinInstance* pin = nullptr;
    for (BlockInstance* instance : code->instances()) {
        for (BlockPinInstance* candidate : instance->pins()) {
            if (candidate->initialValue().isEmpty()) {
                pin = candidate;
                break;
            }
        }
        if (pin)
            break;
    }
    QVERIFY(pin);
    pin->setInverted(!pin->isInverted());
    pin->setInitialValue(QStringLiteral("7"));
    const QList<unsigned int> order = code->realtimeOrder();
    QVERIFY(order.size() >= 2);
    code->setRealtime(order.last(), 0);

    const QMap<QString, QByteArray> edited = codeTextOf(project);
    QVERIFY(edited != original);
    QVERIFY(window.isProjectModified());

    const QString path = m_dir->filePath(QStringLiteral("bearbeitet.zkproj"));
    QVERIFY(window.saveProject(path));
    QVERIFY(!window.isProjectModified());
    // Saved, the project is put aside without a question.
    auto asked = refuseAnyModal();
    QVERIFY(window.openProject(path));
    QVERIFY(!*asked);
    withdrawModalAnswers();
    QVERIFY(window.project() != project);
    const QMap<QString, QByteArray> reloaded = codeTextOf(window.project());
    QCOMPARE(reloaded.keys(), edited.keys());
    for (auto it = edited.constBegin(); it != edited.constEnd(); ++it)
        QCOMPARE(reloaded.value(it.key()), it.value());
    QVERIFY(!window.isProjectModified());
}

ZK_TEST_REGISTER(tst_StudioSaving)
#include "tst_StudioSaving.moc"
