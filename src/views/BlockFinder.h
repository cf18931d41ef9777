#pragma once

#include "BlockInstanceArea.h"

#include <QComboBox>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>

class BlockCodeView;

// The text search over the blocks of the scene a code view shows. Each search starts behind the
// last hit and walks the block identifiers in ascending order, wrapping at the end.
class BlockFinder : public QObject
{
    Q_OBJECT
public:
    BlockFinder(BlockCodeView* view, QComboBox* comboBox);
    ~BlockFinder() override;

public Q_SLOTS:
    void onSearchNextButton();
    void onSearchPreviousButton();

private:
    void search();
    bool matches(uint identifier) const;

    BlockCodeView* view;
    // Not owned, and it lives in a tool bar that may be torn down before the view.
    QPointer<QComboBox> comboBox;
    // Fixed at the first search; guarded, for the model may delete the area under us.
    QPointer<BlockInstanceArea> area;
    QList<uint> identifiers;
    QString searchText;
    QString lastSearchText;
    uint currentIdentifier = 0;
    // Kept for the established interface: both buttons search forward.
    bool searchBackward = false;
};
