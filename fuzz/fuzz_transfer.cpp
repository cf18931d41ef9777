// Feeds arbitrary bytes to the paste of copied code and to the restore of code text, on a small
// model that is built afresh for every input so that inputs do not influence each other.
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "System.h"

#include <QApplication>
#include <QByteArray>
#include <QMimeData>

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {

const QByteArray kHeader = QByteArrayLiteral("ZKBLOCKCODE 1\n");

struct SmallModel
{
    std::unique_ptr<Project> project{Project::createEmpty()};
    BlockCode* root = nullptr;
    BlockCode* inner = nullptr;

    SmallModel()
    {
        auto* standard = new BlockLibraryContainer(QStringLiteral("1"), 0, Text(LanguageManager::German, QStringLiteral("Standard")));
        project->addContainer(standard);
        BlockLibrary* lib = standard->library();
        Block* andBlock = ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                                  {{QStringLiteral("E1")}, {QStringLiteral("E2")}}, {{QStringLiteral("A")}},
                                                  QStringLiteral("and"));
        Block* notBlock = ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_3"), QStringLiteral("NICHT"),
                                                  {{QStringLiteral("E")}}, {{QStringLiteral("A")}}, QStringLiteral("not"));
        Block* composite = ModelBuilder::composite(lib, QStringLiteral("StandardBlock_20"), QStringLiteral("Regler"),
                                                   {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        inner = ModelBuilder::newest(composite)->code();
        ModelBuilder::place(inner, ModelBuilder::newest(andBlock), QPointF(1, 1));
        project->activate();
        BlockInstanceArea* area = project->areas().first();
        root = area->rootDefinition()->code();
        Block* local = ModelBuilder::primitive(area->rootDefinition()->ensureLocalBlockLibrary(), QStringLiteral("LocalBlock_1"),
                                               QStringLiteral("Lokal"), {{QStringLiteral("E")}}, {{QStringLiteral("A")}});
        BlockInstance* a = ModelBuilder::place(root, ModelBuilder::newest(andBlock), QPointF(0, 0));
        BlockInstance* n = ModelBuilder::place(root, ModelBuilder::newest(notBlock), QPointF(10, 0));
        BlockInstance* c = ModelBuilder::place(root, ModelBuilder::newest(composite), QPointF(20, 0));
        ModelBuilder::place(root, ModelBuilder::newest(local), QPointF(0, 10));
        ModelBuilder::wire(root, a, 3, n, 1);
        ModelBuilder::wire(root, n, 2, c, 1);
        area->hierarchy()->rootNode()->createSignalLabel(a->identifier(), 3, QStringLiteral("Start"), 0);
    }
};

QList<unsigned int> allIds(const BlockCode* code)
{
    QList<unsigned int> ids;
    for (const BlockInstance* instance : code->instances())
        ids.append(instance->identifier());
    return ids;
}

void checkConsistent(const BlockCode* code, const QList<unsigned int>& inserted)
{
    for (unsigned int id : inserted) {
        if (!code->instance(id))
            std::abort();
    }
    const QList<unsigned int> ids = allIds(code);
    (void)code->text(ids);
    (void)code->signalsAsText(ids);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    {
        SmallModel model;
        // As they come, and behind a good header, so that the fuzzer need not find the header first.
        for (const QByteArray& payload : {bytes, bytes.startsWith(kHeader) ? bytes : kHeader + bytes}) {
            QMimeData mime;
            mime.setData(BlockCode::TransferMimeType, payload);
            checkConsistent(model.root, model.root->insertTransferData(&mime));
            checkConsistent(model.inner, model.inner->insertTransferData(&mime));
        }
        const QByteArray body = bytes.startsWith(kHeader) ? bytes.mid(kHeader.size()) : bytes;
        checkConsistent(model.root, model.root->restoreCode(body, false));
        checkConsistent(model.root, model.root->restoreCode(body, true));
    }
    // Nodes of the hierarchy go with deleteLater(); without an event loop they would pile up.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    System::instance().clearMessages();
    return 0;
}
