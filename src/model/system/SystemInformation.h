#pragma once

#include "zkblockmodel_export.h"

#include <QObject>

// Base of System: carries the access level signal, which hosts connect both by signature and by
// member pointer.
class ZK_MODEL_EXPORT SystemInformation : public QObject
{
    Q_OBJECT
public:
    explicit SystemInformation(QObject* parent = nullptr);
    ~SystemInformation() override;

Q_SIGNALS:
    void userAccessLevelCodeChanged(quint32 newLevel, quint32 oldLevel);
};
