#include "OverviewScene.h"

OverviewScene::OverviewScene(QObject* parent)
    : QGraphicsScene(parent)
{
}

OverviewScene::~OverviewScene() = default;
