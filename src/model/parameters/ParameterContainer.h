#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QMap>
#include <QString>

class ParameterSetup;

// The parameter instances of one area, by name ("<instance location path>#<coordinate>").
class ZK_MODEL_EXPORT ParameterContainer
{
public:
    ParameterContainer();
    virtual ~ParameterContainer();
    ParameterContainer(const ParameterContainer&) = delete;
    ParameterContainer& operator=(const ParameterContainer&) = delete;

    // Names of the parameters of the instance at `path`; with `recursive` also of all instances below.
    QList<QString> queryParameterAnchors(const QString& path, bool recursive);
    ParameterSetup* queryParameterInstance(const QString& anchor) const;

    // Takes ownership; replaces (and deletes) a parameter of the same name.
    void insertParameterInstance(ParameterSetup* setup);
    bool removeParameterInstance(const QString& name);
    QList<QString> parameterNames() const { return m_setups.keys(); }
    void clearParameters();

    static QString instancePathOf(const QString& name);
    static QString coordinateOf(const QString& name);

private:
    QMap<QString, ParameterSetup*> m_setups;
};
