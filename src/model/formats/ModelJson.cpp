#include "ModelJson.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockLibrary.h"
#include "BlockLibraryContainer.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockRepository.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ParameterDefinition.h"
#include "ParameterDefinitionLoader.h"
#include "ParameterDefinitionSaver.h"

#include <QJsonDocument>
#include <QSet>

#include <algorithm>

namespace ModelJson {

namespace {

QJsonArray pointToJson(const QPointF& p)
{
    return QJsonArray{p.x(), p.y()};
}

QPointF pointFromJson(const QJsonValue& v)
{
    const QJsonArray a = v.toArray();
    return QPointF(a.at(0).toDouble(), a.at(1).toDouble());
}

QJsonValue sizeToJson(const QSizeF& s)
{
    if (!s.isValid())
        return QJsonValue::Null;
    return QJsonArray{s.width(), s.height()};
}

QSizeF sizeFromJson(const QJsonValue& v)
{
    if (!v.isArray())
        return QSizeF();
    const QJsonArray a = v.toArray();
    return QSizeF(a.at(0).toDouble(), a.at(1).toDouble());
}

QJsonArray intsToJson(const QList<int>& list)
{
    QJsonArray a;
    for (int i : list)
        a.append(i);
    return a;
}

QList<int> intsFromJson(const QJsonValue& v)
{
    QList<int> list;
    for (const QJsonValue& e : v.toArray())
        list.append(e.toInt());
    return list;
}

bool isPoint(const QJsonValue& v)
{
    if (!v.isArray())
        return false;
    const QJsonArray a = v.toArray();
    return a.size() == 2 && a.at(0).isDouble() && a.at(1).isDouble();
}

bool isUInt(const QJsonValue& v)
{
    if (!v.isDouble())
        return false;
    const double d = v.toDouble();
    return d >= 0 && d <= 4294967295.0 && d == double(qint64(d));
}

bool isInt(const QJsonValue& v)
{
    if (!v.isDouble())
        return false;
    const double d = v.toDouble();
    return d >= -2147483648.0 && d <= 2147483647.0 && d == double(qint64(d));
}

QJsonValue pinEndToJson(const BlockPinInstance* pin)
{
    if (!pin || !pin->owner())
        return QJsonValue::Null;
    return QJsonArray{double(pin->owner()->identifier()), pin->identifier()};
}

} // namespace

QJsonObject textToJson(const Text& text)
{
    QJsonObject o;
    for (int language : text.textLanguages())
        o.insert(LanguageManager::languageCode(language), text.text(language));
    return o;
}

Text textFromJson(const QJsonValue& value)
{
    Text text;
    if (value.isString()) {
        text.setText(LanguageManager::German, value.toString());
        return text;
    }
    const QJsonObject o = value.toObject();
    for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
        const int language = LanguageManager::languageFromCode(it.key());
        if (language >= 0)
            text.setText(language, it.value().toString());
    }
    return text;
}

QJsonObject codeToJson(const BlockCode* code)
{
    QJsonObject o;
    QJsonArray instances;
    for (const BlockInstance* instance : code->instances()) {
        QJsonObject i;
        i.insert(QStringLiteral("id"), double(instance->identifier()));
        const Block* block = instance->block();
        i.insert(QStringLiteral("block"), block ? block->identifier() : instance->blockIdentifier());
        i.insert(QStringLiteral("version"), double(block ? instance->version() : instance->blockVersion()));
        i.insert(QStringLiteral("name"), instance->name());
        i.insert(QStringLiteral("position"), pointToJson(instance->position()));
        i.insert(QStringLiteral("realtime"), double(code->realtime(instance->identifier())));
        i.insert(QStringLiteral("background"), double(code->background(instance->identifier())));
        i.insert(QStringLiteral("parameters"), instance->parameterText(0));
        i.insert(QStringLiteral("lines"), QJsonArray::fromStringList(instance->lines()));
        i.insert(QStringLiteral("note"), instance->note());
        i.insert(QStringLiteral("error"), instance->error());
        i.insert(QStringLiteral("size"), sizeToJson(instance->ownSize()));
        QJsonArray pins;
        for (const BlockPinInstance* pin : instance->pins()) {
            if (!pin->isInverted() && !pin->isRemanent() && pin->initialValue().isEmpty())
                continue;
            QJsonObject p;
            p.insert(QStringLiteral("id"), pin->identifier());
            p.insert(QStringLiteral("inverted"), pin->isInverted());
            p.insert(QStringLiteral("remanent"), pin->isRemanent());
            p.insert(QStringLiteral("initial"), pin->initialValue());
            pins.append(p);
        }
        i.insert(QStringLiteral("pins"), pins);
        instances.append(i);
    }
    o.insert(QStringLiteral("instances"), instances);
    QJsonArray connections;
    for (const BlockPinConnection* c : code->connections()) {
        QJsonObject j;
        j.insert(QStringLiteral("source"), pinEndToJson(c->source()));
        j.insert(QStringLiteral("target"), pinEndToJson(c->target()));
        QJsonArray nodes;
        for (const QPointF& p : c->nodePositions())
            nodes.append(pointToJson(p));
        j.insert(QStringLiteral("nodes"), nodes);
        connections.append(j);
    }
    o.insert(QStringLiteral("connections"), connections);
    return o;
}

