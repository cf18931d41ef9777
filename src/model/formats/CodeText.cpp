#include "CodeText.h"

#include "LineEscape.h"

#include <QLocale>

namespace CodeText {

namespace {

// Every section and key of the text form, named once for the writer and the reader.
namespace Section {
constexpr char Instance[] = "[Instance]";
constexpr char Connection[] = "[Connection]";
constexpr char SignalLabel[] = "[SignalLabel]";
constexpr char LocalBlock[] = "[LocalBlock]";
} // namespace Section

namespace Key {
constexpr char Id[] = "Id";
constexpr char Block[] = "Block";
constexpr char Version[] = "Version";
constexpr char Name[] = "Name";
constexpr char Position[] = "Position";
constexpr char Runtime[] = "Runtime";
constexpr char RuntimeAbsolute[] = "RuntimeAbsolute";
constexpr char Background[] = "Background";
constexpr char BackgroundAbsolute[] = "BackgroundAbsolute";
constexpr char Parameters[] = "Parameters";
constexpr char Lines[] = "Lines";
constexpr char LineCount[] = "LineCount";
constexpr char Note[] = "Note";
constexpr char Error[] = "Error";
constexpr char Size[] = "Size";
constexpr char Pin[] = "Pin";
constexpr char Source[] = "Source";
constexpr char Target[] = "Target";
constexpr char Nodes[] = "Nodes";
constexpr char Place[] = "Place";
constexpr char Node[] = "Node";
constexpr char Instance[] = "Instance";
constexpr char Offset[] = "Offset";
constexpr char Contents[] = "Contents";
} // namespace Key

bool unescape(const QByteArray& in, QString& out)
{
    QByteArray bytes;
    bytes.reserve(in.size());
    for (qsizetype i = 0; i < in.size(); ++i) {
        const char c = in.at(i);
        if (c != '\\') {
            bytes += c;
            continue;
        }
        if (++i >= in.size())
            return false;
        switch (in.at(i)) {
        case '\\': bytes += '\\'; break;
        case 'n': bytes += '\n'; break;
        case 'r': bytes += '\r'; break;
        default: return false;
        }
    }
    out = QString::fromUtf8(bytes);
    return true;
}

QByteArray number(double value)
{
    return QByteArray::number(value, 'g', QLocale::FloatingPointShortest);
}

QByteArray pointText(const QPointF& p)
{
    return number(p.x()) + ';' + number(p.y());
}

bool parsePoint(const QByteArray& text, QPointF& p)
{
    const QList<QByteArray> parts = text.split(';');
    if (parts.size() != 2)
        return false;
    bool okX = false, okY = false;
    p = QPointF(parts.at(0).toDouble(&okX), parts.at(1).toDouble(&okY));
    return okX && okY && qIsFinite(p.x()) && qIsFinite(p.y());
}

QByteArray endText(const ConnectionEndRecord& end)
{
    if (!end.present)
        return QByteArray();
    return QByteArray::number(end.instance) + ';' + QByteArray::number(end.pin);
}

bool parseEnd(const QByteArray& text, ConnectionEndRecord& end)
{
    end.present = !text.isEmpty();
    if (!end.present)
        return true;
    const QList<QByteArray> parts = text.split(';');
    if (parts.size() != 2)
        return false;
    bool ok1 = false, ok2 = false;
    end.instance = parts.at(0).toUInt(&ok1);
    end.pin = parts.at(1).toInt(&ok2);
    return ok1 && ok2;
}

void line(QByteArray& out, const char* key, const QByteArray& value)
{
    out += key;
    out += '=';
    out += value;
    out += '\n';
}

void section(QByteArray& out, const char* name)
{
    out += name;
    out += '\n';
}

// Each reads one Key=Value line into the record of its section; false refuses the whole text.
bool readInstanceKey(Instance& entry, const QByteArray& key, const QByteArray& value)
{
    InstanceRecord& i = entry.record;
    bool ok = true;
    if (key == Key::Id) {
        i.id = value.toUInt(&ok);
        ok = ok && i.id != 0;
    } else if (key == Key::Block) {
        ok = unescape(value, i.block) && !i.block.isEmpty();
    } else if (key == Key::Version) {
        i.version = value.toUInt(&ok);
    } else if (key == Key::Name) {
        ok = unescape(value, i.name);
    } else if (key == Key::Position) {
        ok = parsePoint(value, i.position);
    } else if (key == Key::Place) {
        entry.place = value.toUInt(&ok);
    } else if (key == Key::Runtime || key == Key::RuntimeAbsolute) {
        i.realtime = value.toUInt(&ok);
        entry.realtimeAbsolute = key == Key::RuntimeAbsolute;
    } else if (key == Key::Background || key == Key::BackgroundAbsolute) {
        i.background = value.toUInt(&ok);
        entry.backgroundAbsolute = key == Key::BackgroundAbsolute;
    } else if (key == Key::Parameters) {
        ok = unescape(value, i.parameters);
    } else if (key == Key::Lines) {
        QString joined;
        ok = unescape(value, joined);
        i.lines = joined.isEmpty() ? QStringList() : joined.split(QLatin1Char('\n'));
    } else if (key == Key::LineCount) {
        // One empty line and no lines at all read the same from "Lines="; the count tells.
        const uint count = value.toUInt(&ok);
        if (ok && count == 1 && i.lines.isEmpty())
            i.lines = QStringList{QString()};
    } else if (key == Key::Note) {
        ok = unescape(value, i.note);
    } else if (key == Key::Error) {
        i.error = value.toInt(&ok);
    } else if (key == Key::Size) {
        QPointF p;
        ok = parsePoint(value, p);
        i.size = QSizeF(p.x(), p.y());
    } else if (key == Key::Pin) {
        // The initial value is everything after the third ';', so it may hold ';' itself.
        const QList<QByteArray> parts = value.split(';');
        if (parts.size() < 4)
            return false;
        PinSettingRecord pin;
        pin.id = parts.at(0).toInt(&ok);
        pin.inverted = parts.at(1) == "1";
        pin.remanent = parts.at(2) == "1";
        ok = ok && unescape(value.mid(parts.at(0).size() + parts.at(1).size() + parts.at(2).size() + 3), pin.initial);
        i.pins.append(pin);
    }
    return ok;
}

bool readConnectionKey(ConnectionRecord& c, const QByteArray& key, const QByteArray& value)
{
    if (key == Key::Source)
        return parseEnd(value, c.source);
    if (key == Key::Target)
        return parseEnd(value, c.target);
    if (key == Key::Nodes && !value.isEmpty()) {
        for (const QByteArray& part : value.split('|')) {
            QPointF p;
            if (!parsePoint(part, p))
                return false;
            c.nodes.append(p);
        }
    }
    if (key == Key::Place) {
        bool ok = false;
        c.place = value.toUInt(&ok);
        return ok;
    }
    return true;
}

bool readLabelKey(SignalLabelRecord& l, const QByteArray& key, const QByteArray& value)
{
    bool ok = true;
    if (key == Key::Node)
        ok = unescape(value, l.node);
    else if (key == Key::Id)
        l.id = value.toUInt(&ok);
    else if (key == Key::Instance)
        l.instance = value.toUInt(&ok);
    else if (key == Key::Pin)
        l.pin = value.toInt(&ok);
    else if (key == Key::Name)
        ok = unescape(value, l.name);
    else if (key == Key::Offset)
        ok = parsePoint(value, l.offset);
    return ok;
}

bool readLocalBlockKey(QByteArray& contents, const QByteArray& key, const QByteArray& value)
{
    if (key != Key::Contents)
        return true;
    contents = QByteArray::fromBase64(value, QByteArray::AbortOnBase64DecodingErrors);
    return !contents.isEmpty();
}

} // namespace

bool parse(const QByteArray& text, Content& content)
{
    enum { None, InstanceSection, ConnectionSection, LabelSection, LocalSection } current = None;
    const QList<QByteArray> lines = text.split('\n');
    for (QByteArray l : lines) {
        if (l.endsWith('\r'))
            l.chop(1);
        if (l.isEmpty() || l.startsWith(';'))
            continue;
        if (l.startsWith('[')) {
            if (l == Section::Instance) {
                current = InstanceSection;
                content.instances.append(Instance());
            } else if (l == Section::Connection) {
                current = ConnectionSection;
                content.connections.append(ConnectionRecord());
            } else if (l == Section::SignalLabel) {
                current = LabelSection;
                content.labels.append(SignalLabelRecord());
            } else if (l == Section::LocalBlock) {
                current = LocalSection;
                content.localBlocks.append(QByteArray());
            } else {
                return false;
            }
            continue;
        }
        const qsizetype eq = l.indexOf('=');
        if (eq <= 0)
            return false;
        const QByteArray key = l.left(eq);
        const QByteArray value = l.mid(eq + 1);
        bool ok = false;
        switch (current) {
        case None: break;
        case InstanceSection: ok = readInstanceKey(content.instances.last(), key, value); break;
        case ConnectionSection: ok = readConnectionKey(content.connections.last(), key, value); break;
        case LabelSection: ok = readLabelKey(content.labels.last(), key, value); break;
        case LocalSection: ok = readLocalBlockKey(content.localBlocks.last(), key, value); break;
        }
        if (!ok)
            return false;
    }
    for (const Instance& i : std::as_const(content.instances)) {
        if (i.record.id == 0 || i.record.block.isEmpty())
            return false;
    }
    return true;
}

QByteArray instanceText(const InstanceRecord& i, unsigned int place)
{
    QByteArray out;
    section(out, Section::Instance);
    line(out, Key::Id, QByteArray::number(i.id));
    line(out, Key::Block, escapeLineBreaks(i.block));
    line(out, Key::Version, QByteArray::number(i.version));
    line(out, Key::Name, escapeLineBreaks(i.name));
    line(out, Key::Position, pointText(i.position));
    line(out, Key::Runtime, QByteArray::number(i.realtime));
    line(out, Key::Background, QByteArray::number(i.background));
    line(out, Key::Parameters, escapeLineBreaks(i.parameters));
    line(out, Key::Lines, escapeLineBreaks(i.lines.join(QLatin1Char('\n'))));
    line(out, Key::LineCount, QByteArray::number(i.lines.size()));
    line(out, Key::Note, escapeLineBreaks(i.note));
    line(out, Key::Error, QByteArray::number(i.error));
    if (i.size.isValid())
        line(out, Key::Size, number(i.size.width()) + ';' + number(i.size.height()));
    for (const PinSettingRecord& pin : i.pins) {
        line(out, Key::Pin, QByteArray::number(pin.id) + ';' + (pin.inverted ? '1' : '0') + ';' + (pin.remanent ? '1' : '0')
                                + ';' + escapeLineBreaks(pin.initial));
    }
    if (place)
        line(out, Key::Place, QByteArray::number(place));
    return out;
}

QByteArray connectionText(const ConnectionRecord& c)
{
    QByteArray out;
    section(out, Section::Connection);
    line(out, Key::Source, endText(c.source));
    line(out, Key::Target, endText(c.target));
    QByteArray nodes;
    for (const QPointF& p : c.nodes) {
        if (!nodes.isEmpty())
            nodes += '|';
        nodes += pointText(p);
    }
    line(out, Key::Nodes, nodes);
    if (c.place)
        line(out, Key::Place, QByteArray::number(c.place));
    return out;
}

QByteArray labelText(const SignalLabelRecord& l)
{
    QByteArray out;
    section(out, Section::SignalLabel);
    line(out, Key::Node, escapeLineBreaks(l.node));
    line(out, Key::Id, QByteArray::number(l.id));
    line(out, Key::Instance, QByteArray::number(l.instance));
    line(out, Key::Pin, QByteArray::number(l.pin));
    line(out, Key::Name, escapeLineBreaks(l.name));
    line(out, Key::Offset, pointText(l.offset));
    return out;
}

QByteArray localBlockText(const QByteArray& contents)
{
    QByteArray out;
    section(out, Section::LocalBlock);
    line(out, Key::Contents, contents.toBase64());
    return out;
}

} // namespace CodeText
