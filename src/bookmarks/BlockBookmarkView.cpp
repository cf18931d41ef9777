#include "BlockBookmarkView.h"

#include "BlockBookmarkRepository.h"
#include "BlockBookmarkViewPrivate.h"
#include "BlockBookmarkWidget.h"

#include "DefaultPathSetting.h"

#include <QCoreApplication>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QPushButton>
#include <QSpacerItem>
#include <QVBoxLayout>

#include <memory>

namespace {

const QString kFilter = QStringLiteral("Bookmarks (*.ini)");

QString startFolder()
{
    std::unique_ptr<DefaultPathSetting> setting(DefaultPathSetting::create(DefaultPathSetting::DefaultPathDocuments));
    return setting ? setting->path() : QString();
}

} // namespace

BlockBookmarkViewPrivate::BlockBookmarkViewPrivate(BlockBookmarkView* owner)
    : QObject(owner)
    , widget(new BlockBookmarkWidget(owner))
    , q(owner)
    , importButton(new QPushButton(owner))
    , exportButton(new QPushButton(owner))
{
    q->setProperty("HelpId", QStringLiteral("BlockLibraryView"));
    widget->setObjectName(QStringLiteral("blockBookmarkWidget"));
    importButton->setObjectName(QStringLiteral("importButton"));
    exportButton->setObjectName(QStringLiteral("exportButton"));
    importButton->setText(QCoreApplication::translate("BlockEditorViewClass", "Importieren"));
    exportButton->setText(QCoreApplication::translate("BlockEditorViewClass", "Exportieren"));

    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(widget);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(importButton);
    buttons->addWidget(exportButton);
    buttons->addItem(new QSpacerItem(40, 20, QSizePolicy::Expanding, QSizePolicy::Minimum));
    layout->addLayout(buttons);
    q->setLayout(layout);

    widget->setup();
    widget->update();
    connect(importButton, SIGNAL(clicked()), this, SLOT(importBookmark()));
    connect(exportButton, SIGNAL(clicked()), this, SLOT(exportBookmark()));
}

BlockBookmarkViewPrivate::~BlockBookmarkViewPrivate() = default;

void BlockBookmarkViewPrivate::exportBookmark()
{
    // The name is taken as typed: the filter adds no extension.
    const QString fileName = QFileDialog::getSaveFileName(q, tr("Favoriten exportieren"), startFolder(), kFilter);
    if (!fileName.isEmpty())
        BlockBookmarkRepository::instance().exportBookmarks(fileName);
}

void BlockBookmarkViewPrivate::importBookmark()
{
    const QString fileName = QFileDialog::getOpenFileName(q, tr("Favoriten importieren"), startFolder(), kFilter);
    if (!fileName.isEmpty())
        BlockBookmarkRepository::instance().importBookmarks(fileName);
}

BlockBookmarkView::BlockBookmarkView(QWidget* parent)
    : QWidget(parent)
    , d(new BlockBookmarkViewPrivate(this))
{
}

BlockBookmarkView::~BlockBookmarkView() = default;

BlockBookmarkWidget* BlockBookmarkView::bookmarkWidget() const
{
    return d->widget;
}
