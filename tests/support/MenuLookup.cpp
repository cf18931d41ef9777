#include "MenuLookup.h"

#include <QAction>
#include <QMenu>

QAction* actionNamed(const QMenu* menu, const QString& text)
{
    const QList<QAction*> actions = menu->actions();
    for (QAction* action : actions) {
        if (action->text() == text)
            return action;
    }
    return nullptr;
}

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    const QList<QAction*> actions = menu->actions();
    for (QAction* action : actions) {
        if (!action->isSeparator())
            texts.append(action->text());
    }
    return texts;
}

QStringList actionTextsWithSeparators(const QMenu* menu)
{
    QStringList texts;
    const QList<QAction*> actions = menu->actions();
    for (QAction* action : actions)
        texts.append(action->isSeparator() ? QStringLiteral("|") : action->text());
    return texts;
}
