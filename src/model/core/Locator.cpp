#include "Locator.h"

Locator::Locator() = default;

Locator::Locator(const QString& text)
{
    parseText(text);
}

Locator::~Locator() = default;

void Locator::parseText(const QString& input)
{
    m_livingSpace = LivingSpaceGlobal;
    m_hasLivingSpace = false;
    m_valid = false;
    m_stack.clear();

    QString text = input.trimmed();
    if (text.isEmpty())
        return;
    const int colon = text.indexOf(QLatin1Char(':'));
    if (colon >= 0) {
        if (!text.startsWith(QLatin1Char('A')))
            return;
        bool ok = false;
        const uint space = QStringView(text).mid(1, colon - 1).toUInt(&ok);
        if (!ok)
            return;
        m_livingSpace = eLivingSpace(space);
        m_hasLivingSpace = true;
        text = text.mid(colon + 1);
    }
    m_valid = true;
    if (text.isEmpty())
        return;
    const QStringList parts = text.split(QLatin1Char('.'));
    for (const QString& part : parts) {
        if (part.isEmpty() || part.contains(QLatin1Char(':'))) {
            m_valid = false;
            m_stack.clear();
            return;
        }
        m_stack.append(part);
    }
}

QString Locator::buildPath(unsigned int livingSpace, const QList<unsigned int>& entries)
{
    QString text = QStringLiteral("A%1:").arg(livingSpace);
    for (int i = 0; i < entries.size(); ++i) {
        if (i)
            text += QLatin1Char('.');
        text += QString::number(entries.at(i));
    }
    return text;
}
