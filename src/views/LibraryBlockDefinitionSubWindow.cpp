#include "LibraryBlockDefinitionSubWindow.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "LibraryBlockEditor.h"
#include "System.h"

#include <QCloseEvent>
#include <QIcon>
#include <QLabel>
#include <QMdiArea>
#include <QPointer>
#include <QSettings>
#include <QStatusBar>
#include <QVBoxLayout>
#include <QWidget>

namespace {

const QString SettingsGroup = QStringLiteral("libraryBlockDefinition");
const QString PositionKey = QStringLiteral("position");
const QString SizeKey = QStringLiteral("size");
const QString StateKey = QStringLiteral("state");

BlockLibraryContainer* containerOf(const BlockDefinition* definition)
{
    Block* block = definition ? definition->block() : nullptr;
    BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
    return library ? library->container() : nullptr;
}

} // namespace

class LibraryBlockDefinitionSubWindowPrivate : public QObject
{
    Q_OBJECT
public:
    explicit LibraryBlockDefinitionSubWindowPrivate(LibraryBlockDefinitionSubWindow* owner);

    void initialize();
    void loadGeometry();
    void saveGeometry();

    // Guarded: the model may delete the definition, which then closes this window.
    QPointer<BlockDefinition> definition;
    LibraryBlockEditor* editor = nullptr;
    QWidget* content = nullptr;
    QVBoxLayout* layout = nullptr;
    QWidget* gap = nullptr;
    QLabel* titleLabel = nullptr;
    QSettings settings{QStringLiteral("Marlenbach Motion"), QStringLiteral("Zerkanta")};
    LibraryBlockDefinitionSubWindow* q;

public Q_SLOTS:
    void updateWindowTitle();
    void onWindowStateChanged(Qt::WindowStates oldState, Qt::WindowStates newState);
};

LibraryBlockDefinitionSubWindowPrivate::LibraryBlockDefinitionSubWindowPrivate(LibraryBlockDefinitionSubWindow* owner)
    : QObject(owner)
    , q(owner)
{
    content = new QWidget;
    layout = new QVBoxLayout(content);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    gap = new QWidget(content);
    gap->setFixedHeight(0);
    titleLabel = new QLabel(content);
    titleLabel->setObjectName(QStringLiteral("titleLabel"));
    // Only a maximized window has lost its own title bar to the main window's.
    titleLabel->setVisible(false);
}

void LibraryBlockDefinitionSubWindowPrivate::initialize()
{
    q->setAttribute(Qt::WA_DeleteOnClose);
    connect(q, &QMdiSubWindow::windowStateChanged, this, &LibraryBlockDefinitionSubWindowPrivate::onWindowStateChanged);

    QWidget* mainWindow = System::instance().mainWindow();
    QMdiArea* area = mainWindow ? mainWindow->findChild<QMdiArea*>(QStringLiteral("mdiArea")) : nullptr;
    // A host without an MDI area gets no window to see; there is no place to put it.
    if (!area)
        return;

    connect(definition, &BlockDefinition::changed, this, &LibraryBlockDefinitionSubWindowPrivate::updateWindowTitle);
    connect(definition, &QObject::destroyed, q, &QWidget::close);

    layout->addWidget(titleLabel);
    layout->addWidget(gap);
    layout->addWidget(editor, 1);
    q->setWidget(content);
    q->setWindowIcon(QIcon(QStringLiteral(":/Resources/BlockViewLibrary.png")));
    area->addSubWindow(q);

    loadGeometry();
    updateWindowTitle();
}

void LibraryBlockDefinitionSubWindowPrivate::loadGeometry()
{
    settings.beginGroup(SettingsGroup);
    const QPoint position = settings.value(PositionKey, QPoint(0, 0)).toPoint();
    const QSize size = settings.value(SizeKey, QSize()).toSize();
    const int state = settings.value(StateKey, 0).toInt();
    settings.endGroup();
    // The origin means nothing was stored: the MDI area's own placement stands.
    if (position == QPoint(0, 0))
        return;
    q->move(position);
    q->resize(size);
    q->setWindowState(Qt::WindowStates(state));
}

