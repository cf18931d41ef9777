#include "HierarchyNodeEditor.h"

#include "BlockEditorView.h"
#include "MdiSubWindow.h"

#include <QLabel>
#include <QStatusBar>
#include <QVBoxLayout>

class HierarchyNodeEditorPrivate : public QObject
{
public:
    explicit HierarchyNodeEditorPrivate(HierarchyNodeEditor* owner)
        : QObject(owner)
        , q(owner)
    {
    }

    BlockEditorView* blockEditorView = nullptr;
    HierarchyNodeEditor* q;
};

HierarchyNodeEditor::HierarchyNodeEditor(QWidget* parent)
    : QWidget(parent)
    , d(new HierarchyNodeEditorPrivate(this))
{
}

HierarchyNodeEditor::~HierarchyNodeEditor() = default;

void HierarchyNodeEditor::initialize()
{
    setProperty("HelpId", QStringLiteral("HierarchyNodeEditor"));
    auto* layout = new QVBoxLayout;
    layout->setContentsMargins(0, 0, 0, 0);
    setLayout(layout);
    d->blockEditorView = new BlockEditorView(this);
    layout->addWidget(d->blockEditorView);

    // The title of the shown block goes to the status bar of the sub-window that holds the editor;
    // outside such a window it has no place.
    for (QWidget* ancestor = parentWidget(); ancestor; ancestor = ancestor->parentWidget()) {
        if (auto* subWindow = qobject_cast<MdiSubWindow*>(ancestor)) {
            if (QStatusBar* bar = subWindow->statusBar())
                bar->addWidget(d->blockEditorView->statusLabel(), 1);
            break;
        }
    }
}

void HierarchyNodeEditor::setRoot(BlockInstanceArea* pRoot)
{
    d->blockEditorView->setRoot(pRoot);
}

void HierarchyNodeEditor::navigateTo(const QString& path)
{
    d->blockEditorView->navigateTo(path);
}

QString HierarchyNodeEditor::currentPath() const
{
    return d->blockEditorView->currentPath();
}
