#include "BlockFinder.h"

#include "BlockCodeScene.h"
#include "BlockCodeView.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockCode.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockItem.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "ParameterCoordinate.h"
#include "ParameterDefinition.h"
#include "ParameterText.h"
#include "RecordParameterDefinition.h"

#include <QApplication>
#include <QComboBox>
#include <QCursor>
#include <QLineEdit>
#include <QMessageBox>
#include <QStringList>

#include <algorithm>

BlockFinder::BlockFinder(BlockCodeView* pView, QComboBox* pComboBox)
    : QObject(pView)
    , view(pView)
    , comboBox(pComboBox)
{
}

BlockFinder::~BlockFinder() = default;

void BlockFinder::onSearchNextButton()
{
    searchBackward = false;
    search();
}

void BlockFinder::onSearchPreviousButton()
{
    // Both directions walk forward: the flag is recorded, not acted on.
    searchBackward = true;
    search();
}

void BlockFinder::search()
{
    searchText = comboBox ? comboBox->currentText() : QString();
    if (searchText != lastSearchText) {
        // The list remembers a text as soon as a different search starts, beside what the editable
        // combo box inserts by itself.
        if (!lastSearchText.isEmpty() && comboBox
            && comboBox->findData(lastSearchText, Qt::DisplayRole, Qt::MatchExactly | Qt::MatchCaseSensitive) < 0) {
            comboBox->addItem(lastSearchText);
            if (QLineEdit* edit = comboBox->lineEdit())
                edit->setText(searchText);
        }
        lastSearchText = searchText;
    }

    auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
    if (!area && scene) {
        area = scene->sceneArea();
    }

    identifiers.clear();
    if (scene)
        identifiers = scene->blockItemMap().keys();
    std::sort(identifiers.begin(), identifiers.end());

    QApplication::setOverrideCursor(QCursor(Qt::WaitCursor));
    if (!identifiers.isEmpty()) {
        if (!identifiers.contains(currentIdentifier))
            currentIdentifier = identifiers.first();
        const uint start = currentIdentifier;
        // The start itself is tested last, so that a single match is found again on the next search.
        do {
            const int index = int(identifiers.indexOf(currentIdentifier));
            currentIdentifier = identifiers.at((index + 1) % int(identifiers.size()));
            if (matches(currentIdentifier)) {
                QApplication::restoreOverrideCursor();
                view->scrollToItem(currentIdentifier, true);
                return;
            }
        } while (currentIdentifier != start);
    }
    QApplication::restoreOverrideCursor();
    QMessageBox::information(view, tr("Suchen"), tr("\"%1\" wurde nicht gefunden").arg(searchText), QMessageBox::Ok);
}

bool BlockFinder::matches(uint identifier) const
{
    auto* scene = qobject_cast<BlockCodeScene*>(view->scene());
    BlockItem* item = scene ? scene->blockItem(identifier) : nullptr;
    BlockInstance* instance = item ? item->blockInstance() : nullptr;
    if (!instance)
        return false;

    if (QString::number(identifier) == searchText)
        return true;
    const auto contains = [this](const QString& text) { return text.contains(searchText, Qt::CaseInsensitive); };
    if (contains(instance->numberText()) || contains(instance->name()) || contains(instance->title()))
        return true;
    for (BlockPinInstance* pin : instance->pins()) {
        BlockPin* blockPin = pin ? pin->blockPin() : nullptr;
        if (blockPin && (contains(blockPin->name().text()) || contains(blockPin->shortName())))
            return true;
    }
    BlockInstanceArea* instanceArea = area.data();
    const QStringList parameters = instance->parameterList(instanceArea).toStringList();
    for (const QString& parameter : parameters) {
        if (contains(parameter))
            return true;
    }

    BlockDefinition* definition = instance->blockDefinition();
    if (!definition || !definition->isParameterDefinitionBlock())
        return false;
    const int areaIndex = instanceArea ? int(instanceArea->index()) : -1;
    for (unsigned int parameterId : definition->parameterIdentifiers(areaIndex)) {
        ParameterDefinition* parameter = definition->parameterDefinition(areaIndex, parameterId);
        if (!parameter)
            continue;
        if (contains(parameter->name().shortText()) || contains(parameter->name().longText()))
            return true;
        for (const ParameterCoordinate& coordinate : parameter->defaultCoordinates()) {
            if (contains(coordinate.toText()))
                return true;
        }
        if (parameter->isRecordParameterDefinition()) {
            auto* record = static_cast<RecordParameterDefinition*>(parameter);
            for (int element = 0; element < parameter->countElements(); ++element) {
                const ParameterText& name = record->elementName(static_cast<unsigned short>(element));
                if (contains(name.shortText()) || contains(name.longText()))
                    return true;
            }
        }
    }
    return false;
}
