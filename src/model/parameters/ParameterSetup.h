#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QPair>
#include <QString>

// The values of one parameter instance of an area: one text per element and area number.
// Its name is "<location path of the instance>#<coordinate text>", for example "A1:0.5#P12".
class ZK_MODEL_EXPORT ParameterSetup
{
public:
    explicit ParameterSetup(const QString& name, const QList<unsigned short>& elements = {0});
    virtual ~ParameterSetup();

    QString name() const { return m_name; }

    virtual QList<unsigned short> elementNumbers();
    // Parameters tied to this one in an area (written back only together).
    virtual QList<QString> relatedParameterNames(int areaNumber);
    virtual QString valueText(int areaNumber, unsigned short element, int format);
    virtual void setValueText(int areaNumber, unsigned short element, const QString& value);

    void setElementNumbers(const QList<unsigned short>& elements) { m_elements = elements; }
    void setRelatedParameterNames(int areaNumber, const QList<QString>& names);
    // A value set for no particular area, answered for every area without a value of its own.
    void setDefaultValueText(unsigned short element, const QString& value);
    QString defaultValueText(unsigned short element) const { return m_defaults.value(element); }
    // A value of its own for the element, as a project file holds it, whatever the default.
    void setOwnValueText(int areaNumber, unsigned short element, const QString& value);
    // (area number, element) pairs with a value of their own, sorted: for saving.
    QList<QPair<int, unsigned short>> explicitValues() const;
    // Area numbers that have related names, sorted: for saving.
    QList<int> relatedAreas() const;

private:
    QString m_name;
    QList<unsigned short> m_elements;
    QHash<int, QList<QString>> m_related;
    QHash<unsigned short, QString> m_defaults;
    QHash<QPair<int, unsigned short>, QString> m_values;
};
