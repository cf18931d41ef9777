// A program of another project that uses the installed component and its model.
#include <Block.h>
#include <BlockCode.h>
#include <BlockDefinition.h>
#include <BlockInstanceArea.h>
#include <MdiSubWindow.h>
#include <StatusEntry.h>
#include <System.h>

#include <QApplication>
#include <QStatusBar>

#include <cstdio>

namespace {

class Window : public MdiSubWindow
{
public:
    QString title() override { return QStringLiteral("consumer"); }
    QStatusBar* statusBar() override { return &m_bar; }

private:
    QStatusBar m_bar;
};

} // namespace

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    BlockInstanceArea area(1, 0, 1);
    Window window;
    System::instance().setMainWindow(&window);
    if (!area.rootDefinition() || !area.rootDefinition()->code() || window.title() != QLatin1String("consumer"))
        return 1;
    std::printf("consumer ok\n");
    return 0;
}
