#include "UserBlockEditMethodDialog.h"

#include "ui_UserBlockEditMethodDialog.h"

#include "Block.h"
#include "BlockDefinition.h"

#include <QPushButton>

UserBlockEditMethodDialog::UserBlockEditMethodDialog(QWidget* parent, BlockDefinition* definition)
    : QDialog(parent)
    , ui(std::make_unique<Ui::UserBlockEditMethodDialog>())
{
    ui->setupUi(this);
    setWindowTitle(tr("Bibliotheksbaustein editieren"));
    setProperty("HelpId", QStringLiteral("UserBlockEditMethodDialog"));

    connect(ui->cancelButton, &QPushButton::clicked, this, &UserBlockEditMethodDialog::onCancelEdit);
    connect(ui->currentVersionButton, &QPushButton::clicked, this, &UserBlockEditMethodDialog::onEditCurrentVersion);
    connect(ui->newVersionButton, &QPushButton::clicked, this, &UserBlockEditMethodDialog::onEditNewVersion);
    connect(ui->localBlockButton, &QPushButton::clicked, this, &UserBlockEditMethodDialog::onEditLocaleBlock);

    // The warning is for a version that a newer one has already followed.
    const Block* block = definition ? definition->block() : nullptr;
    const QList<unsigned int> versions = block ? block->versions() : QList<unsigned int>();
    const bool highest = !definition || versions.isEmpty() || definition->version() == versions.last();
    ui->warningWidget->setVisible(!highest);

    ui->currentVersionButton->setText(tr("Ändern der Version %1").arg(definition ? definition->version() : 0));
    // The text still speaks of both ways out, but neither is offered to the user.
    ui->newVersionButton->hide();
    ui->localBlockButton->hide();
    setWindowFlags(windowFlags() & ~Qt::WindowContextHelpButtonHint);
}

UserBlockEditMethodDialog::~UserBlockEditMethodDialog() = default;

int UserBlockEditMethodDialog::editMethod() const
{
    return m_editMethod;
}

void UserBlockEditMethodDialog::onEditCurrentVersion()
{
    m_editMethod = CurrentVersion;
    accept();
}

void UserBlockEditMethodDialog::onEditNewVersion()
{
    m_editMethod = NewVersion;
    accept();
}

void UserBlockEditMethodDialog::onEditLocaleBlock()
{
    m_editMethod = LocalBlock;
    accept();
}

void UserBlockEditMethodDialog::onCancelEdit()
{
    m_editMethod = Cancelled;
    reject();
}
