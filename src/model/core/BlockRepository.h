#pragma once

#include "Text.h"
#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class Block;
class BlockDefinition;
class BlockLibrary;
class BlockLibraryContainer;
class QWidget;

// The process-wide registry of library containers, group names and help.
class ZK_MODEL_EXPORT BlockRepository : public QObject
{
    Q_OBJECT
public:
    static BlockRepository& instance();

    BlockDefinition* blockDefinition(const QString& identifier, unsigned int version) const;
    Block* block(const QString& identifier) const;

    QList<BlockLibraryContainer*> containers() const { return m_containers; }
    QList<BlockLibrary*> libraries() const;
    BlockLibraryContainer* container(const QString& identifier) const;

    // Takes ownership; a container of the same identifier is refused (false).
    bool addContainer(BlockLibraryContainer* container);
    // Gives the container back to the caller.
    BlockLibraryContainer* removeContainer(const QString& identifier);
    // Deletes every container and group name (a project is being closed).
    void clear();

    Text blockGroupName(unsigned int group) const;
    void setBlockGroupName(unsigned int group, const Text& name);
    QList<unsigned int> blockGroups() const;
    // The names of a group path ("1;3;7"), outermost first, joined by " / ".
    QString groupPathText(const QString& groupPath) const;

    bool showBlockHelp(const BlockDefinition* definition) const;
    bool showBlockHelp(const QString& identifier, unsigned int version) const;
    bool showHelpContent(const QString& helpId) const;

    // The help pages as HTML; empty when there is nothing to say.
    QString blockHelpHtml(const BlockDefinition* definition) const;
    QString helpContentHtml(const QString& helpId) const;
    // The help window that is shown (null before the first help), for hosts and tests.
    QWidget* helpWindow() const;

Q_SIGNALS:
    void changed();
    // Every request for help, answered or not, with what was asked: the block's identifier and
    // version ("StandardBlock_1;0"), the help identifier, or an empty text for no block at all. A
    // host may log what users look for; it is also how a panel's help key can be seen to work.
    void helpRequested(const QString& topic) const;
    void groupsChanged();

private:
    BlockRepository();
    bool showHtml(const QString& title, const QString& html) const;

    QList<BlockLibraryContainer*> m_containers;
    QHash<unsigned int, Text> m_groupNames;
    mutable QPointer<QWidget> m_helpWindow;
};
