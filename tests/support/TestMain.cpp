#include "BookmarkFiles.h"
#include "TestRegistry.h"

#include <QApplication>
#include <QTest>

#include <cstdio>
#include <cstring>
#include <memory>

QList<ZkTest::Entry>& ZkTest::registry()
{
    static QList<Entry> entries;
    return entries;
}

// Usage: <exe> [TestClass] [QTest options...]. Without a class name every registered class runs.
int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    app.setOrganizationName(QStringLiteral("Marlenbach Motion Test"));
    app.setApplicationName(QStringLiteral("Zerkanta Test"));
    useScratchBookmarkFolder();

    const char* only = nullptr;
    QList<char*> args{argv[0]};
    for (int i = 1; i < argc; ++i) {
        if (!only && argv[i][0] != '-' && i == 1)
            only = argv[i];
        else
            args.append(argv[i]);
    }
    int failures = 0;
    bool found = false;
    for (const ZkTest::Entry& entry : ZkTest::registry()) {
        if (only && std::strcmp(only, entry.name) != 0)
            continue;
        found = true;
        std::unique_ptr<QObject> test(entry.make());
        failures += QTest::qExec(test.get(), int(args.size()), args.data());
    }
    if (only && !found) {
        std::fprintf(stderr, "no test class named %s\n", only);
        return 2;
    }
    return failures ? 1 : 0;
}
