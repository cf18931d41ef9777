#include "TestModel.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockLibraryFile.h"
#include "BlockPin.h"
#include "BlockRepository.h"
#include "LanguageManager.h"
#include "ModelBuilder.h"
#include "Project.h"
#include "System.h"

#include <QDir>
#include <QFile>
#include <QWidget>

using ModelBuilder::PinSpec;

TestModel::TestModel()
{
    System::instance().setUserAccessLevelCode(3);
    LanguageManager::instance().setActiveLanguage(LanguageManager::German);
    m_project = Project::createEmpty();
    m_area = m_project->areas().first();
    m_global = new BlockInstanceArea(0, 0, 0, nullptr, false);
    m_global->setDisplayName(QStringLiteral("Global"));
    m_project->addArea(m_global);
    m_standard = new BlockLibraryContainer(QStringLiteral("1"), 0, Text(LanguageManager::German, QStringLiteral("Standard")));
    m_user = new BlockLibraryFile(QStringLiteral("user"), 256, Text(LanguageManager::German, QStringLiteral("Benutzer")),
                                  QDir::temp().filePath(QStringLiteral("zk-test-user.zklib")));
    m_project->addContainer(m_standard);
    m_project->addContainer(m_user);
    BlockLibrary* lib = m_standard->library();
    const uchar B = DatatypeProvider::Bool, D = DatatypeProvider::DInt, A = DatatypeProvider::Any;
    Block* andBlock = ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_1"), QStringLiteral("UND"),
                                              {{QStringLiteral("E1"), B}, {QStringLiteral("E2"), B}}, {{QStringLiteral("A"), B}},
                                              QStringLiteral("and"));
    andBlock->setGroupPath(QStringLiteral("1;2"));
    ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_2"), QStringLiteral("ODER"),
                            {{QStringLiteral("E1"), B}, {QStringLiteral("E2"), B}}, {{QStringLiteral("A"), B}},
                            QStringLiteral("or"))
        ->setGroupPath(QStringLiteral("1;2"));
    ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_3"), QStringLiteral("NICHT"), {{QStringLiteral("E"), B}},
                            {{QStringLiteral("A"), B}}, QStringLiteral("not"))
        ->setGroupPath(QStringLiteral("1;2"));
    ModelBuilder::primitive(lib, QStringLiteral("StandardBlock_10"), QStringLiteral("ADD"),
                            {{QStringLiteral("E1"), D}, {QStringLiteral("E2"), D}}, {{QStringLiteral("A"), D}},
                            QStringLiteral("add"))
        ->setGroupPath(QStringLiteral("1;3"));
    Block* regler = ModelBuilder::composite(lib, QStringLiteral("StandardBlock_20"), QStringLiteral("Regler"),
                                            {{QStringLiteral("E"), B}}, {{QStringLiteral("A"), B}});
    regler->setGroupPath(QStringLiteral("4"));
    BlockCode* inner = ModelBuilder::newest(regler)->code();
    ModelBuilder::place(inner, ModelBuilder::newest(andBlock), QPointF(5, 5));
    ModelBuilder::primitive(lib, QStringLiteral("ToolBlock_8000008"), QStringLiteral("Konstante"), {},
                            {{QStringLiteral("K"), A}}, QStringLiteral("constant"), 1);
    Block* read = ModelBuilder::primitive(lib, QStringLiteral("MagicBlock_300005"), QStringLiteral("Parameter lesen"),
                                          {{QStringLiteral("FREI"), B}}, {{QStringLiteral("W"), D}}, QStringLiteral("parameterRead"));
    BlockPin enable = *read->blockDefinition(0)->pin(1);
    enable.setDefaultInitialValue(QStringLiteral("TRUE"));
    read->blockDefinition(0)->setPin(enable);
    ModelBuilder::primitive(lib, QStringLiteral("MagicBlock_300006"), QStringLiteral("Parameter schreiben"),
                            {{QStringLiteral("W"), D}}, {}, QStringLiteral("parameterWrite"));
    m_project->setGroupName(1, Text(LanguageManager::German, QStringLiteral("Logik")));
    m_project->setGroupName(2, Text(LanguageManager::German, QStringLiteral("Gatter")));
    m_project->activate();
}

TestModel::~TestModel()
{
    delete m_project;
    System::instance().setUserAccessLevelCode(3);
}

BlockCode* TestModel::rootCode() const
{
    return m_area->rootDefinition()->code();
}

Block* TestModel::block(const QString& identifier) const
{
    return BlockRepository::instance().block(identifier);
}

Project* TestModel::loadJson(const QByteArray& json, QString* error)
{
    return Project::loadFromData(json, QDir::currentPath(), QStringLiteral("test.json"), error);
}

QString testDataPath(const QString& relative)
{
    return QDir(QStringLiteral(ZK_TEST_DATA_DIR)).filePath(relative);
}

QString sampleProjectDir()
{
    QDir dir(QStringLiteral(ZK_TEST_DATA_DIR));
    dir.cdUp();
    dir.cdUp();
    return dir.filePath(QStringLiteral("samples/sample"));
}

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QList<unsigned int> instanceIds(const BlockCode* code)
{
    QList<unsigned int> ids;
    const QList<BlockInstance*> instances = code->instances();
    for (const BlockInstance* instance : instances)
        ids.append(instance->identifier());
    return ids;
}

QByteArray wholeText(const BlockCode* code)
{
    const QList<unsigned int> ids = instanceIds(code);
    return code->text(ids) + code->signalsAsText(ids);
}

void closeHelpWindow()
{
    delete BlockRepository::instance().helpWindow();
}
