#include "BlockRepository.h"

#include "Block.h"
#include "BlockDefinition.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "DatatypeProvider.h"
#include "SimpleType.h"
#include "System.h"

#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QTextBrowser>
#include <QVBoxLayout>

#include <algorithm>

namespace {

QString pinRows(const BlockDefinition* definition, eBlockPinFunction function)
{
    QString rows;
    for (int id : definition->pins()) {
        const BlockPin* pin = definition->pin(id);
        if (pin->function() != function)
            continue;
        const SimpleType* type = DatatypeProvider::instance()->simpleType(pin->datatype());
        rows += QStringLiteral("<tr><td>%1</td><td><b>%2</b></td><td>%3</td><td>%4</td><td>%5</td></tr>")
                    .arg(id)
                    .arg(pin->shortName().toHtmlEscaped(), pin->name().text().toHtmlEscaped(),
                         type ? type->shortName() : QStringLiteral("????"),
                         pin->description().text().toHtmlEscaped());
    }
    return rows;
}

} // namespace

BlockRepository::BlockRepository() = default;

BlockRepository& BlockRepository::instance()
{
    static BlockRepository* repository = new BlockRepository;
    return *repository;
}

BlockDefinition* BlockRepository::blockDefinition(const QString& identifier, unsigned int version) const
{
    const Block* b = block(identifier);
    return b ? b->blockDefinition(version) : nullptr;
}

Block* BlockRepository::block(const QString& identifier) const
{
    for (const BlockLibraryContainer* container : m_containers) {
        if (Block* b = container->library()->block(identifier))
            return b;
    }
    return nullptr;
}

QList<BlockLibrary*> BlockRepository::libraries() const
{
    QList<BlockLibrary*> list;
    list.reserve(m_containers.size());
    for (const BlockLibraryContainer* container : m_containers)
        list.append(container->library());
    return list;
}

BlockLibraryContainer* BlockRepository::container(const QString& identifier) const
{
    for (BlockLibraryContainer* container : m_containers) {
        if (container->identifier() == identifier)
            return container;
    }
    return nullptr;
}

bool BlockRepository::addContainer(BlockLibraryContainer* container)
{
    if (!container || m_containers.contains(container) || this->container(container->identifier()))
        return false;
    m_containers.append(container);
    container->setParent(this);
    connect(container->library(), &BlockLibrary::contentsChanged, this, &BlockRepository::changed);
    connect(container->library(), &BlockLibrary::contentsChanged, this, &BlockRepository::groupsChanged);
    Q_EMIT changed();
    Q_EMIT groupsChanged();
    return true;
}

BlockLibraryContainer* BlockRepository::removeContainer(const QString& identifier)
{
    BlockLibraryContainer* c = container(identifier);
    if (!c)
        return nullptr;
    m_containers.removeOne(c);
    disconnect(c->library(), nullptr, this, nullptr);
    c->setParent(nullptr);
    Q_EMIT changed();
    Q_EMIT groupsChanged();
    return c;
}

void BlockRepository::clear()
{
    if (m_containers.isEmpty() && m_groupNames.isEmpty())
        return;
    const auto containers = m_containers;
    m_containers.clear();
    for (BlockLibraryContainer* c : containers) {
        disconnect(c->library(), nullptr, this, nullptr);
        delete c;
    }
    m_groupNames.clear();
    Q_EMIT changed();
    Q_EMIT groupsChanged();
}

Text BlockRepository::blockGroupName(unsigned int group) const
{
    return m_groupNames.value(group);
}

void BlockRepository::setBlockGroupName(unsigned int group, const Text& name)
{
    if (m_groupNames.value(group) == name && m_groupNames.contains(group))
        return;
    m_groupNames.insert(group, name);
    Q_EMIT groupsChanged();
}

QList<unsigned int> BlockRepository::blockGroups() const
{
    QList<unsigned int> groups = m_groupNames.keys();
    std::sort(groups.begin(), groups.end());
    return groups;
}

QString BlockRepository::groupPathText(const QString& groupPath) const
{
    QStringList names;
    for (const QString& part : groupPath.split(QLatin1Char(';'), Qt::SkipEmptyParts)) {
        const unsigned int group = part.toUInt();
        const QString name = m_groupNames.value(group).text();
        names.append(name.isEmpty() ? part : name);
    }
    return names.join(QStringLiteral(" / "));
}