QJsonObject definitionToJson(const BlockDefinition* d)
{
    QJsonObject o;
    o.insert(QStringLiteral("version"), double(d->version()));
    o.insert(QStringLiteral("type"), d->blockType());
    o.insert(QStringLiteral("function"), d->function());
    o.insert(QStringLiteral("description"), textToJson(d->description()));
    o.insert(QStringLiteral("accessWrite"), double(d->accessLevelWrite()));
    o.insert(QStringLiteral("accessRead"), double(d->accessLevelRead()));
    o.insert(QStringLiteral("stepIn"), d->stepInEnabled());
    o.insert(QStringLiteral("runtime"), int(d->runtimeMembership()));
    o.insert(QStringLiteral("parameterBlock"), d->isParameterDefinitionBlock());
    QJsonArray pins;
    for (int id : d->pins()) {
        const BlockPin* pin = d->pin(id);
        QJsonObject p;
        p.insert(QStringLiteral("id"), pin->identifier());
        p.insert(QStringLiteral("function"), int(pin->function()));
        p.insert(QStringLiteral("datatype"), int(pin->datatype()));
        p.insert(QStringLiteral("shortName"), pin->shortName());
        p.insert(QStringLiteral("name"), textToJson(pin->name()));
        p.insert(QStringLiteral("description"), textToJson(pin->description()));
        p.insert(QStringLiteral("invertible"), pin->isInvertible());
        p.insert(QStringLiteral("initial"), pin->defaultInitialValue());
        pins.append(p);
    }
    o.insert(QStringLiteral("pins"), pins);
    const BlockSymbol* s = d->symbol();
    QJsonObject symbol;
    symbol.insert(QStringLiteral("inputs"), intsToJson(s->inputPins()));
    symbol.insert(QStringLiteral("outputs"), intsToJson(s->outputPins()));
    symbol.insert(QStringLiteral("defaultSize"), sizeToJson(s->defaultSize()));
    symbol.insert(QStringLiteral("size"), s->hasOwnSize() ? sizeToJson(s->size()) : QJsonValue(QJsonValue::Null));
    symbol.insert(QStringLiteral("image"), QString::fromLatin1(s->image().toBase64()));
    o.insert(QStringLiteral("symbol"), symbol);
    o.insert(QStringLiteral("icon"), QString::fromLatin1(d->smallListImageSource().toBase64()));
    QJsonArray parameters;
    for (unsigned int index : d->parameterIdentifiers(-1)) {
        ParameterDefinition* parameter = d->parameterDefinition(-1, index);
        QJsonObject p;
        p.insert(QStringLiteral("index"), double(index));
        p.insert(QStringLiteral("text"), QString::fromUtf8(ParameterDefinitionSaver::saveParameterDefinition(parameter)));
        parameters.append(p);
    }
    o.insert(QStringLiteral("parameters"), parameters);
    QJsonArray locals;
    if (const BlockLibrary* library = d->existingLocalBlockLibrary()) {
        for (const Block* block : library->blocks())
            locals.append(blockToJson(block));
    }
    o.insert(QStringLiteral("localBlocks"), locals);
    if (d->code())
        o.insert(QStringLiteral("code"), codeToJson(d->code()));
    return o;
}

QJsonObject blockToJson(const Block* block)
{
    QJsonObject o;
    o.insert(QStringLiteral("identifier"), block->identifier());
    o.insert(QStringLiteral("name"), textToJson(block->name()));
    o.insert(QStringLiteral("shortName"), block->shortName());
    o.insert(QStringLiteral("group"), block->groupPath());
    o.insert(QStringLiteral("user"), block->isUserBlock());
    o.insert(QStringLiteral("fallback"), block->isFallbackBlock());
    o.insert(QStringLiteral("versionVisible"), block->versionVisible());
    if (!block->originIdentifier().isEmpty()) {
        o.insert(QStringLiteral("origin"), QJsonObject{{QStringLiteral("identifier"), block->originIdentifier()},
                                                       {QStringLiteral("version"), double(block->originVersion())}});
    }
    QJsonArray definitions;
    for (const BlockDefinition* d : block->definitions())
        definitions.append(definitionToJson(d));
    o.insert(QStringLiteral("definitions"), definitions);
    return o;
}

// ---------------------------------------------------------------------------------------------

Reader::Reader(const QString& fileName)
    : m_fileName(fileName)
{
}

void Reader::fail(const QString& place, const QString& what)
{
    if (!m_error.isEmpty())
        return;
    m_error = place.isEmpty() ? QStringLiteral("%1: %2").arg(m_fileName, what)
                              : QStringLiteral("%1: %2: %3").arg(m_fileName, place, what);
}

