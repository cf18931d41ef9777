#pragma once

#include "zkblockview_export.h"

#include <QObject>
#include <QString>

// An entry of an application's status list. This library declares it for the application to
// derive from; it has no subclass here.
class ZK_VIEW_EXPORT StatusEntry : public QObject
{
public:
    StatusEntry(QObject* parent = nullptr);
    virtual ~StatusEntry();

    virtual QString statusText() const = 0;
    virtual QString statusSource() const = 0;
    virtual int statusLevel() const = 0;
    virtual QString statusLocation() const = 0;
    virtual void activateStatus() = 0;
};
