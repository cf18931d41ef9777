#include "StudioWindow.h"

#include "Project.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QScreen>
#include <QTimer>

#include <cstdio>

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
    parser.process(app);

    StudioWindow window;
    const QStringList args = parser.positionalArguments();
    if (!args.isEmpty())
        window.openProject(args.first());
    else
        window.openSample();
    window.show();

    if (parser.isSet(screenshot)) {
        const QString file = parser.value(screenshot);
        QTimer::singleShot(800, &window, [&window, file] {
            const bool ok = window.grab().save(file);
            std::fprintf(ok ? stdout : stderr, ok ? "screenshot written: %s\n" : "screenshot failed: %s\n", qPrintable(file));
            QApplication::exit(ok ? 0 : 1);
        });
    }
    return app.exec();
}
