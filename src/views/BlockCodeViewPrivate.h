#pragma once

#include <QObject>

class BlockCheckIssueView;
class BlockCodeView;
class BlockFinder;
class QLabel;

class BlockCodeViewPrivate : public QObject
{
    Q_OBJECT
public:
    explicit BlockCodeViewPrivate(BlockCodeView* owner);

    double zoomFactor = 1.0;
    BlockCheckIssueView* checkIssueView = nullptr;
    BlockFinder* blockFinder = nullptr;
    BlockCodeView* q;
    QLabel* statusLabel = nullptr;
};
