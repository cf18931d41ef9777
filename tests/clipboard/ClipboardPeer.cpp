// One side of a paste between two processes through the system clipboard. Run as "copy", it copies
// an AND wired to a local block of its own model and stays the clipboard's owner until another
// process takes the clipboard over; run as "paste", it pastes into the code of a model that has
// never seen that local block, checks what arrived, and takes the clipboard over to let the copier
// go. The redo after that still has the payload: the paste keeps its own copy.

#include "TestModel.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockDefinitionScene.h"
#include "BlockInstance.h"
#include "BlockItem.h"
#include "BlockLibrary.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "ModelBuilder.h"

#include <QApplication>
#include <QClipboard>
#include <QGraphicsView>
#include <QMimeData>
#include <QTimer>
#include <QUndoStack>

#include <cstdio>

namespace {

const QString LocalIdentifier = QStringLiteral("LocalBlock_Peer");
// The copier gives up if no one takes the clipboard over in this time.
constexpr int CopierPatienceMs = 60000;

int fail(const char* what)
{
    std::fprintf(stderr, "clipboard peer: %s\n", what);
    return 1;
}

int copySide(QApplication& app)
{
    TestModel model;
    BlockCode* code = model.rootCode();
    Block* local = ModelBuilder::primitive(code->definition()->ensureLocalBlockLibrary(), LocalIdentifier,
                                           QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}},
                                           QStringLiteral("not"));
    BlockInstance* gate = ModelBuilder::place(code, ModelBuilder::newest(model.block(QStringLiteral("StandardBlock_1"))), {20, 10});
    BlockInstance* mine = ModelBuilder::place(code, ModelBuilder::newest(local), {40, 10});
    ModelBuilder::wire(code, gate, 3, mine, 1, {QPointF(26, 11), QPointF(30, 11), QPointF(30, 14), QPointF(37, 11)});

    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    scene->blockItem(gate->identifier())->setSelected(true);
    scene->blockItem(mine->identifier())->setSelected(true);
    scene->copyToClipboard();
    QClipboard* clipboard = QGuiApplication::clipboard();
    if (!clipboard->ownsClipboard())
        return fail("the copy did not take the clipboard");

    QObject::connect(clipboard, &QClipboard::dataChanged, &app, [&app, clipboard] {
        if (!clipboard->ownsClipboard())
            app.exit(0);
    });
    QTimer::singleShot(CopierPatienceMs, &app, [&app] {
        std::fprintf(stderr, "clipboard peer: nobody took the clipboard over\n");
        app.exit(2);
    });
    std::printf("copied\n");
    std::fflush(stdout);
    return app.exec();
}

// The two pasted instances with their wire and the carried block, or a message of what is missing.
const char* checkPasted(BlockCode* code)
{
    const QList<BlockInstance*> instances = code->instances();
    if (instances.size() != 2)
        return "the paste did not bring two instances";
    BlockLibrary* library = code->definition()->localBlockLibrary();
    Block* carried = library ? library->block(LocalIdentifier) : nullptr;
    if (!carried)
        return "the local block did not travel along";
    const BlockInstance* gate = nullptr;
    const BlockInstance* mine = nullptr;
    for (const BlockInstance* instance : instances) {
        if (instance->block() == carried)
            mine = instance;
        else if (instance->block() && instance->block()->identifier() == QStringLiteral("StandardBlock_1"))
            gate = instance;
    }
    if (!gate || !mine)
        return "the pasted instances are not the AND and the local block";
    if (mine->position() - gate->position() != QPointF(20, 0))
        return "the pasted blocks lost their distance";
    const QList<BlockPinConnection*> connections = code->connections();
    if (connections.size() != 1)
        return "the wire did not come along";
    const BlockPinConnection* wire = connections.first();
    if (!wire->source() || !wire->target() || wire->source()->owner() != gate || wire->target()->owner() != mine)
        return "the wire joins the wrong blocks";
    return nullptr;
}

int pasteSide()
{
    TestModel model;
    BlockCode* code = model.rootCode();
    if (code->definition()->localBlockLibrary() && code->definition()->localBlockLibrary()->block(LocalIdentifier))
        return fail("the pasting model knows the local block already");
    const QMimeData* offered = QGuiApplication::clipboard()->mimeData();
    if (!offered || !offered->hasFormat(BlockCode::TransferMimeType))
        return fail("the clipboard does not offer block code");

    BlockDefinitionScene* scene = BlockDefinitionScene::forCode(code);
    QGraphicsView view(scene);
    view.resize(400, 300);
    view.show();
    scene->pasteFromClipboard();
    if (scene->isReadOnly())
        return fail("pasting did not turn on edit mode");
    if (scene->undoStack()->count() != 1 || scene->undoStack()->text(0) != QStringLiteral("Paste items"))
        return fail("the paste is not one entry on the stack");
    if (const char* problem = checkPasted(code))
        return fail(problem);

    scene->undoStack()->undo();
    if (!code->instances().isEmpty())
        return fail("undo left pasted instances behind");
    // Taking the clipboard over lets the copier end; the redo must not need it any more.
    QGuiApplication::clipboard()->setText(QStringLiteral("fertig"));
    scene->undoStack()->redo();
    if (const char* problem = checkPasted(code))
        return fail(problem);
    std::printf("pasted\n");
    std::fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    const QString mode = argc > 1 ? QString::fromLatin1(argv[1]) : QString();
    if (mode == QStringLiteral("copy"))
        return copySide(app);
    if (mode == QStringLiteral("paste"))
        return pasteSide();
    return fail("usage: zkclipboardpeer copy|paste");
}
