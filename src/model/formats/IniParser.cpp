#include "IniParser.h"

#include <QList>

#include <cstring>

namespace MlIniParser {

namespace {

const char kHex[] = "0123456789ABCDEF";

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

// Escapes shared by names, keys and values. The outermost space on either side is escaped as
// well: the reader drops unescaped white space around every token, so that hand-written
// "key = value" means what it looks like.
QByteArray escaped(const QByteArray& text, const char* extra)
{
    QByteArray out;
    out.reserve(text.size() + 8);
    for (int i = 0; i < text.size(); ++i) {
        const char c = text.at(i);
        const uchar u = uchar(c);
        if (c == '\\') {
            out += "\\\\";
        } else if (c == '\n') {
            out += "\\n";
        } else if (c == '\r') {
            out += "\\r";
        } else if (c == '\t') {
            out += "\\t";
        } else if (u < 0x20 || u == 0x7F) {
            out += "\\x";
            out += kHex[u >> 4];
            out += kHex[u & 0xF];
        } else if (c == ' ' && (i == 0 || i == text.size() - 1)) {
            out += "\\s";
        } else if (c != '\0' && std::strchr(extra, c)) {
            out += '\\';
            out += c;
        } else {
            out += c;
        }
    }
    return out;
}

QByteArray escapedKey(const QByteArray& key)
{
    QByteArray out = escaped(key, "=");
    // A key must not make its line read as a section header or a comment.
    if (out.startsWith('[') || out.startsWith(';') || out.startsWith('#'))
        out.prepend('\\');
    return out;
}

QByteArray escapedName(const QByteArray& name)
{
    return escaped(name, "/[]");
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

// Decodes raw[from, to) and drops unescaped blanks at both ends.
QByteArray unescaped(const QByteArray& raw, int from, int to)
{
    QByteArray out;
    int firstKept = -1; // index in out of the first byte that is escaped or not blank
    int lastKept = -1;
    for (int i = from; i < to; ++i) {
        char c = raw.at(i);
        bool literal = false;
        if (c == '\\' && i + 1 < to) {
            literal = true;
            const char next = raw.at(++i);
            switch (next) {
            case 'n': c = '\n'; break;
            case 'r': c = '\r'; break;
            case 't': c = '\t'; break;
            case 's': c = ' '; break;
            case 'x': {
                const int high = i + 2 < to ? hexValue(raw.at(i + 1)) : -1;
                const int low = high >= 0 ? hexValue(raw.at(i + 2)) : -1;
                if (low >= 0) {
                    c = char(high * 16 + low);
                    i += 2;
                } else {
                    c = 'x';
                }
                break;
            }
            default: c = next; break;
            }
        }
        out += c;
        if (literal || !isBlank(c)) {
            if (firstKept < 0)
                firstKept = int(out.size()) - 1;
            lastKept = int(out.size()) - 1;
        }
    }
    if (firstKept < 0)
        return QByteArray("");
    return out.mid(firstKept, lastKept - firstKept + 1);
}

// The path of a header line "[a/b]"; false for a line that starts like a header but is none.
bool readHeader(const QByteArray& line, int from, int to, QList<QByteArray>* path)
{
    int start = from + 1;
    for (int i = start; i < to; ++i) {
        const char c = line.at(i);
        if (c == '\\') {
            ++i;
        } else if (c == '/') {
            path->append(unescaped(line, start, i));
            start = i + 1;
        } else if (c == ']') {
            path->append(unescaped(line, start, i));
            for (int j = i + 1; j < to; ++j) {
                if (!isBlank(line.at(j)))
                    return false;
            }
            return true;
        }
    }
    return false;
}

void write(const IniSection* section, const QByteArray& path, bool top, QByteArray& out)
{
    for (const QByteArray& key : section->keys())
        out += escapedKey(key) + '=' + escaped(section->value(key), "") + '\n';
    for (const QByteArray& name : section->sections()) {
        // An empty name is a real section too, so the top cannot be told by an empty path.
        const QByteArray childPath = top ? escapedName(name) : path + '/' + escapedName(name);
        out += '[' + childPath + "]\n";
        write(section->section(name), childPath, false, out);
    }
}

} // namespace

IniParser::IniParser() = default;

IniParser::~IniParser() = default;

void IniParser::clear()
{
    IniSection::clear();
}

void IniParser::setIniText(const QByteArray& text)
{
    clear();
    IniSection* current = this;
    const QList<QByteArray> lines = text.split('\n');
    for (const QByteArray& line : lines) {
        int from = 0;
        int to = int(line.size());
        if (to > 0 && line.at(to - 1) == '\r')
            --to;
        while (from < to && isBlank(line.at(from)))
            ++from;
        if (from == to || line.at(from) == ';' || line.at(from) == '#')
            continue;
        if (line.at(from) == '[') {
            QList<QByteArray> path;
            if (!readHeader(line, from, to, &path)) {
                // Values under a header that does not read belong to no known section; dropping
                // them beats filing them under the section before.
                current = nullptr;
                continue;
            }
            current = this;
            for (const QByteArray& name : path)
                current = current->createSection(name);
            continue;
        }
        if (!current)
            continue;
        int eq = -1;
        for (int i = from; i < to; ++i) {
            if (line.at(i) == '\\') {
                ++i;
            } else if (line.at(i) == '=') {
                eq = i;
                break;
            }
        }
        if (eq < 0)
            continue;
        current->setValue(unescaped(line, from, eq), unescaped(line, eq + 1, to));
    }
}

QByteArray IniParser::getIniText() const
{
    QByteArray out;
    write(this, QByteArray(), true, out);
    return out;
}

} // namespace MlIniParser
