#pragma once

#include "IniSection.h"
#include "zkblockmodel_export.h"

#include <QByteArray>

namespace MlIniParser {

// An ini text as a tree of sections; the parser itself is the unnamed top section. The text form
// (docs/ini-format.md) keeps order and nesting and carries any bytes in names, keys and values.
class ZK_MODEL_EXPORT IniParser : public IniSection
{
public:
    IniParser();
    ~IniParser() override;

    void clear() override;
    // Replaces the whole content. Lines that do not read are skipped; nothing in the text can make
    // this fail.
    void setIniText(const QByteArray& text);
    QByteArray getIniText() const;
};

} // namespace MlIniParser
