#include "ParameterDefinitionLoader.h"

#include "ParameterDefinition.h"
#include "ParameterText.h"
#include "RecordParameterDefinition.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QRegularExpression>

#include <memory>

namespace {

enum class Section { None, Parameter, Elements, Strings, Unknown };

struct ParsedText
{
    bool record = false;
    bool hasParameterSection = false;
    QList<ParameterDefinition::KeyValue> keys;
    QList<QPair<unsigned short, QByteArray>> elements;
    QHash<uint, ParameterText> strings;
};

QString unescaped(const QByteArray& text)
{
    QByteArray out;
    out.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        if (c != '\\' || i + 1 == text.size()) {
            out += c;
            continue;
        }
        const char next = text.at(i + 1);
        switch (next) {
        case '\\': out += '\\'; ++i; break;
        case 'n': out += '\n'; ++i; break;
        case 'r': out += '\r'; ++i; break;
        // Kept as written, so that a hand-written Windows path survives.
        default: out += c; break;
        }
    }
    return QString::fromUtf8(out);
}

// "<localString:N>"; -1 for anything else.
qint64 stringReference(const QByteArray& value)
{
    static const QByteArray head = QByteArrayLiteral("<localString:");
    if (!value.startsWith(head) || !value.endsWith('>'))
        return -1;
    const QByteArray digits = value.mid(head.size(), value.size() - head.size() - 1);
    if (digits.isEmpty())
        return -1;
    for (char c : digits) {
        if (c < '0' || c > '9')
            return -1;
    }
    bool ok = false;
    const uint id = digits.toUInt(&ok);
    return ok ? qint64(id) : -1;
}

bool readHeader(const QByteArray& line, bool* record)
{
    if (!line.startsWith(';'))
        return false;
    static const QRegularExpression attribute(QStringLiteral("(\\w+)=\"([^\"]*)\""));
    QString type;
    QString version = QStringLiteral("0");
    auto it = attribute.globalMatch(QString::fromUtf8(line.mid(1)));
    while (it.hasNext()) {
        const auto m = it.next();
        if (m.captured(1) == QLatin1String("type"))
            type = m.captured(2);
        else if (m.captured(1) == QLatin1String("version"))
            version = m.captured(2);
    }
    // A later version may mean something else by the same keys; better to refuse than to misread.
    if (version != QLatin1String("0"))
        return false;
    if (type == QLatin1String("parameter"))
        *record = false;
    else if (type == QLatin1String("record"))
        *record = true;
    else
        return false;
    return true;
}

void readString(ParsedText& parsed, const QByteArray& key, const QByteArray& value)
{
    const QList<QByteArray> parts = key.split('_');
    if (parts.size() != 3)
        return;
    bool idOk = false;
    bool languageOk = false;
    const uint id = parts.at(0).toUInt(&idOk);
    const int language = parts.at(1).toInt(&languageOk);
    if (!idOk || !languageOk)
        return;
    if (parts.at(2) == "s")
        parsed.strings[id].setShortText(language, unescaped(value));
    else if (parts.at(2) == "l")
        parsed.strings[id].setLongText(language, unescaped(value));
}

bool parse(const QByteArray& input, ParsedText& parsed)
{
    QByteArray text = input;
    if (text.startsWith("\xEF\xBB\xBF"))
        text.remove(0, 3);
    QList<QByteArray> lines = text.split('\n');
    for (QByteArray& line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
    }
    if (lines.isEmpty() || !readHeader(lines.first(), &parsed.record))
        return false;

    Section section = Section::None;
    for (int i = 1; i < lines.size(); ++i) {
        const QByteArray& line = lines.at(i);
        if (line.isEmpty() || line.startsWith(';'))
            continue;
        if (line.startsWith('[') && line.endsWith(']')) {
            const QByteArray name = line.mid(1, line.size() - 2);
            if (name == "Parameter") {
                section = Section::Parameter;
                parsed.hasParameterSection = true;
            } else if (name == "Elements") {
                section = Section::Elements;
            } else if (name == "Strings") {
                section = Section::Strings;
            } else {
                section = Section::Unknown;
            }
            continue;
        }
        const int eq = line.indexOf('=');
        if (eq < 0)
            continue;
        const QByteArray key = line.left(eq);
        const QByteArray value = line.mid(eq + 1);
        switch (section) {
        case Section::Parameter:
            parsed.keys.append({key, value});
            break;
        case Section::Elements: {
            bool ok = false;
            const ushort element = key.toUShort(&ok);
            if (ok)
                parsed.elements.append({element, value});
            break;
        }
        case Section::Strings:
            readString(parsed, key, value);
            break;
        case Section::None:
        case Section::Unknown:
            break;
        }
    }
    if (!parsed.hasParameterSection)
        return false;
    for (const ParameterDefinition::KeyValue& kv : parsed.keys) {
        if (kv.first == ParameterDefinition::CoordinatesKey) {
            ParameterDefinition probe;
            return probe.setValue(kv.first, kv.second);
        }
    }
    return false;
}

} // namespace

ParameterDefinition* ParameterDefinitionLoader::createAndLoadParameterDefinition(const QByteArray& text)
{
    ParsedText parsed;
    if (!parse(text, parsed))
        return nullptr;
    std::unique_ptr<ParameterDefinition> definition(parsed.record ? new RecordParameterDefinition
                                                                  : new ParameterDefinition);
    if (!loadParameterDefinition(definition.get(), text))
        return nullptr;
    return definition.release();
}

bool ParameterDefinitionLoader::loadParameterDefinition(ParameterDefinition* definition, const QByteArray& text)
{
    if (!definition)
        return false;
    ParsedText parsed;
    if (!parse(text, parsed) || parsed.record != definition->isRecordParameterDefinition())
        return false;

    ParameterText name;
    ParameterText description;
    bool nameSeen = false;
    bool descriptionSeen = false;
    for (ParameterDefinition::KeyValue& kv : parsed.keys) {
        const bool isName = kv.first == ParameterDefinition::NameKey;
        const bool isDescription = kv.first == ParameterDefinition::DescriptionKey;
        if (!isName && !isDescription)
            continue;
        // The first reference decides; saving writes one key of each, so later ones are copies.
        const qint64 id = stringReference(kv.second);
        if (isName && !nameSeen && id >= 0)
            name = parsed.strings.value(uint(id));
        if (isDescription && !descriptionSeen && id >= 0)
            description = parsed.strings.value(uint(id));
        nameSeen = nameSeen || isName;
        descriptionSeen = descriptionSeen || isDescription;
        kv.second.clear();
    }

    definition->m_keys = parsed.keys;
    definition->m_name = name;
    definition->m_description = description;
    definition->updateCoordinates();
    if (RecordParameterDefinition* record = definition->queryRecordParameterDefinition()) {
        record->clearElements();
        for (const auto& element : parsed.elements) {
            const qint64 id = stringReference(element.second);
            record->setElementName(element.first, id >= 0 ? parsed.strings.value(uint(id)) : ParameterText());
        }
    }
    return true;
}