QString BlockRepository::blockHelpHtml(const BlockDefinition* definition) const
{
    if (!definition || !definition->block())
        return QString();
    const Block* b = definition->block();
    QString html = QStringLiteral("<h2>%1</h2>").arg(b->name().text().toHtmlEscaped());
    const QString number = b->displayNumber();
    html += QStringLiteral("<p>%1: %2, %3 %4")
                .arg(tr("Baustein"), number.isEmpty() ? b->identifier().toHtmlEscaped() : number, tr("Version"))
                .arg(definition->version());
    if (!b->shortName().isEmpty())
        html += QStringLiteral(", %1 %2").arg(tr("Kurzname"), b->shortName().toHtmlEscaped());
    html += QStringLiteral("</p>");
    if (!b->groupPath().isEmpty())
        html += QStringLiteral("<p>%1: %2</p>").arg(tr("Gruppe"), groupPathText(b->groupPath()).toHtmlEscaped());
    const QString description = definition->description().text();
    html += QStringLiteral("<h3>%1</h3><p>%2</p>")
                .arg(tr("Funktion"),
                     description.isEmpty() ? tr("Zu diesem Baustein gibt es keine Beschreibung.")
                                           : description.toHtmlEscaped().replace(QLatin1Char('\n'), QStringLiteral("<br>")));
    const QString header = QStringLiteral("<tr><th>%1</th><th>%2</th><th>%3</th><th>%4</th><th>%5</th></tr>")
                               .arg(tr("Nr."), tr("Kurzname"), tr("Name"), tr("Typ"), tr("Bedeutung"));
    const QString inputs = pinRows(definition, BlockPinFunctionInput);
    const QString outputs = pinRows(definition, BlockPinFunctionOutput);
    if (!inputs.isEmpty())
        html += QStringLiteral("<h3>%1</h3><table border=\"1\" cellpadding=\"3\" cellspacing=\"0\">%2%3</table>")
                    .arg(tr("Eingänge"), header, inputs);
    if (!outputs.isEmpty())
        html += QStringLiteral("<h3>%1</h3><table border=\"1\" cellpadding=\"3\" cellspacing=\"0\">%2%3</table>")
                    .arg(tr("Ausgänge"), header, outputs);
    return html;
}

QString BlockRepository::helpContentHtml(const QString& helpId) const
{
    static const QString groupPrefix = QStringLiteral("BlockGroup_");
    if (helpId.startsWith(groupPrefix)) {
        bool ok = false;
        const unsigned int group = helpId.mid(groupPrefix.size()).toUInt(&ok);
        if (!ok)
            return QString();
        QString list;
        for (const BlockLibraryContainer* container : m_containers) {
            for (const Block* b : container->library()->blocks()) {
                const QStringList path = b->groupPath().split(QLatin1Char(';'));
                if (!path.contains(QString::number(group)))
                    continue;
                const QString number = b->displayNumber();
                list += QStringLiteral("<li>%1 &ndash; %2</li>")
                            .arg(number.isEmpty() ? b->identifier().toHtmlEscaped() : number,
                                 b->name().text().toHtmlEscaped());
            }
        }
        const QString name = blockGroupName(group).text();
        if (name.isEmpty() && list.isEmpty())
            return QString();
        return QStringLiteral("<h2>%1</h2><p>%2</p><ul>%3</ul>")
            .arg((name.isEmpty() ? helpId : name).toHtmlEscaped(), tr("Bausteine dieser Gruppe:"), list);
    }
    // Otherwise the identifier of a block, at its newest version.
    if (const Block* b = block(helpId)) {
        const QList<unsigned int> versions = b->versions();
        if (!versions.isEmpty())
            return blockHelpHtml(b->blockDefinition(versions.last()));
    }
    return QString();
}

bool BlockRepository::showBlockHelp(const BlockDefinition* definition) const
{
    const Block* block = definition ? definition->block() : nullptr;
    Q_EMIT helpRequested(block ? QStringLiteral("%1;%2").arg(block->identifier()).arg(definition->version()) : QString());
    const QString html = blockHelpHtml(definition);
    if (html.isEmpty())
        return false;
    return showHtml(definition->block()->name().text(), html);
}

bool BlockRepository::showBlockHelp(const QString& identifier, unsigned int version) const
{
    return showBlockHelp(blockDefinition(identifier, version));
}

bool BlockRepository::showHelpContent(const QString& helpId) const
{
    Q_EMIT helpRequested(helpId);
    const QString html = helpContentHtml(helpId);
    if (html.isEmpty())
        return false;
    return showHtml(helpId, html);
}

QWidget* BlockRepository::helpWindow() const
{
    return m_helpWindow.data();
}

bool BlockRepository::showHtml(const QString& title, const QString& html) const
{
    QWidget* parent = System::instance().mainWindow();
    if (m_helpWindow && m_helpWindow->parentWidget() != parent) {
        m_helpWindow->deleteLater();
        m_helpWindow = nullptr;
    }
    if (!m_helpWindow) {
        auto* dialog = new QDialog(parent, Qt::Window);
        dialog->setObjectName(QStringLiteral("blockHelpWindow"));
        dialog->setAttribute(Qt::WA_DeleteOnClose, parent == nullptr);
        auto* layout = new QVBoxLayout(dialog);
        auto* browser = new QTextBrowser(dialog);
        browser->setObjectName(QStringLiteral("helpBrowser"));
        layout->addWidget(browser);
        auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
        QObject::connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::close);
        layout->addWidget(buttons);
        dialog->resize(560, 480);
        m_helpWindow = dialog;
    }
    m_helpWindow->setWindowTitle(tr("Hilfe - %1").arg(title));
    if (auto* browser = m_helpWindow->findChild<QTextBrowser*>(QStringLiteral("helpBrowser")))
        browser->setHtml(html);
    m_helpWindow->show();
    m_helpWindow->raise();
    return true;
}
