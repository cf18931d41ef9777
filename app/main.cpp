#include "StudioWalk.h"
#include "StudioWindow.h"

#include "BlockBookmarkRepository.h"
#include "Project.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QScreen>
#include <QSettings>
#include <QTimer>

#include <cstdio>

namespace {

// The favourites are one file for all users of the machine. The first start that is allowed to make
// its folder does so, open to everyone, so that every user's studio can replace the file there
// later; without the folder the favourites live only as long as the studio runs.
void prepareSharedBookmarkFolder()
{
    const QString folder = BlockBookmarkRepository::bookmarkFolder();
    if (QFileInfo(folder).isDir() || !QDir().mkpath(folder))
        return;
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner
                                      | QFileDevice::ReadUser | QFileDevice::WriteUser | QFileDevice::ExeUser
                                      | QFileDevice::ReadGroup | QFileDevice::WriteGroup | QFileDevice::ExeGroup
                                      | QFileDevice::ReadOther | QFileDevice::WriteOther | QFileDevice::ExeOther);
}

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    app.setOrganizationName(QStringLiteral("Marlenbach Motion"));
    app.setApplicationName(QStringLiteral("Zerkanta"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Zerkanta Bausteinstudio"));
    parser.addHelpOption();
    parser.addPositionalArgument(QStringLiteral("project"), QStringLiteral("Projektdatei (sonst das Beispielprojekt)"));
    QCommandLineOption screenshot(QStringLiteral("screenshot"), QStringLiteral("Bild des Fensters nach dem Start schreiben und beenden"),
                                  QStringLiteral("file"));
    parser.addOption(screenshot);
    QCommandLineOption walk(QStringLiteral("walk"),
                            QStringLiteral("Einen festen Rundgang durch das Beispielprojekt gehen, nach jedem Schritt ein Bild "
                                           "in das Verzeichnis schreiben und beenden"),
                            QStringLiteral("directory"));
    parser.addOption(walk);
    QCommandLineOption tourOption(QStringLiteral("tour"),
                            QStringLiteral("Welcher Rundgang: %1 (ohne Angabe der erste)").arg(StudioWalk::tourNames().join(QStringLiteral(", "))),
                            QStringLiteral("name"));
    parser.addOption(tourOption);
    parser.process(app);

    const bool walking = parser.isSet(walk);
    if (walking) {
        // The walk starts from a first start's layout and leaves the user's own settings alone.
        const QString settings = QDir(parser.value(walk)).absoluteFilePath(QStringLiteral("settings"));
        QDir(settings).removeRecursively();
        QSettings::setPath(QSettings::NativeFormat, QSettings::UserScope, settings);
        QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, settings);
        // Nor does it touch the favourites that the users of this machine share.
        BlockBookmarkRepository::setCommonDataFolder(QDir(parser.value(walk)).absoluteFilePath(QStringLiteral("shared")));
    }
    // Runs that only take pictures leave the machine as they found it.
    if (!walking && !parser.isSet(screenshot))
        prepareSharedBookmarkFolder();

    StudioWindow window;
    const QStringList args = parser.positionalArguments();
    if (!args.isEmpty() && !walking)
        window.openProject(args.first());
    else
        window.openSample();
    if (walking) {
        const QRect screen = window.screen() ? window.screen()->availableGeometry() : QRect(0, 0, 1600, 1000);
        window.resize(screen.size().boundedTo(QSize(1560, 960)));
    }
    window.show();

    if (walking) {
        // As under a user's hands: the window has the focus, and its scenes count as active.
        window.activateWindow();
        auto* tour = new StudioWalk(&window, parser.value(walk), parser.value(tourOption));
        QObject::connect(tour, &StudioWalk::finished, &app, [](bool ok) {
            std::printf(ok ? "walk finished\n" : "walk finished with failures\n");
            QApplication::exit(ok ? 0 : 1);
        });
        tour->start();
    } else if (parser.isSet(screenshot)) {
        const QString file = parser.value(screenshot);
        QTimer::singleShot(800, &window, [&window, file] {
            const bool ok = window.grab().save(file);
            std::fprintf(ok ? stdout : stderr, ok ? "screenshot written: %s\n" : "screenshot failed: %s\n", qPrintable(file));
            QApplication::exit(ok ? 0 : 1);
        });
    }
    return app.exec();
}
