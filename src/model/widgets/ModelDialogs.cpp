#include "ModelDialogs.h"

#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPin.h"
#include "BlockPinInstance.h"
#include "DatatypeProvider.h"
#include "LanguageManager.h"
#include "ParameterDefinition.h"
#include "SignalLabel.h"
#include "SimpleType.h"
#include "System.h"

#include <QCheckBox>
#include <QCoreApplication>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPointer>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QSpinBox>
#include <QTableWidget>
#include <QValidator>
#include <QVBoxLayout>

namespace ModelDialogs {

namespace {

QString tr(const char* text)
{
    return QCoreApplication::translate("ModelDialogs", text);
}

// A dialog with OK and Cancel, or only Close when nothing may be written.
struct Frame
{
    QDialog dialog;
    QVBoxLayout* layout;
    QFormLayout* form;
    QDialogButtonBox* buttons;

    Frame(const QString& title, const QString& objectName, bool readOnly)
        : dialog(System::instance().mainWindow())
    {
        dialog.setObjectName(objectName);
        dialog.setWindowTitle(title);
        dialog.setModal(true);
        layout = new QVBoxLayout(&dialog);
        form = new QFormLayout;
        layout->addLayout(form);
        buttons = new QDialogButtonBox(readOnly ? QDialogButtonBox::Close : QDialogButtonBox::Ok | QDialogButtonBox::Cancel,
                                       &dialog);
        QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
        QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
    }

    void finish()
    {
        layout->addWidget(buttons);
    }

