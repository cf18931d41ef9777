#pragma once

#include "ParameterContainer.h"
#include "zkblockmodel_export.h"

#include <QObject>
#include <QString>

class BlockInstanceArea;

// Descriptive data of an area and the parameter values that live in it.
class ZK_MODEL_EXPORT AreaInfo : public QObject, public ParameterContainer
{
    Q_OBJECT
public:
    explicit AreaInfo(BlockInstanceArea* area);
    ~AreaInfo() override;

    QString name() const;
    BlockInstanceArea* area() const { return m_area; }

private:
    BlockInstanceArea* m_area;
};