bool Reader::validateText(const QJsonValue& value, const QString& place)
{
    if (value.isUndefined() || value.isString())
        return true;
    if (!value.isObject()) {
        fail(place, QStringLiteral("ein Text muss ein Objekt der Sprachen oder eine Zeichenkette sein"));
        return false;
    }
    const QJsonObject o = value.toObject();
    for (auto it = o.constBegin(); it != o.constEnd(); ++it) {
        if (!it.value().isString()) {
            fail(place + QLatin1Char('.') + it.key(), QStringLiteral("ein Text muss eine Zeichenkette sein"));
            return false;
        }
        if (LanguageManager::languageFromCode(it.key()) < 0) {
            fail(place, QStringLiteral("unbekannte Sprache \"%1\"").arg(it.key()));
            return false;
        }
    }
    return true;
}

bool Reader::validateCode(const QJsonObject& o, const QString& place)
{
    const QJsonValue instances = o.value(QStringLiteral("instances"));
    if (!instances.isUndefined() && !instances.isArray()) {
        fail(place, QStringLiteral("\"instances\" muss eine Liste sein"));
        return false;
    }
    QSet<unsigned int> ids;
    QHash<unsigned int, QSet<int>> unusedPins;
    const QJsonArray list = instances.toArray();
    for (int n = 0; n < list.size(); ++n) {
        const QString at = QStringLiteral("%1.instances[%2]").arg(place).arg(n);
        if (!list.at(n).isObject()) {
            fail(at, QStringLiteral("eine Instanz muss ein Objekt sein"));
            return false;
        }
        const QJsonObject i = list.at(n).toObject();
        if (!isUInt(i.value(QStringLiteral("id")))) {
            fail(at, QStringLiteral("\"id\" muss eine vorzeichenlose Zahl sein"));
            return false;
        }
        const unsigned int id = unsigned(i.value(QStringLiteral("id")).toDouble());
        if (id == 0 || ids.contains(id)) {
            fail(at, QStringLiteral("die Kennung %1 ist 0 oder doppelt vergeben").arg(id));
            return false;
        }
        ids.insert(id);
        if (!i.value(QStringLiteral("block")).isString() || i.value(QStringLiteral("block")).toString().isEmpty()) {
            fail(at, QStringLiteral("\"block\" muss einen Baustein nennen"));
            return false;
        }
        if (!isUInt(i.value(QStringLiteral("version")))) {
            fail(at, QStringLiteral("\"version\" muss eine vorzeichenlose Zahl sein"));
            return false;
        }
        if (!isPoint(i.value(QStringLiteral("position")))) {
            fail(at, QStringLiteral("\"position\" muss [x, y] sein"));
            return false;
        }
        if (!i.value(QStringLiteral("error")).isUndefined() && !isInt(i.value(QStringLiteral("error")))) {
            fail(at, QStringLiteral("\"error\" muss eine ganze Zahl sein"));
            return false;
        }
        for (const char* key : {"realtime", "background"}) {
            const QJsonValue v = i.value(QLatin1String(key));
            if (!v.isUndefined() && !isUInt(v)) {
                fail(at, QStringLiteral("\"%1\" muss eine vorzeichenlose Zahl sein").arg(QLatin1String(key)));
                return false;
            }
        }
        for (const char* key : {"name", "parameters", "note"}) {
            const QJsonValue v = i.value(QLatin1String(key));
            if (!v.isUndefined() && !v.isString()) {
                fail(at, QStringLiteral("\"%1\" muss eine Zeichenkette sein").arg(QLatin1String(key)));
                return false;
            }
        }
        const QJsonValue lines = i.value(QStringLiteral("lines"));
        if (!lines.isUndefined()) {
            bool ok = lines.isArray();
            for (const QJsonValue& l : lines.toArray())
                ok = ok && l.isString();
            if (!ok) {
                fail(at, QStringLiteral("\"lines\" muss eine Liste von Zeichenketten sein"));
                return false;
            }
        }
        const QJsonValue size = i.value(QStringLiteral("size"));
        if (!size.isUndefined() && !size.isNull() && !isPoint(size)) {
            fail(at, QStringLiteral("\"size\" muss [Breite, Höhe] oder null sein"));
            return false;
        }
        const QJsonValue pins = i.value(QStringLiteral("pins"));
        if (!pins.isUndefined() && !pins.isArray()) {
            fail(at, QStringLiteral("\"pins\" muss eine Liste sein"));
            return false;
        }
        for (const QJsonValue& p : pins.toArray()) {
            const QJsonObject po = p.toObject();
            if (!p.isObject() || !isInt(po.value(QStringLiteral("id")))) {
                fail(at, QStringLiteral("ein Anschlusseintrag braucht eine \"id\""));
                return false;
            }
            if (!po.value(QStringLiteral("initial")).isUndefined() && !po.value(QStringLiteral("initial")).isString()) {
                fail(at, QStringLiteral("\"initial\" eines Anschlusses muss eine Zeichenkette sein"));
                return false;
            }
        }
    }
    const QJsonValue connections = o.value(QStringLiteral("connections"));
    if (!connections.isUndefined() && !connections.isArray()) {
        fail(place, QStringLiteral("\"connections\" muss eine Liste sein"));
        return false;
    }
    const QJsonArray clist = connections.toArray();
    for (int n = 0; n < clist.size(); ++n) {
        const QString at = QStringLiteral("%1.connections[%2]").arg(place).arg(n);
        const QJsonObject c = clist.at(n).toObject();
        if (!clist.at(n).isObject()) {
            fail(at, QStringLiteral("eine Verbindung muss ein Objekt sein"));
            return false;
        }
        for (const char* key : {"source", "target"}) {
            const QJsonValue end = c.value(QLatin1String(key));
            if (end.isNull() || end.isUndefined())
                continue;
            const QJsonArray a = end.toArray();
            if (!end.isArray() || a.size() != 2 || !isUInt(a.at(0)) || !isInt(a.at(1))) {
                fail(at, QStringLiteral("\"%1\" muss [Instanz, Anschluss] oder null sein").arg(QLatin1String(key)));
                return false;
            }
            if (!ids.contains(unsigned(a.at(0).toDouble()))) {
                fail(at, QStringLiteral("\"%1\" nennt die Instanz %2, die es im Code nicht gibt")
                             .arg(QLatin1String(key))
                             .arg(unsigned(a.at(0).toDouble())));
                return false;
            }
        }
        const QJsonValue nodes = c.value(QStringLiteral("nodes"));
        if (!nodes.isUndefined()) {
            bool ok = nodes.isArray();
            for (const QJsonValue& p : nodes.toArray())
                ok = ok && isPoint(p);
            if (!ok) {
                fail(at, QStringLiteral("\"nodes\" muss eine Liste von [x, y] sein"));
                return false;
            }
        }
    }
    return true;
}