    QPushButton* okButton() const { return buttons->button(QDialogButtonBox::Ok); }
};

QLineEdit* lineEdit(QWidget* parent, const QString& name, const QString& text, bool readOnly)
{
    auto* edit = new QLineEdit(text, parent);
    edit->setObjectName(name);
    edit->setReadOnly(readOnly);
    return edit;
}

bool acceptable(QLineEdit* edit)
{
    const QValidator* validator = edit->validator();
    if (!validator || edit->text().isEmpty())
        return true;
    QString text = edit->text();
    int pos = 0;
    return validator->validate(text, pos) == QValidator::Acceptable;
}

} // namespace

bool editInstance(BlockInstance* instance, bool readOnly, BlockInstanceArea*)
{
    if (!instance)
        return false;
    QPointer<BlockInstance> guard(instance);
    const Block* block = instance->block();
    Frame f(tr("Bausteineigenschaften"), QStringLiteral("instancePropertiesDialog"), readOnly);
    f.form->addRow(tr("Baustein:"), new QLabel(block ? QStringLiteral("%1 (%2)").arg(block->name().text(), instance->numberText())
                                                      : tr("unbekannt"), &f.dialog));
    QLineEdit* name = lineEdit(&f.dialog, QStringLiteral("nameEdit"), instance->name(), readOnly);
    f.form->addRow(tr("Name:"), name);
    QLineEdit* parameters = lineEdit(&f.dialog, QStringLiteral("parameterEdit"), instance->parameterText(0), readOnly);
    f.form->addRow(tr("Parameter:"), parameters);
    QPlainTextEdit* lines = nullptr;
    if (instance->blockType() == BlockTypeText || instance->blockType() == BlockTypeMagic) {
        lines = new QPlainTextEdit(instance->lines().join(QLatin1Char('\n')), &f.dialog);
        lines->setObjectName(QStringLiteral("linesEdit"));
        lines->setReadOnly(readOnly);
        f.form->addRow(instance->blockType() == BlockTypeText ? tr("Text:") : tr("Anweisungen:"), lines);
    }
    const QList<BlockPinInstance*> pins = instance->pins();
    auto* table = new QTableWidget(int(pins.size()), 5, &f.dialog);
    table->setObjectName(QStringLiteral("pinTable"));
    table->setHorizontalHeaderLabels({tr("Anschluss"), tr("Typ"), tr("Anfangswert"), tr("Invertiert"), tr("Remanent")});
    table->verticalHeader()->hide();
    table->horizontalHeader()->setStretchLastSection(true);
    QList<QLineEdit*> initials;
    QList<QCheckBox*> inverted, remanent;
    for (int row = 0; row < pins.size(); ++row) {
        const BlockPinInstance* pin = pins.at(row);
        const BlockPin* blockPin = pin->blockPin();
        auto* label = new QTableWidgetItem(blockPin ? QStringLiteral("%1 %2").arg(pin->identifier()).arg(blockPin->name().text())
                                                    : QString::number(pin->identifier()));
        label->setFlags(Qt::ItemIsEnabled);
        table->setItem(row, 0, label);
        const SimpleType* type = DatatypeProvider::instance()->simpleType(pin->datatype());
        auto* typeItem = new QTableWidgetItem(type ? type->shortName() : QStringLiteral("????"));
        typeItem->setFlags(Qt::ItemIsEnabled);
        table->setItem(row, 1, typeItem);
        QLineEdit* initial = lineEdit(table, QStringLiteral("initial_%1").arg(pin->identifier()), pin->initialValue(),
                                      readOnly || pin->function() != BlockPinFunctionInput);
        initial->setValidator(DatatypeProvider::instance()->validator(pin->datatype()));
        table->setCellWidget(row, 2, initial);
        initials.append(initial);
        auto* inv = new QCheckBox(table);
        inv->setObjectName(QStringLiteral("inverted_%1").arg(pin->identifier()));
        inv->setChecked(pin->isInverted());
        inv->setEnabled(!readOnly && pin->isInvertible());
        table->setCellWidget(row, 3, inv);
        inverted.append(inv);
        auto* rem = new QCheckBox(table);
        rem->setObjectName(QStringLiteral("remanent_%1").arg(pin->identifier()));
        rem->setChecked(pin->isRemanent());
        rem->setEnabled(!readOnly);
        table->setCellWidget(row, 4, rem);
        remanent.append(rem);
    }
    table->resizeColumnsToContents();
    f.layout->addWidget(table);
    auto* hint = new QLabel(&f.dialog);
    hint->setObjectName(QStringLiteral("validationHint"));
    hint->setStyleSheet(QStringLiteral("color: #b00000"));
    f.layout->addWidget(hint);
    f.finish();
    if (!readOnly) {
        auto check = [&]() {
            QString problem;
            for (int row = 0; row < initials.size() && problem.isEmpty(); ++row) {
                if (!acceptable(initials.at(row)))
                    problem = tr("Der Anfangswert von Anschluss %1 passt nicht zum Typ.").arg(pins.at(row)->identifier());
            }
            hint->setText(problem);
            f.okButton()->setEnabled(problem.isEmpty());
        };
        for (QLineEdit* e : std::as_const(initials))
            QObject::connect(e, &QLineEdit::textChanged, &f.dialog, check);
        check();
    }
    f.dialog.resize(560, 420);
    if (f.dialog.exec() != QDialog::Accepted || readOnly || !guard)
        return false;
    BlockCode* code = instance->ownerCode();
    const bool wasBlocked = code ? code->blockChangeSignals(true) : false;
    instance->setName(name->text());
    instance->setParameterText(parameters->text());
    if (lines)
        instance->setLines(lines->toPlainText().isEmpty() ? QStringList() : lines->toPlainText().split(QLatin1Char('\n')));
    for (int row = 0; row < pins.size(); ++row) {
        BlockPinInstance* pin = instance->pin(pins.at(row)->identifier());
        if (!pin)
            continue;
        pin->setInitialValue(initials.at(row)->text());
        pin->setInverted(inverted.at(row)->isChecked());
        pin->setRemanent(remanent.at(row)->isChecked());
    }
    if (code) {
        code->blockChangeSignals(wasBlocked);
        if (!wasBlocked)
            code->sendBlockedChangeSignal();
    }
    return true;
}

bool editRuntimePosition(BlockInstance* instance, bool readOnly)
{
    BlockCode* code = instance ? instance->ownerCode() : nullptr;
    if (!code)
        return false;
    QPointer<BlockInstance> guard(instance);
    const unsigned int id = instance->identifier();
    Frame f(tr("Laufzeitreihenfolge"), QStringLiteral("runtimePositionDialog"), readOnly);
    auto* realtime = new QSpinBox(&f.dialog);
    realtime->setObjectName(QStringLiteral("realtimeSpin"));
    realtime->setRange(0, int(code->realtimeOrder().size()) + (code->realtime(id) ? 0 : 1));
    realtime->setValue(int(code->realtime(id)));
    realtime->setSpecialValueText(tr("keine"));
    realtime->setReadOnly(readOnly);
    f.form->addRow(tr("Echtzeit-Task:"), realtime);
    auto* background = new QSpinBox(&f.dialog);
    background->setObjectName(QStringLiteral("backgroundSpin"));
    background->setRange(0, int(code->backgroundOrder().size()) + (code->background(id) ? 0 : 1));
    background->setValue(int(code->background(id)));
    background->setSpecialValueText(tr("keine"));
    background->setReadOnly(readOnly);
    f.form->addRow(tr("Hintergrund-Task:"), background);
    f.finish();
    if (f.dialog.exec() != QDialog::Accepted || readOnly || !guard)
        return false;
    code->setRealtime(id, unsigned(realtime->value()));
    code->setBackground(id, unsigned(background->value()));
    return true;
}

bool editDefinition(BlockDefinition* definition, bool readOnly)
{
    if (!definition || !definition->block())
        return false;
    QPointer<BlockDefinition> guard(definition);
    Block* block = definition->block();
    Frame f(tr("Bausteindefinition"), QStringLiteral("definitionPropertiesDialog"), readOnly);
    f.form->addRow(tr("Kennung:"), new QLabel(QStringLiteral("%1, Version %2").arg(block->identifier()).arg(definition->version()),
                                              &f.dialog));
    QLineEdit* german = lineEdit(&f.dialog, QStringLiteral("nameGermanEdit"), block->name().text(LanguageManager::German), readOnly);
    f.form->addRow(tr("Name (deutsch):"), german);
    QLineEdit* english = lineEdit(&f.dialog, QStringLiteral("nameEnglishEdit"), block->name().text(LanguageManager::English), readOnly);
    f.form->addRow(tr("Name (englisch):"), english);
    QLineEdit* shortName = lineEdit(&f.dialog, QStringLiteral("shortNameEdit"), block->shortName(), readOnly);
    f.form->addRow(tr("Kurzname:"), shortName);
    auto* access = new QSpinBox(&f.dialog);
    access->setObjectName(QStringLiteral("accessLevelSpin"));
    // Nobody may protect a definition above the own level.
    access->setRange(0, int(System::instance().userAccessLevelCode()));
    access->setValue(int(qMin(definition->accessLevelWrite(), System::instance().userAccessLevelCode())));
    access->setReadOnly(readOnly);
    f.form->addRow(tr("Schreibschutz ab Stufe:"), access);
    auto* stepIn = new QCheckBox(tr("Hineinschauen erlaubt"), &f.dialog);
    stepIn->setObjectName(QStringLiteral("stepInCheck"));
    stepIn->setChecked(definition->stepInEnabled());
    stepIn->setEnabled(!readOnly && definition->hasCode());
    f.form->addRow(QString(), stepIn);
    auto* description = new QPlainTextEdit(definition->description().text(), &f.dialog);
    description->setObjectName(QStringLiteral("descriptionEdit"));
    description->setReadOnly(readOnly);
    f.form->addRow(tr("Beschreibung:"), description);
    ParameterDefinition* parameter = definition->parameterDefinition(-1, 0);
    QLineEdit* parameterName = nullptr;
    if (parameter) {
        parameterName = lineEdit(&f.dialog, QStringLiteral("parameterNameEdit"), parameter->name().longText(), readOnly);
        f.form->addRow(tr("Parametername:"), parameterName);
        QStringList coordinates;
        for (const ParameterCoordinate& c : parameter->defaultCoordinates())
            coordinates.append(c.toText());
        f.form->addRow(tr("Koordinate:"), new QLabel(coordinates.join(QStringLiteral(", ")), &f.dialog));
    }
    auto* hint = new QLabel(&f.dialog);
    hint->setObjectName(QStringLiteral("validationHint"));
    hint->setStyleSheet(QStringLiteral("color: #b00000"));
    f.layout->addWidget(hint);
    f.finish();
    if (!readOnly) {
        auto check = [&]() {
            const bool ok = !german->text().trimmed().isEmpty() || !english->text().trimmed().isEmpty();
            hint->setText(ok ? QString() : tr("Der Baustein braucht einen Namen."));
            f.okButton()->setEnabled(ok);
        };
        QObject::connect(german, &QLineEdit::textChanged, &f.dialog, check);
        QObject::connect(english, &QLineEdit::textChanged, &f.dialog, check);
        check();
    }
    if (f.dialog.exec() != QDialog::Accepted || readOnly || !guard)
        return false;
    Text name = block->name();
    name.setText(LanguageManager::German, german->text().trimmed().isEmpty() ? QString() : german->text().trimmed());
    name.setText(LanguageManager::English, english->text().trimmed().isEmpty() ? QString() : english->text().trimmed());
    block->setName(name);
    block->setShortName(shortName->text().trimmed());
    definition->setAccessLevelWrite(unsigned(access->value()));
    definition->setStepInEnabled(stepIn->isChecked());
    Text text = definition->description();
    text.setText(LanguageManager::instance().activeLanguage(), description->toPlainText());
    definition->setDescription(text);
    if (parameter && parameterName) {
        ParameterText parameterText = parameter->name();
        parameterText.setLongText(LanguageManager::instance().activeLanguage(), parameterName->text());
        parameter->setName(parameterText);
    }
    definition->notifyChanged();
    return true;
}

bool editSignalLabel(SignalLabel* label)
{
    if (!label)
        return false;
    QPointer<SignalLabel> guard(label);
    Frame f(tr("Signalmarke"), QStringLiteral("signalLabelDialog"), false);
    QLineEdit* name = lineEdit(&f.dialog, QStringLiteral("nameEdit"), label->name(), false);
    // Names may hold blanks (new labels are proposed as "Signalname 1"), but no separators of the
    // text forms and no line breaks, and not only blanks.
    name->setValidator(new QRegularExpressionValidator(QRegularExpression(QStringLiteral("^(?=.*\\S)[^;\\r\\n]{1,64}$")), name));
    f.form->addRow(tr("Name:"), name);
    f.form->addRow(tr("Anschluss:"), new QLabel(label->pinPath(), &f.dialog));
    f.form->addRow(tr("Wert:"), new QLabel(label->currentValue().isEmpty() ? tr("(offline)") : label->currentValue(), &f.dialog));
    f.finish();
    auto check = [&]() { f.okButton()->setEnabled(name->hasAcceptableInput()); };
    QObject::connect(name, &QLineEdit::textChanged, &f.dialog, check);
    check();
    if (f.dialog.exec() != QDialog::Accepted || !guard)
        return false;
    label->setName(name->text());
    return true;
}

} // namespace ModelDialogs
