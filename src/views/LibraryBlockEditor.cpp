#include "LibraryBlockEditor.h"

#include "BlockEditorView.h"

#include <QVBoxLayout>

class LibraryBlockEditorPrivate : public QObject
{
public:
    explicit LibraryBlockEditorPrivate(LibraryBlockEditor* owner)
        : QObject(owner)
        , q(owner)
    {
    }

    BlockEditorView* blockEditorView = nullptr;
    LibraryBlockEditor* q;
};

LibraryBlockEditor::LibraryBlockEditor(QWidget* parent)
    : QWidget(parent)
    , d(new LibraryBlockEditorPrivate(this))
{
    setProperty("HelpId", QStringLiteral("LibraryBlockEditor"));
    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    setLayout(layout);
    d->blockEditorView = new BlockEditorView(this);
    // The environment selects the area whose variant pins and checks the definition is seen with.
    // The status label stays unplaced: the library sub-window has a title label of its own.
    d->blockEditorView->setEnvironmentVisible(true);
    layout->addWidget(d->blockEditorView);
}

LibraryBlockEditor::~LibraryBlockEditor() = default;

void LibraryBlockEditor::setRoot(BlockDefinition* pRoot)
{
    d->blockEditorView->setRoot(pRoot);
}

void LibraryBlockEditor::navigateTo(const QString& path)
{
    d->blockEditorView->navigateTo(path);
}

QString LibraryBlockEditor::currentPath() const
{
    return d->blockEditorView->currentPath();
}
