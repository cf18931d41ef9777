#pragma once

#include "zkblockmodel_export.h"

#include <QChar>
#include <QMetaType>
#include <QString>

#include <cstddef>

// The address of a parameter in the device's parameter table: a group letter A..Z and a line
// 0..999 in that group, written "P05" or "Q123".
class ZK_MODEL_EXPORT ParameterCoordinate
{
public:
    static constexpr unsigned short MaximumLine = 999;
    // toNumber() of a coordinate that is not valid; no valid one reaches it (Z999 is 25999).
    static constexpr unsigned short InvalidNumber = 0xFFFF;

    // An invalid coordinate, for containers that need a default value.
    ParameterCoordinate();
    // A lower-case group letter is taken as its upper-case one.
    ParameterCoordinate(QChar group, unsigned short line);
    ParameterCoordinate(const ParameterCoordinate& other);
    ParameterCoordinate& operator=(const ParameterCoordinate& other);
    virtual ~ParameterCoordinate();

    QChar group() const { return m_group; }
    unsigned short line() const { return m_line; }
    bool isValid() const;

    // Unique among valid coordinates: group index * 1000 + line.
    unsigned short toNumber() const;
    // The group letter and at least two digits: "P00", "P05", "Q123".
    QString toText() const;
    // Accepts a letter and one to three digits, surrounded by white space or not ("p5", " P005 ").
    static ParameterCoordinate fromText(const QString& text, bool* ok = nullptr);

    bool operator==(const ParameterCoordinate& other) const
    {
        return m_group == other.m_group && m_line == other.m_line;
    }
    bool operator!=(const ParameterCoordinate& other) const { return !(*this == other); }

private:
    QChar m_group;
    unsigned short m_line = 0;
};

ZK_MODEL_EXPORT size_t qHash(const ParameterCoordinate& coordinate, size_t seed = 0);

Q_DECLARE_METATYPE(ParameterCoordinate)