void LibraryBlockDefinitionSubWindowPrivate::saveGeometry()
{
    const Qt::WindowStates state = q->windowState() & (Qt::WindowMinimized | Qt::WindowMaximized);
    settings.beginGroup(SettingsGroup);
    settings.setValue(StateKey, int(state));
    // A maximized window's geometry is the MDI area's; the next window is to come back at the
    // place the user last gave one.
    if (!(q->windowState() & Qt::WindowMaximized)) {
        settings.setValue(PositionKey, q->pos());
        settings.setValue(SizeKey, q->size());
    }
    settings.endGroup();
    settings.sync();
}

void LibraryBlockDefinitionSubWindowPrivate::updateWindowTitle()
{
    if (!definition)
        return;
    QString text = LibraryBlockDefinitionSubWindow::tr("Bibliotheksbaustein");
    auto* file = qobject_cast<BlockLibraryFile*>(containerOf(definition));
    const QString path = file ? file->filePath() : QStringLiteral("???");
    Block* block = definition->block();
    const QString name = block ? block->name().text() : QString();
    text += LibraryBlockDefinitionSubWindow::tr(" - %1 (Version %2) - %3")
                .arg(name, QString::number(definition->version()), path);
    q->setWindowTitle(text);
    titleLabel->setText(text);
}

void LibraryBlockDefinitionSubWindowPrivate::onWindowStateChanged(Qt::WindowStates oldState, Qt::WindowStates newState)
{
    titleLabel->setVisible(newState.testFlag(Qt::WindowMaximized));
    if (oldState.testFlag(Qt::WindowMaximized) != newState.testFlag(Qt::WindowMaximized))
        updateWindowTitle();
}

LibraryBlockDefinitionSubWindow* LibraryBlockDefinitionSubWindow::forDefinition(BlockDefinition* pDefinition)
{
    if (!pDefinition)
        return nullptr;
    if (LibraryBlockDefinitionSubWindow* existing = pDefinition->editSubWindow())
        return existing;
    return new LibraryBlockDefinitionSubWindow(pDefinition);
}

LibraryBlockDefinitionSubWindow::LibraryBlockDefinitionSubWindow(BlockDefinition* pDefinition)
    : d(new LibraryBlockDefinitionSubWindowPrivate(this))
{
    d->definition = pDefinition;
    pDefinition->setEditSubWindow(this);
    d->editor = new LibraryBlockEditor;
    d->editor->setRoot(pDefinition);
    d->initialize();
}

LibraryBlockDefinitionSubWindow::~LibraryBlockDefinitionSubWindow()
{
    // The definition keeps a plain pointer to its window and must not be left with a dangling one.
    if (d->definition && d->definition->editSubWindow() == this)
        d->definition->setEditSubWindow(nullptr);
    // Without an MDI area the content never became the window's widget and has no other owner.
    if (!d->content->parent())
        delete d->content;
    if (d->editor && !d->editor->parent())
        delete d->editor;
}

BlockDefinition* LibraryBlockDefinitionSubWindow::definition() const
{
    return d->definition;
}

QString LibraryBlockDefinitionSubWindow::title()
{
    BlockLibraryContainer* container = containerOf(d->definition);
    return container ? container->name().text() : QString();
}

QStatusBar* LibraryBlockDefinitionSubWindow::statusBar()
{
    // Never shown and never parented; reachable for the life of the process through this pointer.
    static QStatusBar* shared = nullptr;
    if (!shared)
        shared = new QStatusBar;
    return shared;
}

void LibraryBlockDefinitionSubWindow::closeEvent(QCloseEvent* event)
{
    Q_UNUSED(event)
    d->saveGeometry();
    // Not handed to the base class: the window goes whatever the editor's widgets would say.
    if (QWidget* shown = widget())
        shown->close();
}

#include "LibraryBlockDefinitionSubWindow.moc"