bool Reader::validateDefinition(const QJsonObject& o, const QString& place)
{
    if (!isUInt(o.value(QStringLiteral("version")))) {
        fail(place, QStringLiteral("\"version\" muss eine vorzeichenlose Zahl sein"));
        return false;
    }
    for (const char* key : {"accessWrite", "accessRead", "runtime", "type"}) {
        const QJsonValue v = o.value(QLatin1String(key));
        if (!v.isUndefined() && !isUInt(v)) {
            fail(place, QStringLiteral("\"%1\" muss eine vorzeichenlose Zahl sein").arg(QLatin1String(key)));
            return false;
        }
    }
    if (o.value(QStringLiteral("runtime")).toInt() > RuntimeMembershipNone) {
        fail(place, QStringLiteral("\"runtime\" muss zwischen 0 und 4 liegen"));
        return false;
    }
    if (!validateText(o.value(QStringLiteral("description")), place + QStringLiteral(".description")))
        return false;
    const QJsonValue pins = o.value(QStringLiteral("pins"));
    if (!pins.isUndefined() && !pins.isArray()) {
        fail(place, QStringLiteral("\"pins\" muss eine Liste sein"));
        return false;
    }
    QSet<int> pinIds;
    const QJsonArray plist = pins.toArray();
    for (int n = 0; n < plist.size(); ++n) {
        const QString at = QStringLiteral("%1.pins[%2]").arg(place).arg(n);
        const QJsonObject p = plist.at(n).toObject();
        if (!plist.at(n).isObject() || !isInt(p.value(QStringLiteral("id")))) {
            fail(at, QStringLiteral("ein Anschluss braucht eine numerische \"id\""));
            return false;
        }
        const int id = p.value(QStringLiteral("id")).toInt();
        if (pinIds.contains(id)) {
            fail(at, QStringLiteral("der Anschluss %1 ist doppelt definiert").arg(id));
            return false;
        }
        pinIds.insert(id);
        const int function = p.value(QStringLiteral("function")).toInt(-1);
        if (function != BlockPinFunctionInput && function != BlockPinFunctionOutput) {
            fail(at, QStringLiteral("\"function\" muss 1 (Eingang) oder 2 (Ausgang) sein"));
            return false;
        }
        const QJsonValue type = p.value(QStringLiteral("datatype"));
        if (!isUInt(type) || type.toInt() > 255 || !DatatypeProvider::instance()->simpleType(uchar(type.toInt()))) {
            fail(at, QStringLiteral("\"datatype\" muss die Nummer eines bekannten Typs sein"));
            return false;
        }
        if (!validateText(p.value(QStringLiteral("name")), at + QStringLiteral(".name"))
            || !validateText(p.value(QStringLiteral("description")), at + QStringLiteral(".description")))
            return false;
    }
    const QJsonValue symbol = o.value(QStringLiteral("symbol"));
    if (!symbol.isUndefined()) {
        const QJsonObject s = symbol.toObject();
        if (!symbol.isObject()) {
            fail(place, QStringLiteral("\"symbol\" muss ein Objekt sein"));
            return false;
        }
        for (const char* key : {"inputs", "outputs"}) {
            const QJsonValue v = s.value(QLatin1String(key));
            if (v.isUndefined())
                continue;
            bool ok = v.isArray();
            for (const QJsonValue& e : v.toArray())
                ok = ok && isInt(e) && (pinIds.contains(e.toInt()) || e.toInt() == -1);
            if (!ok) {
                fail(place + QStringLiteral(".symbol"),
                     QStringLiteral("\"%1\" muss Anschlüsse der Definition aufzählen").arg(QLatin1String(key)));
                return false;
            }
        }
        for (const char* key : {"defaultSize", "size"}) {
            const QJsonValue v = s.value(QLatin1String(key));
            if (!v.isUndefined() && !v.isNull() && !isPoint(v)) {
                fail(place + QStringLiteral(".symbol"), QStringLiteral("\"%1\" muss [Breite, Höhe] sein").arg(QLatin1String(key)));
                return false;
            }
        }
    }
    const QJsonValue parameters = o.value(QStringLiteral("parameters"));
    if (!parameters.isUndefined()) {
        if (!parameters.isArray()) {
            fail(place, QStringLiteral("\"parameters\" muss eine Liste sein"));
            return false;
        }
        for (const QJsonValue& p : parameters.toArray()) {
            const QJsonObject po = p.toObject();
            if (!isUInt(po.value(QStringLiteral("index"))) || !po.value(QStringLiteral("text")).isString()) {
                fail(place + QStringLiteral(".parameters"), QStringLiteral("ein Parameter braucht \"index\" und \"text\""));
                return false;
            }
            ParameterDefinition* parameter = ParameterDefinitionLoader::createAndLoadParameterDefinition(
                po.value(QStringLiteral("text")).toString().toUtf8());
            if (!parameter) {
                fail(place + QStringLiteral(".parameters"), QStringLiteral("ein Parametertext ist nicht lesbar"));
                return false;
            }
            delete parameter;
        }
    }
    const QJsonValue locals = o.value(QStringLiteral("localBlocks"));
    if (!locals.isUndefined()) {
        if (!locals.isArray()) {
            fail(place, QStringLiteral("\"localBlocks\" muss eine Liste sein"));
            return false;
        }
        const QJsonArray list = locals.toArray();
        QSet<QString> seen;
        for (int n = 0; n < list.size(); ++n) {
            const QString at = QStringLiteral("%1.localBlocks[%2]").arg(place).arg(n);
            if (!list.at(n).isObject()) {
                fail(at, QStringLiteral("ein Baustein muss ein Objekt sein"));
                return false;
            }
            if (!validateBlock(list.at(n).toObject(), at))
                return false;
            const QString id = list.at(n).toObject().value(QStringLiteral("identifier")).toString();
            if (seen.contains(id)) {
                fail(at, QStringLiteral("der Baustein \"%1\" ist doppelt vorhanden").arg(id));
                return false;
            }
            seen.insert(id);
        }
    }
    const QJsonValue code = o.value(QStringLiteral("code"));
    if (!code.isUndefined() && !code.isNull()) {
        if (!code.isObject()) {
            fail(place, QStringLiteral("\"code\" muss ein Objekt sein"));
            return false;
        }
        if (!validateCode(code.toObject(), place + QStringLiteral(".code")))
            return false;
    }
    return true;
}

