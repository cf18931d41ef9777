#pragma once

#include "zkblockmodel_export.h"

#include <QByteArray>
#include <QList>
#include <QPair>

namespace MlIniParser {

// A section of an ini text: key/value pairs in the order they were first set, and named
// sub-sections in the order they were created. Names and keys are unique within their section.
class ZK_MODEL_EXPORT IniSection
{
public:
    explicit IniSection(const QByteArray& name = QByteArray());
    virtual ~IniSection();
    IniSection(const IniSection&) = delete;
    IniSection& operator=(const IniSection&) = delete;

    virtual QByteArray name() const;
    // Empty for a key that is not there; contains() tells the two apart.
    virtual QByteArray value(const QByteArray& key) const;
    // A key set again keeps its place.
    virtual void setValue(const QByteArray& key, const QByteArray& value);
    virtual QList<QByteArray> sections() const;
    // Owned by this section. A name that is taken answers the section that has it.
    virtual IniSection* createSection(const QByteArray& name);
    virtual IniSection* section(const QByteArray& name) const;

    virtual QList<QByteArray> keys() const;
    virtual bool contains(const QByteArray& key) const;
    virtual bool removeValue(const QByteArray& key);
    // Deletes the sub-section and everything below it.
    virtual bool removeSection(const QByteArray& name);
    // Removes all values and sub-sections; the name stays.
    virtual void clear();

private:
    int indexOfKey(const QByteArray& key) const;

    QByteArray m_name;
    QList<QPair<QByteArray, QByteArray>> m_values;
    QList<IniSection*> m_sections;
};

} // namespace MlIniParser
