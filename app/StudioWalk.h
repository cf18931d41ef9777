#pragma once

#include <QByteArray>
#include <QDir>
#include <QList>
#include <QObject>
#include <QPoint>
#include <QPointer>
#include <QSizeF>
#include <QString>
#include <QStringList>

#include <functional>

class AreaSubWindow;
class BlockCheckIssueWidgetPrivate;
class BlockCode;
class BlockCodeView;
class BlockDefinition;
class BlockDefinitionScene;
class BlockEditorView;
class BlockInstanceArea;
class BlocksWidget;
class OverviewFrame;
class QAction;
class QTabWidget;
class QTreeWidget;
class QTreeWidgetItem;
class QWidget;
class StudioWindow;

// A scripted walk through the studio as a user would take it: open the sample, open an area, step
// three levels down and one up, go online, show pin values, fit, export, open a library block, see
// the problems of two areas and jump to one, check contained blocks too, show the overview, drag
// its rectangle and enlarge it. After
// each step it writes a picture of the main window and a line about what is shown, so that the
// drawing can be judged without a person at the controls (`zkblockstudio --walk DIR`).
//
// Two more tours are chosen by name (`--tour`): "edit" edits an area's program as a user does with
// the mouse and the edit menu, undoes and redoes it all, saves and opens the project again;
// "library" drops a block from the library panel into the code, marks it as a favourite, finds it
// by search and moves the favourites through a file. Every step checks what the user would see and
// fails with its reason in the log otherwise.
class StudioWalk : public QObject
{
    Q_OBJECT
public:
    // The tour names that `tour` takes; the first is the one taken without a name.
    static QStringList tourNames();

    // An unknown tour name leaves no steps but one that fails and names the known tours.
    StudioWalk(StudioWindow* window, const QString& directory, const QString& tour = QString());

    void start();

Q_SIGNALS:
    void finished(bool ok);

private:
    struct Step
    {
        QString name;
        std::function<bool()> action;
        int settleMs;
    };

    QList<Step> overviewTour();
    QList<Step> editTour();
    QList<Step> libraryTour();

    void runNext();
    void record(const Step& step, bool ok);
    AreaSubWindow* walkWindow() const;
    bool clickButton(const char* objectName);
    // Notes why a step failed, for the log; returns false.
    bool fail(const QString& reason);
    bool stepIntoNext();
    void chooseArea();
    // Opens the area's window with both panels and the check issue tab in front.
    bool showIssuesOf(BlockInstanceArea* area);
    BlockCheckIssueWidgetPrivate* issueTable() const;
    OverviewFrame* overviewFrame() const;

    // Of the tours that edit: an area the user may edit, with enough blocks to work on, opened
    // through its menu entry with both side panels shown.
    bool openEditableArea();
    // Clicks the editor's edit button and checks that the level can now be changed.
    bool enterEditMode();
    BlockDefinitionScene* editScene() const;
    BlockEditorView* editorPane() const;
    // The page of the editor pane's vertical tab by its object name, made the current one; null
    // with the reason noted when the pane has no such page.
    QWidget* showVerticalPage(const char* pageName);
    QAction* editAction(const char* objectName) const;
    // Triggers an entry of the "Bearbeiten" menu as a click would; false with a reason when it is
    // missing or disabled.
    bool triggerEditAction(const char* objectName);
    // A point of the code view's viewport over empty code, with room for something of the size
    // (scene units) around it; false when the shown part of the code has no such place.
    bool emptyViewportPoint(QSizeF sceneSize, QPoint* point) const;
    // Mouse events as the window system delivers them to the code view's viewport.
    void sendViewportMouse(int type, QPoint position, int button, int buttons, int modifiers = 0) const;
    // The program of the walk's area as the model writes it: every instance and signal label.
    static QByteArray codeTextOf(BlockCode* code);
    BlockCode* areaCode() const;
    // The hit rows of the search panel's result tree that stand for the definition, in the section
    // "Hierarchie" or "Bibliothek".
    QList<QTreeWidgetItem*> searchHits(const QString& section) const;
    bool searchFor(const QString& text);
    // Clicks the button and answers the file dialog it opens with the path.
    bool answerFileDialog(const char* buttonName, const QString& path);

    StudioWindow* m_window;
    QDir m_directory;
    QList<Step> m_steps;
    int m_next = 0;
    bool m_ok = true;
    bool m_stepRunning = false;
    bool m_dialogClosed = false;
    BlockInstanceArea* m_area = nullptr;
    // Instance identifiers of a chain of levels that can be entered, from the area's root down.
    QList<uint> m_chain;
    int m_depth = 0;
    QStringList m_log;
    QString m_reason;

    // What the editing tours remember from step to step.
    QByteArray m_textAtStart;
    QByteArray m_storedAtStart;
    QByteArray m_textEdited;
    QStringList m_layoutEdited;
    QByteArray m_textSaved;
    int m_areaIndex = -1;
    QList<unsigned int> m_pasted;
    QPointer<BlockDefinition> m_dragged;
    unsigned int m_dropped = 0;
    QString m_projectFile;
};