bool Reader::validateBlock(const QJsonObject& o, const QString& placeIn)
{
    const QString identifier = o.value(QStringLiteral("identifier")).toString();
    const QString place = placeIn.isEmpty() ? identifier : placeIn;
    if (identifier.isEmpty()) {
        fail(placeIn, QStringLiteral("ein Baustein braucht eine \"identifier\""));
        return false;
    }
    if (!validateText(o.value(QStringLiteral("name")), place + QStringLiteral(".name")))
        return false;
    for (const char* key : {"shortName", "group"}) {
        const QJsonValue v = o.value(QLatin1String(key));
        if (!v.isUndefined() && !v.isString()) {
            fail(place, QStringLiteral("\"%1\" muss eine Zeichenkette sein").arg(QLatin1String(key)));
            return false;
        }
    }
    const QString group = o.value(QStringLiteral("group")).toString();
    if (!group.isEmpty()) {
        for (const QString& part : group.split(QLatin1Char(';'))) {
            bool ok = false;
            part.toUInt(&ok);
            if (!ok) {
                fail(place, QStringLiteral("der Gruppenpfad \"%1\" muss aus Zahlen mit \";\" bestehen").arg(group));
                return false;
            }
        }
    }
    const QJsonValue origin = o.value(QStringLiteral("origin"));
    if (!origin.isUndefined()) {
        const QJsonObject oo = origin.toObject();
        if (!origin.isObject() || !oo.value(QStringLiteral("identifier")).isString()
            || !isUInt(oo.value(QStringLiteral("version")))) {
            fail(place, QStringLiteral("\"origin\" braucht \"identifier\" und eine vorzeichenlose \"version\""));
            return false;
        }
    }
    const QJsonValue definitions = o.value(QStringLiteral("definitions"));
    if (!definitions.isArray()) {
        fail(place, QStringLiteral("\"definitions\" muss eine Liste sein"));
        return false;
    }
    QSet<unsigned int> versions;
    const QJsonArray list = definitions.toArray();
    for (int n = 0; n < list.size(); ++n) {
        const QString at = QStringLiteral("%1.definitions[%2]").arg(place).arg(n);
        if (!list.at(n).isObject()) {
            fail(at, QStringLiteral("eine Definition muss ein Objekt sein"));
            return false;
        }
        if (!validateDefinition(list.at(n).toObject(), at))
            return false;
        const unsigned int version = unsigned(list.at(n).toObject().value(QStringLiteral("version")).toDouble());
        if (versions.contains(version)) {
            fail(at, QStringLiteral("die Version %1 ist doppelt vorhanden").arg(version));
            return false;
        }
        versions.insert(version);
    }
    return true;
}

