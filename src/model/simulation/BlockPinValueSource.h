#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QSet>
#include <QString>

// Current values of the pins of an online area, addressed by pin location path.
class ZK_MODEL_EXPORT BlockPinValueSource : public QObject
{
    Q_OBJECT
public:
    static constexpr unsigned int FirstAddress = 0x20000000u;

    explicit BlockPinValueSource(QObject* parent = nullptr);
    ~BlockPinValueSource() override;

    // Stable for the life of the area: a path gets its address the first time it is asked for.
    unsigned int memoryAddress(const QString& locationPath);
    // Observation is counted: a path stays observed until each observer has let go.
    void setObserved(const QString& locationPath, bool observed);
    bool isObserved(const QString& locationPath) const { return m_observers.value(locationPath) > 0; }
    QList<QString> observedPaths() const;

    QString currentValue(const QString& locationPath) const { return m_values.value(locationPath); }
    // Stores a value; an observed path is reported when its text changed, and once after it has
    // come under observation, so that a new observer learns a value that no longer changes.
    void publishValue(const QString& locationPath, const QString& value);
    // Forgets all values (going offline): observers get an empty text once.
    void clearValues();

Q_SIGNALS:
    void blockPinCurrentValueChanged(const QString& locationPath, const QString& value);

private:
    QHash<QString, unsigned int> m_addresses;
    QHash<QString, int> m_observers;
    QHash<QString, QString> m_values;
    QSet<QString> m_newlyObserved;
};
