// Feeds arbitrary bytes to the project reader. A project must come back, or a message saying why not.
#include "Project.h"
#include "System.h"

#include <QApplication>
#include <QByteArray>
#include <QString>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    static QApplication app(*argc, *argv);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    QString error;
    std::unique_ptr<Project> project(Project::loadFromData(bytes, QStringLiteral(ZK_FUZZ_LIBRARY_DIR),
                                                           QStringLiteral("fuzz.zkproj"), &error));
    if (!project && error.isEmpty()) {
        std::fprintf(stderr, "refused without a message\n");
        std::abort();
    }
    if (project) {
        // What was read must also be writable, and the open project must take it.
        const QByteArray text = project->projectText();
        if (text.isEmpty())
            std::abort();
        for (const BlockLibraryContainer* container : project->containers())
            (void)project->libraryText(container);
        project->activate();
        project->deactivate();
    }
    // Nodes of the hierarchy go with deleteLater(); without an event loop they would pile up.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    System::instance().clearMessages();
    return 0;
}