void Reader::readBlockData(Block* block, const QJsonObject& o)
{
    block->m_name = textFromJson(o.value(QStringLiteral("name")));
    block->m_shortName = o.value(QStringLiteral("shortName")).toString();
    block->m_groupPath = o.value(QStringLiteral("group")).toString();
    block->m_userBlock = o.value(QStringLiteral("user")).toBool();
    block->m_fallbackBlock = o.value(QStringLiteral("fallback")).toBool();
    block->m_versionVisible = o.value(QStringLiteral("versionVisible")).toBool();
    const QJsonObject origin = o.value(QStringLiteral("origin")).toObject();
    block->setOrigin(origin.value(QStringLiteral("identifier")).toString(),
                     unsigned(origin.value(QStringLiteral("version")).toDouble()));
    QSet<unsigned int> seen;
    for (const QJsonValue& v : o.value(QStringLiteral("definitions")).toArray()) {
        const QJsonObject d = v.toObject();
        const unsigned int version = unsigned(d.value(QStringLiteral("version")).toDouble());
        seen.insert(version);
        BlockDefinition* definition = block->m_definitions.value(version);
        if (!definition) {
            definition = new BlockDefinition(block, version);
            block->m_definitions.insert(version, definition);
        }
        readDefinitionData(definition, d);
    }
    const auto versions = block->m_definitions.keys();
    for (unsigned int v : versions) {
        if (!seen.contains(v))
            delete block->m_definitions.take(v);
    }
}

void Reader::readDefinitionData(BlockDefinition* d, const QJsonObject& o)
{
    d->m_blockType = o.value(QStringLiteral("type")).toInt(BlockTypeOrdinary);
    d->m_function = o.value(QStringLiteral("function")).toString();
    d->m_description = textFromJson(o.value(QStringLiteral("description")));
    d->m_accessLevelWrite = unsigned(o.value(QStringLiteral("accessWrite")).toDouble());
    d->m_accessLevelRead = unsigned(o.value(QStringLiteral("accessRead")).toDouble());
    d->m_stepIn = o.value(QStringLiteral("stepIn")).toBool(true);
    d->m_runtimeMembership = eRuntimeMembership(o.value(QStringLiteral("runtime")).toInt());
    d->m_parameterDefinitionBlock = o.value(QStringLiteral("parameterBlock")).toBool();
    QList<BlockPin> pins;
    for (const QJsonValue& v : o.value(QStringLiteral("pins")).toArray()) {
        const QJsonObject p = v.toObject();
        BlockPin pin(p.value(QStringLiteral("id")).toInt(), eBlockPinFunction(p.value(QStringLiteral("function")).toInt()),
                     uchar(p.value(QStringLiteral("datatype")).toInt()));
        pin.setShortName(p.value(QStringLiteral("shortName")).toString());
        pin.setName(textFromJson(p.value(QStringLiteral("name"))));
        pin.setDescription(textFromJson(p.value(QStringLiteral("description"))));
        pin.setInvertible(p.value(QStringLiteral("invertible")).toBool(true));
        pin.setDefaultInitialValue(p.value(QStringLiteral("initial")).toString());
        pins.append(pin);
    }
    d->setPinsSilently(pins);
    BlockSymbol symbol;
    const QJsonObject s = o.value(QStringLiteral("symbol")).toObject();
    if (s.contains(QStringLiteral("inputs")) || s.contains(QStringLiteral("outputs"))) {
        symbol.setInputPins(intsFromJson(s.value(QStringLiteral("inputs"))));
        symbol.setOutputPins(intsFromJson(s.value(QStringLiteral("outputs"))));
    } else {
        // Without a symbol the pins stand in their own order, inputs left, outputs right.
        QList<int> inputs, outputs;
        for (const BlockPin& pin : pins)
            (pin.function() == BlockPinFunctionInput ? inputs : outputs).append(pin.identifier());
        symbol.setInputPins(inputs);
        symbol.setOutputPins(outputs);
    }
    const QSizeF defaultSize = sizeFromJson(s.value(QStringLiteral("defaultSize")));
    symbol.setDefaultSize(defaultSize.isValid() ? defaultSize
                                                : BlockSymbol::sizeForPins(int(symbol.inputPins().size()),
                                                                           int(symbol.outputPins().size())));
    symbol.setSize(sizeFromJson(s.value(QStringLiteral("size"))));
    symbol.setImage(QByteArray::fromBase64(s.value(QStringLiteral("image")).toString().toLatin1()));
    d->m_symbol = symbol;
    d->m_smallListImage = QByteArray::fromBase64(o.value(QStringLiteral("icon")).toString().toLatin1());
    d->m_renderedIcon.clear();
    qDeleteAll(d->m_parameters);
    d->m_parameters.clear();
    for (const QJsonValue& v : o.value(QStringLiteral("parameters")).toArray()) {
        const QJsonObject p = v.toObject();
        ParameterDefinition* parameter = ParameterDefinitionLoader::createAndLoadParameterDefinition(
            p.value(QStringLiteral("text")).toString().toUtf8());
        if (parameter)
            d->m_parameters.insert(unsigned(p.value(QStringLiteral("index")).toDouble()), parameter);
    }
    const QJsonArray locals = o.value(QStringLiteral("localBlocks")).toArray();
    if (!locals.isEmpty() || d->existingLocalBlockLibrary()) {
        BlockLibrary* library = d->ensureLocalBlockLibrary();
        QSet<QString> keep;
        for (const QJsonValue& v : locals) {
            const QJsonObject b = v.toObject();
            const QString id = b.value(QStringLiteral("identifier")).toString();
            keep.insert(id);
            Block* block = library->block(id);
            if (block) {
                readBlockData(block, b);
            } else {
                block = new Block(id);
                readBlockData(block, b);
                library->insertBlockSilently(block);
            }
        }
        for (const QString& id : library->blockIdentifiers()) {
            if (!keep.contains(id))
                delete library->removeBlockSilently(id);
        }
    }
    const QJsonValue code = o.value(QStringLiteral("code"));
    if (code.isObject()) {
        d->ensureCode();
        m_pending.append({d, code.toObject()});
    }
}

