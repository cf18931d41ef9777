#pragma once

#include "zkblockview_export.h"

#include <QDialog>

#include <memory>

class BlockDefinition;

namespace Ui {
class UserBlockEditMethodDialog;
}

// Warns before a user block of a library is edited: the change reaches every place where this
// version is used. The caller reads the choice from editMethod() after exec().
class ZK_VIEW_EXPORT UserBlockEditMethodDialog : public QDialog
{
    Q_OBJECT
public:
    // What the user chose. Only Cancelled and CurrentVersion are offered today; the other two are
    // kept for the buttons that the form holds.
    enum EditMethod { Cancelled = 0, CurrentVersion = 1, NewVersion = 2, LocalBlock = 3 };

    UserBlockEditMethodDialog(QWidget* parent, BlockDefinition* definition);
    ~UserBlockEditMethodDialog() override;

    int editMethod() const;

private Q_SLOTS:
    void onEditCurrentVersion();
    void onEditNewVersion();
    void onEditLocaleBlock();
    void onCancelEdit();

private:
    std::unique_ptr<Ui::UserBlockEditMethodDialog> ui;
    int m_editMethod = Cancelled;
};
