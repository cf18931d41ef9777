#pragma once

#include <QDir>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>

#include <functional>

class AreaSubWindow;
class BlockCheckIssueWidgetPrivate;
class BlockInstanceArea;
class OverviewFrame;
class StudioWindow;

// A scripted walk through the studio as a user would take it: open the sample, open an area, step
// three levels down and one up, go online, show pin values, fit, export, open a library block, see
// the problems of two areas and jump to one, check contained blocks too, show the overview, drag
// its rectangle and enlarge it. After
// each step it writes a picture of the main window and a line about what is shown, so that the
// drawing can be judged without a person at the controls (`zkblockstudio --walk DIR`).
class StudioWalk : public QObject
{
    Q_OBJECT
public:
    StudioWalk(StudioWindow* window, const QString& directory);

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

    StudioWindow* m_window;
    QDir m_directory;
    QList<Step> m_steps;
    int m_next = 0;
    bool m_ok = true;
    BlockInstanceArea* m_area = nullptr;
    // Instance identifiers of a chain of levels that can be entered, from the area's root down.
    QList<uint> m_chain;
    int m_depth = 0;
    QStringList m_log;
    QString m_reason;
};