Block* Reader::createBlock(const QJsonObject& object)
{
    auto* block = new Block(object.value(QStringLiteral("identifier")).toString());
    readBlockData(block, object);
    return block;
}

void Reader::readDefinitionInto(BlockDefinition* definition, const QJsonObject& object)
{
    readDefinitionData(definition, object);
}

void Reader::applyBlock(Block* block, const QJsonObject& object)
{
    readBlockData(block, object);
    fillCode();
    // Instances elsewhere follow pins that came or went.
    for (BlockDefinition* d : block->definitions()) {
        for (BlockInstance* instance : d->instances())
            instance->syncPins();
    }
}

void Reader::fillCode()
{
    // Local blocks of a definition are read with it, so the pending list grows while it is walked.
    for (int n = 0; n < m_pending.size(); ++n) {
        const PendingCode pending = m_pending.at(n);
        readCode(pending.definition, pending.code);
    }
    m_pending.clear();
}

BlockDefinition* Reader::resolve(BlockDefinition* owner, const QString& identifier, unsigned int version,
                                 const QJsonObject& instance, const QJsonArray& connections)
{
    // Local libraries from the owner outward first, then the containers being read, then the
    // repository. A fall-back block made earlier answers only for the versions it stands in for,
    // so it never hides a library block that has the version asked for.
    BlockDefinition* fallbackHit = nullptr;
    for (const BlockDefinition* d = owner; d;) {
        if (const BlockLibrary* local = d->existingLocalBlockLibrary()) {
            if (const Block* block = local->block(identifier)) {
                BlockDefinition* found = block->blockDefinition(version);
                if (found && !block->isFallbackBlock())
                    return found;
                if (found && !fallbackHit)
                    fallbackHit = found;
            }
        }
        const Block* block = d->block();
        const BlockLibrary* library = block ? block->ownerLibrary() : nullptr;
        const BlockLibraryContainer* container = library ? library->container() : nullptr;
        d = container && container->isLocal() ? qobject_cast<const BlockDefinition*>(container->parent()) : nullptr;
    }
    for (const BlockLibraryContainer* container : std::as_const(m_containers)) {
        if (const Block* block = container->library()->block(identifier)) {
            if (BlockDefinition* found = block->blockDefinition(version))
                return found;
        }
    }
    if (m_useRepository) {
        if (BlockDefinition* found = BlockRepository::instance().blockDefinition(identifier, version))
            return found;
    }
    if (fallbackHit)
        return fallbackHit;
    // Nothing found: a fall-back block stands in, with the pins that the code uses, so that the
    // instance and its connections are kept and can be saved back unchanged.
    ++m_fallbacks;
    BlockLibrary* local = owner->ensureLocalBlockLibrary();
    Block* block = local->block(identifier);
    if (!block) {
        block = new Block(identifier);
        block->m_fallbackBlock = true;
        block->m_name = Text(LanguageManager::German, identifier);
        local->insertBlockSilently(block);
    }
    BlockDefinition* definition = block->blockDefinition(version);
    if (!definition) {
        definition = new BlockDefinition(block, version);
        block->m_definitions.insert(version, definition);
    }
    const unsigned int id = unsigned(instance.value(QStringLiteral("id")).toDouble());
    QMap<int, eBlockPinFunction> pins;
    for (const QJsonValue& v : connections) {
        const QJsonObject c = v.toObject();
        const QJsonArray source = c.value(QStringLiteral("source")).toArray();
        const QJsonArray target = c.value(QStringLiteral("target")).toArray();
        if (source.size() == 2 && unsigned(source.at(0).toDouble()) == id)
            pins.insert(source.at(1).toInt(), BlockPinFunctionOutput);
        if (target.size() == 2 && unsigned(target.at(0).toDouble()) == id)
            pins.insert(target.at(1).toInt(), BlockPinFunctionInput);
    }
    for (const QJsonValue& v : instance.value(QStringLiteral("pins")).toArray()) {
        const int pin = v.toObject().value(QStringLiteral("id")).toInt();
        if (!pins.contains(pin))
            pins.insert(pin, BlockPinFunctionInput);
    }
    for (auto it = pins.constBegin(); it != pins.constEnd(); ++it) {
        if (!definition->pin(it.key())) {
            BlockPin pin(it.key(), it.value(), DatatypeProvider::Any);
            pin.setShortName(QString::number(it.key()));
            definition->setPinSilently(pin);
        }
    }
    QList<int> inputs, outputs;
    for (int pin : definition->pins())
        (definition->pin(pin)->function() == BlockPinFunctionInput ? inputs : outputs).append(pin);
    definition->m_symbol.setInputPins(inputs);
    definition->m_symbol.setOutputPins(outputs);
    definition->m_symbol.setDefaultSize(BlockSymbol::sizeForPins(int(inputs.size()), int(outputs.size())));
    return definition;
}

