#include "ParameterDefinitionSaver.h"

#include "LineEscape.h"
#include "ParameterDefinition.h"
#include "ParameterText.h"
#include "RecordParameterDefinition.h"

#include <QList>

namespace {

const char kLineEnd[] = "\r\n";

void appendStrings(QByteArray& out, int id, const ParameterText& text)
{
    const QByteArray prefix = QByteArray::number(id) + '_';
    for (int language : text.languages()) {
        const QByteArray head = prefix + QByteArray::number(language) + '_';
        const QString shortText = text.shortTextOf(language);
        if (!shortText.isEmpty())
            out += head + "s=" + escapeLineBreaks(shortText) + kLineEnd;
        const QString longText = text.longTextOf(language);
        if (!longText.isEmpty())
            out += head + "l=" + escapeLineBreaks(longText) + kLineEnd;
    }
}

} // namespace

QByteArray ParameterDefinitionSaver::saveParameterDefinition(ParameterDefinition* definition)
{
    if (!definition)
        return QByteArray();
    const RecordParameterDefinition* record = definition->queryRecordParameterDefinition();

    QByteArray out;
    out += record ? ";type=\"record\" version=\"0\"" : ";type=\"parameter\" version=\"0\"";
    out += kLineEnd;
    out += kLineEnd;
    out += "[Parameter]";
    out += kLineEnd;

    // String ids follow the order of the references in the text; keyValues() numbers the text keys
    // the same way.
    QList<const ParameterText*> strings;
    for (const ParameterDefinition::KeyValue& kv : definition->keyValues()) {
        out += kv.first + '=' + kv.second + kLineEnd;
        if (kv.first == ParameterDefinition::NameKey)
            strings.append(&definition->m_name);
        else if (kv.first == ParameterDefinition::DescriptionKey)
            strings.append(&definition->m_description);
    }

    if (record) {
        out += kLineEnd;
        out += "[Elements]";
        out += kLineEnd;
        for (unsigned short element : record->elementList()) {
            out += QByteArray::number(element) + "=<localString:" + QByteArray::number(strings.size()) + '>'
                + kLineEnd;
            strings.append(&record->elementName(element));
        }
    }

    out += kLineEnd;
    out += "[Strings]";
    out += kLineEnd;
    for (int id = 0; id < strings.size(); ++id)
        appendStrings(out, id, *strings.at(id));
    return out;
}