void Reader::readCode(BlockDefinition* definition, const QJsonObject& o)
{
    BlockCode* code = definition->ensureCode();
    const bool wasBlocked = code->blockChangeSignals(true);
    code->clear();
    const QJsonArray connections = o.value(QStringLiteral("connections")).toArray();
    QList<QPair<unsigned int, unsigned int>> realtime, background;
    for (const QJsonValue& v : o.value(QStringLiteral("instances")).toArray()) {
        const QJsonObject i = v.toObject();
        const unsigned int id = unsigned(i.value(QStringLiteral("id")).toDouble());
        BlockDefinition* target = resolve(definition, i.value(QStringLiteral("block")).toString(),
                                          unsigned(i.value(QStringLiteral("version")).toDouble()), i, connections);
        BlockInstance* instance = code->createInstance(target, id);
        if (!instance)
            continue;
        instance->m_position = pointFromJson(i.value(QStringLiteral("position")));
        instance->m_name = i.value(QStringLiteral("name")).toString();
        instance->m_parameterText = i.value(QStringLiteral("parameters")).toString();
        QStringList lines;
        for (const QJsonValue& l : i.value(QStringLiteral("lines")).toArray())
            lines.append(l.toString());
        instance->m_lines = lines;
        instance->m_note = i.value(QStringLiteral("note")).toString();
        instance->m_error = i.value(QStringLiteral("error")).toInt();
        instance->setSize(sizeFromJson(i.value(QStringLiteral("size"))));
        for (const QJsonValue& p : i.value(QStringLiteral("pins")).toArray()) {
            const QJsonObject po = p.toObject();
            BlockPinInstance* pin = instance->pin(po.value(QStringLiteral("id")).toInt());
            if (!pin)
                continue;
            pin->m_inverted = po.value(QStringLiteral("inverted")).toBool() && pin->isInvertible();
            pin->m_remanent = po.value(QStringLiteral("remanent")).toBool();
            pin->m_initialValue = po.value(QStringLiteral("initial")).toString();
        }
        if (const unsigned int r = unsigned(i.value(QStringLiteral("realtime")).toDouble()))
            realtime.append({r, id});
        if (const unsigned int b = unsigned(i.value(QStringLiteral("background")).toDouble()))
            background.append({b, id});
    }
    std::sort(realtime.begin(), realtime.end());
    std::sort(background.begin(), background.end());
    for (const auto& entry : std::as_const(realtime))
        code->m_realtime.append(entry.second);
    for (const auto& entry : std::as_const(background))
        code->m_background.append(entry.second);
    for (const QJsonValue& v : connections) {
        const QJsonObject c = v.toObject();
        auto end = [code](const QJsonValue& e) -> BlockPinInstance* {
            const QJsonArray a = e.toArray();
            if (a.size() != 2)
                return nullptr;
            BlockInstance* instance = code->instance(unsigned(a.at(0).toDouble()));
            return instance ? instance->pin(a.at(1).toInt()) : nullptr;
        };
        QList<QPointF> nodes;
        for (const QJsonValue& p : c.value(QStringLiteral("nodes")).toArray())
            nodes.append(pointFromJson(p));
        code->addConnection(end(c.value(QStringLiteral("source"))), end(c.value(QStringLiteral("target"))), nodes);
    }
    code->m_swallowed = false;
    code->blockChangeSignals(wasBlocked);
    Q_EMIT code->structureChanged();
}

} // namespace ModelJson
