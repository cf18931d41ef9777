#include "AreaSimulator.h"

#include "AreaInfo.h"
#include "Block.h"
#include "BlockCode.h"
#include "BlockDefinition.h"
#include "BlockInstance.h"
#include "BlockInstanceArea.h"
#include "BlockInstanceHierarchy.h"
#include "BlockInstanceHierarchyNode.h"
#include "BlockPin.h"
#include "BlockPinConnection.h"
#include "BlockPinInstance.h"
#include "BlockPinValueSource.h"
#include "DatatypeProvider.h"
#include "ParameterContainer.h"
#include "ParameterSetup.h"
#include "SimpleType.h"

#include <QTimer>

#include <cmath>

namespace {
constexpr double kPi = 3.14159265358979323846;
}

enum AreaSimulator::Function : int {
    FnNone, FnCopy, FnAnd, FnOr, FnXor, FnNot, FnRs, FnSr, FnRising, FnFalling, FnAdd, FnSub, FnMul, FnDiv,
    FnGt, FnLt, FnGe, FnLe, FnEq, FnNe, FnSel, FnMax, FnMin, FnLimit, FnAbs, FnTon, FnTof, FnTp, FnCounter,
    FnCtu, FnRamp, FnPt1, FnPi, FnSine, FnConvert, FnConstant, FnParameterRead, FnParameterWrite
};

namespace {

struct FunctionInfo
{
    const char* name;
    int function;
    int state;
};

// Function names as definitions carry them, with the number of state values each keeps.
const FunctionInfo kFunctions[] = {
    {"and", 2, 0}, {"or", 3, 0}, {"xor", 4, 0}, {"not", 5, 0}, {"rs", 6, 0}, {"sr", 7, 0},
    {"rising", 8, 1}, {"falling", 9, 1}, {"add", 10, 0}, {"sub", 11, 0}, {"mul", 12, 0}, {"div", 13, 0},
    {"gt", 14, 0}, {"lt", 15, 0}, {"ge", 16, 0}, {"le", 17, 0}, {"eq", 18, 0}, {"ne", 19, 0},
    {"sel", 20, 0}, {"max", 21, 0}, {"min", 22, 0}, {"limit", 23, 0}, {"abs", 24, 0},
    {"ton", 25, 1}, {"tof", 26, 1}, {"tp", 27, 2}, {"counter", 28, 2}, {"ctu", 29, 2}, {"ramp", 30, 0},
    {"pt1", 31, 0}, {"pi", 32, 1}, {"sine", 33, 0}, {"convert", 34, 0}, {"constant", 35, 0},
    {"parameterRead", 36, 0}, {"parameterWrite", 37, 1},
};

bool truth(double v)
{
    return v != 0;
}

double parseFor(uchar type, const QString& text, double fallback = 0)
{
    if (text.isEmpty())
        return fallback;
    const SimpleType* t = DatatypeProvider::instance()->simpleType(type);
    bool ok = false;
    const double v = t ? t->parseValue(text, &ok) : text.toDouble(&ok);
    return ok ? v : fallback;
}

} // namespace

AreaSimulator::AreaSimulator(BlockInstanceArea* area)
    : QObject(area)
    , m_area(area)
    , m_timer(new QTimer(this))
{
    m_timer->setInterval(CycleMilliseconds);
    m_timer->setTimerType(Qt::PreciseTimer);
    connect(m_timer, &QTimer::timeout, this, &AreaSimulator::runCycle);
}

AreaSimulator::~AreaSimulator() = default;

bool AreaSimulator::isRunning() const
{
    return m_timer->isActive();
}

void AreaSimulator::start()
{
    if (isRunning())
        return;
    m_cycles = 0;
    m_time = 0;
    m_pathSlots.clear();
    m_values.clear();
    m_types.clear();
    m_state.clear();
    m_ops.clear();
    m_dirty = true;
    m_timer->start();
    runCycle();
}

void AreaSimulator::stop()
{
    m_timer->stop();
    for (const auto& entry : std::as_const(m_remanentSlots))
        m_remanent.insert(entry.first, m_values.value(entry.second));
    for (const QPointer<BlockCode>& code : std::as_const(m_watched)) {
        if (code)
            disconnect(code, nullptr, this, nullptr);
    }
    m_watched.clear();
    m_ops.clear();
}

void AreaSimulator::markDirty()
{
    m_dirty = true;
}

void AreaSimulator::watch(BlockCode* code)
{
    for (const QPointer<BlockCode>& c : std::as_const(m_watched)) {
        if (c == code)
            return;
    }
    m_watched.append(code);
    connect(code, &BlockCode::changed, this, &AreaSimulator::markDirty);
    connect(code, &BlockCode::structureChanged, this, &AreaSimulator::markDirty);
    connect(code, &BlockCode::instanceAdded, this, &AreaSimulator::markDirty);
    connect(code, &BlockCode::instanceRemoved, this, &AreaSimulator::markDirty);
}

int AreaSimulator::slotFor(const QString& path, uchar type, double initial)
{
    auto it = m_pathSlots.constFind(path);
    if (it != m_pathSlots.constEnd())
        return *it;
    const int slot = int(m_values.size());
    m_values.append(initial);
    m_types.append(type);
    m_pathSlots.insert(path, slot);
    return slot;
}

AreaSimulator::Source AreaSimulator::sourceOf(BlockInstanceHierarchyNode* node, BlockCode* code, BlockPinInstance* pin,
                                              const QHash<int, Source>&)
{
    Source source;
    source.invert = pin->isInverted();
    for (const BlockPinConnection* c : code->connectionsOf(pin)) {
        BlockPinInstance* driver = c->source();
        if (c->target() != pin || !driver || !driver->owner())
            continue;
        BlockInstanceHierarchyNode* driverNode = node->instanceNode(driver->owner()->identifier());
        if (!driverNode)
            continue;
        const uchar type = driver->datatype(m_area);
        const double initial = parseFor(type, driver->initialValue());
        // An inverted output puts the inverted signal on its wire.
        const QString path = driver->isInverted()
            ? driverNode->locationPath() + QStringLiteral("i%1;{S2}").arg(driver->identifier())
            : driverNode->pinLocationPath(driver->identifier());
        source.slot = slotFor(path, type, driver->isInverted() ? (truth(initial) ? 0 : 1) : initial);
        return source;
    }
    source.constant = parseFor(pin->datatype(m_area), pin->initialValue());
    return source;
}

QString AreaSimulator::parameterNameFor(BlockInstanceHierarchyNode* node, BlockInstance* instance) const
{
    const QStringList lines = instance->lines();
    const QString coordinate = lines.isEmpty() ? instance->parameterValue(QStringLiteral("Parameter")) : lines.first().trimmed();
    if (coordinate.isEmpty())
        return QString();
    AreaInfo* info = m_area->areaInfo();
    const QString here = node->locationPath();
    QString best;
    for (const QString& name : info->parameterNames()) {
        if (ParameterContainer::coordinateOf(name).compare(coordinate, Qt::CaseInsensitive) != 0)
            continue;
        // The parameter nearest to the block wins: one defined in the same code before one elsewhere.
        if (best.isEmpty() || (ParameterContainer::instancePathOf(name).startsWith(here)
                               && !ParameterContainer::instancePathOf(best).startsWith(here)))
            best = name;
    }
    return best;
}

void AreaSimulator::compile()
{
    // Signals keep their values across a change of the program; block states go with their block.
    QHash<QString, double> previous;
    for (auto it = m_pathSlots.constBegin(); it != m_pathSlots.constEnd(); ++it)
        previous.insert(it.key(), m_values.value(it.value()));
    m_previousStates.clear();
    for (const Op& op : std::as_const(m_ops)) {
        if (op.state >= 0)
            m_previousStates.insert(op.key, m_state.mid(op.state, op.stateSize));
    }
    for (const QPointer<BlockCode>& code : std::as_const(m_watched)) {
        if (code)
            disconnect(code, nullptr, this, nullptr);
    }
    m_watched.clear();
    m_ops.clear();
    m_values.clear();
    m_types.clear();
    m_state.clear();
    m_pathSlots.clear();
    m_remanentSlots.clear();
    BlockInstanceHierarchy* hierarchy = m_area->hierarchy();
    if (hierarchy && hierarchy->rootNode())
        compileCode(hierarchy->rootNode(), {}, nullptr, 0);
    DatatypeProvider* types = DatatypeProvider::instance();
    for (Op& op : m_ops) {
        op.outputTypeObjects.clear();
        for (uchar type : std::as_const(op.outputTypes)) {
            const SimpleType* t = types->simpleType(type);
            op.outputTypeObjects.append(t && !t->isVariant() ? t : nullptr);
        }
    }
    for (auto it = m_pathSlots.constBegin(); it != m_pathSlots.constEnd(); ++it) {
        auto old = previous.constFind(it.key());
        if (old != previous.constEnd())
            m_values[it.value()] = *old;
    }
    m_previousStates.clear();
    m_dirty = false;
}

void AreaSimulator::compileCode(BlockInstanceHierarchyNode* node, const QHash<int, Source>& enclosingInputs,
                                QHash<int, int>* enclosingOutputs, int depth)
{
    BlockCode* code = node ? node->childCode() : nullptr;
    if (!code)
        return;
    watch(code);
    // Pin blocks first bring the enclosing inputs in.
    QList<BlockInstance*> outgoing;
    for (BlockInstance* instance : code->instances()) {
        if (instance->blockType() != BlockTypePin)
            continue;
        BlockInstanceHierarchyNode* pinNode = node->instanceNode(instance->identifier());
        const int number = instance->parameterList(m_area).toStringList().value(0).toInt();
        for (BlockPinInstance* pin : instance->pins()) {
            if (!pinNode)
                break;
            if (pin->function() == BlockPinFunctionOutput) {
                Op op;
                op.function = FnCopy;
                op.inputs.append(enclosingInputs.value(number));
                op.inputSlots.append(-1);
                const uchar type = pin->datatype(m_area);
                op.outputs.append(slotFor(pinNode->pinLocationPath(pin->identifier()), type, 0));
                op.outputsInverted.append(-1);
                op.outputTypes.append(type);
                m_ops.append(op);
            } else if (pin->function() == BlockPinFunctionInput) {
                outgoing.append(instance);
            }
        }
    }
    QList<unsigned int> order = code->realtimeOrder();
    for (unsigned int id : code->backgroundOrder()) {
        if (!order.contains(id))
            order.append(id);
    }
    for (unsigned int id : std::as_const(order)) {
        if (BlockInstance* instance = code->instance(id))
            compileInstance(node, instance, enclosingInputs, enclosingOutputs, depth);
    }
    // Pin blocks last take the results out to the enclosing outputs.
    for (BlockInstance* instance : std::as_const(outgoing)) {
        const int number = instance->parameterList(m_area).toStringList().value(0).toInt();
        if (!enclosingOutputs || !enclosingOutputs->contains(number))
            continue;
        BlockInstanceHierarchyNode* pinNode = node->instanceNode(instance->identifier());
        for (BlockPinInstance* pin : instance->pins()) {
            if (pin->function() != BlockPinFunctionInput)
                continue;
            Op op;
            op.function = FnCopy;
            op.inputs.append(sourceOf(node, code, pin, enclosingInputs));
            op.inputSlots.append(-1);
            op.outputs.append(enclosingOutputs->value(number));
            op.outputsInverted.append(-1);
            op.outputTypes.append(m_types.value(enclosingOutputs->value(number)));
            // The pin block's own pin shows the value it hands out, like every other pin.
            if (pinNode) {
                op.outputs.append(slotFor(pinNode->pinLocationPath(pin->identifier()), pin->datatype(m_area), 0));
                op.outputsInverted.append(-1);
                op.outputTypes.append(m_types.value(enclosingOutputs->value(number)));
            }
            m_ops.append(op);
        }
    }
}

void AreaSimulator::compileInstance(BlockInstanceHierarchyNode* node, BlockInstance* instance,
                                    const QHash<int, Source>& enclosingInputs, QHash<int, int>*, int depth)
{
    const BlockDefinition* definition = instance->blockDefinition();
    if (!definition || instance->blockType() == BlockTypeText || instance->blockType() == BlockTypePin)
        return;
    BlockCode* code = instance->ownerCode();
    BlockInstanceHierarchyNode* own = node->instanceNode(instance->identifier());
    if (!own || !code)
        return;

    Op op;
    QHash<int, Source> innerInputs;
    for (int pinId : definition->pins()) {
        BlockPinInstance* pin = instance->pin(pinId);
        if (!pin || pin->function() != BlockPinFunctionInput)
            continue;
        const uchar type = pin->datatype(m_area);
        const Source source = sourceOf(node, code, pin, enclosingInputs);
        const int shown = slotFor(own->pinLocationPath(pinId), type, read(source));
        int seen = -1;
        if (pin->isInverted())
            seen = slotFor(own->locationPath() + QStringLiteral("i%1;{S1}").arg(pinId), type, 0);
        op.inputs.append(source);
        op.inputSlots.append(shown);
        op.outputsInverted.append(seen); // filled below per output; input side reuses this list first
        innerInputs.insert(pinId, source);
    }
    // The slots of the input side's inverted view, kept apart from the outputs' list.
    const QVector<int> seenSlots = op.outputsInverted;
    op.outputsInverted.clear();
    QHash<int, int> innerOutputs;
    for (int pinId : definition->pins()) {
        BlockPinInstance* pin = instance->pin(pinId);
        if (!pin || pin->function() != BlockPinFunctionOutput)
            continue;
        const uchar type = pin->datatype(m_area);
        const QString path = own->pinLocationPath(pinId);
        double initial = parseFor(type, pin->initialValue());
        if (pin->isRemanent() && m_remanent.contains(path))
            initial = m_remanent.value(path);
        const int slot = slotFor(path, type, initial);
        if (pin->isRemanent())
            m_remanentSlots.append({path, slot});
        op.outputs.append(slot);
        op.outputTypes.append(type);
        op.outputsInverted.append(pin->isInverted()
                                      ? slotFor(own->locationPath() + QStringLiteral("i%1;{S2}").arg(pinId), type,
                                                truth(initial) ? 0 : 1)
                                      : -1);
        innerOutputs.insert(pinId, slot);
    }

    if (definition->code() && own->childCode() && depth < 64) {
        // A block made of blocks: its inputs feed its pin blocks, its code runs in place.
        Op inputsShown;
        inputsShown.function = FnCopy;
        for (int i = 0; i < op.inputs.size(); ++i) {
            Op copy;
            copy.function = FnCopy;
            copy.inputs.append(op.inputs.at(i));
            copy.inputSlots.append(-1);
            copy.outputs.append(op.inputSlots.at(i));
            copy.outputsInverted.append(seenSlots.value(i, -1));
            copy.outputTypes.append(m_types.value(op.inputSlots.at(i)));
            // The display slot shows the wire; the inverted view what the block takes in.
            copy.inputs[0].invert = false;
            m_ops.append(copy);
        }
        compileCode(own, innerInputs, &innerOutputs, depth + 1);
        for (int i = 0; i < op.outputs.size(); ++i) {
            if (op.outputsInverted.at(i) < 0)
                continue;
            Op invert;
            invert.function = FnNot;
            invert.inputs.append(Source{op.outputs.at(i), 0, false});
            invert.inputSlots.append(-1);
            invert.outputs.append(op.outputsInverted.at(i));
            invert.outputsInverted.append(-1);
            invert.outputTypes.append(op.outputTypes.at(i));
            m_ops.append(invert);
        }
        return;
    }

    op.function = FnNone;
    const QString name = definition->function();
    int stateSize = 0;
    for (const FunctionInfo& f : kFunctions) {
        if (name == QLatin1String(f.name)) {
            op.function = f.function;
            stateSize = f.state;
            break;
        }
    }
    if (op.function == FnParameterRead || op.function == FnParameterWrite)
        op.parameter = parameterNameFor(node, instance);
    if (op.function == FnConstant) {
        for (BlockPinInstance* pin : instance->pins()) {
            if (pin->function() == BlockPinFunctionOutput) {
                op.inputs.append(Source{-1, parseFor(pin->datatype(m_area), pin->initialValue()), false});
                break;
            }
        }
    }
    if (stateSize > 0) {
        op.state = int(m_state.size());
        op.stateSize = stateSize;
        op.key = own->locationPath();
        const QVector<double> kept = m_previousStates.value(op.key);
        for (int i = 0; i < stateSize; ++i)
            m_state.append(kept.size() == stateSize ? kept.at(i) : 0.0);
    }
    // The inverted views of inputs are written by the op itself.
    op.inputSlots.reserve(op.inputSlots.size() * 2);
    for (int i = 0; i < seenSlots.size(); ++i)
        op.inputSlots.append(seenSlots.at(i));
    m_ops.append(op);
}

double AreaSimulator::read(const Source& source) const
{
    const double v = source.slot >= 0 ? m_values.value(source.slot) : source.constant;
    return source.invert ? (truth(v) ? 0 : 1) : v;
}

void AreaSimulator::execute(Op& op)
{
    const int n = int(op.inputs.size());
    double in[16] = {};
    for (int i = 0; i < n && i < 16; ++i) {
        const Source& s = op.inputs.at(i);
        const double raw = s.slot >= 0 ? m_values.at(s.slot) : s.constant;
        const double seen = s.invert ? (truth(raw) ? 0 : 1) : raw;
        in[i] = seen;
        if (op.function == FnCopy)
            continue;
        if (const int shown = op.inputSlots.value(i, -1); shown >= 0)
            m_values[shown] = raw;
        if (const int view = op.inputSlots.value(n + i, -1); view >= 0)
            m_values[view] = seen;
    }
    const double dt = CycleMilliseconds;
    double* state = op.state >= 0 ? m_state.data() + op.state : nullptr;
    double out[4] = {};
    const int outputs = int(op.outputs.size());
    auto all = [&](auto fold, double start) {
        double acc = start;
        for (int i = 0; i < n; ++i)
            acc = fold(acc, in[i]);
        return acc;
    };
    switch (op.function) {
    case FnCopy: out[0] = out[1] = in[0]; break;
    case FnAnd: out[0] = all([](double a, double b) { return double(truth(a) && truth(b)); }, 1); break;
    case FnOr: out[0] = all([](double a, double b) { return double(truth(a) || truth(b)); }, 0); break;
    case FnXor: out[0] = all([](double a, double b) { return double(truth(a) != truth(b)); }, 0); break;
    case FnNot: out[0] = truth(in[0]) ? 0 : 1; break;
    case FnRs: {
        const double q = outputs ? m_values.at(op.outputs.at(0)) : 0;
        out[0] = truth(in[1]) ? 0 : (truth(in[0]) ? 1 : q);
        break;
    }
    case FnSr: {
        const double q = outputs ? m_values.at(op.outputs.at(0)) : 0;
        out[0] = truth(in[0]) ? 1 : (truth(in[1]) ? 0 : q);
        break;
    }
    case FnRising: out[0] = truth(in[0]) && !truth(state[0]); state[0] = in[0]; break;
    case FnFalling: out[0] = !truth(in[0]) && truth(state[0]); state[0] = in[0]; break;
    case FnAdd: out[0] = all([](double a, double b) { return a + b; }, 0); break;
    case FnSub: out[0] = in[0] - in[1]; break;
    case FnMul: out[0] = all([](double a, double b) { return a * b; }, 1); break;
    case FnDiv: out[0] = in[1] != 0 ? in[0] / in[1] : 0; break;
    case FnGt: out[0] = in[0] > in[1]; break;
    case FnLt: out[0] = in[0] < in[1]; break;
    case FnGe: out[0] = in[0] >= in[1]; break;
    case FnLe: out[0] = in[0] <= in[1]; break;
    case FnEq: out[0] = in[0] == in[1]; break;
    case FnNe: out[0] = in[0] != in[1]; break;
    case FnSel: out[0] = truth(in[0]) ? in[2] : in[1]; break;
    case FnMax: out[0] = all([](double a, double b) { return std::max(a, b); }, n ? in[0] : 0); break;
    case FnMin: out[0] = all([](double a, double b) { return std::min(a, b); }, n ? in[0] : 0); break;
    case FnLimit: out[0] = std::clamp(in[0], std::min(in[1], in[2]), std::max(in[1], in[2])); break;
    case FnAbs: out[0] = std::fabs(in[0]); break;
    case FnTon:
        state[0] = truth(in[0]) ? std::min(state[0] + dt, in[1]) : 0;
        out[0] = truth(in[0]) && state[0] >= in[1];
        out[1] = state[0];
        break;
    case FnTof:
        state[0] = truth(in[0]) ? 0 : std::min(state[0] + dt, in[1]);
        out[0] = truth(in[0]) || state[0] < in[1];
        out[1] = state[0];
        break;
    case FnTp: {
        // state[0]: 0 while idle, else the elapsed time of the pulse plus one; state[1]: last input.
        const bool rising = truth(in[0]) && !truth(state[1]);
        state[1] = in[0];
        if (state[0] == 0 && rising)
            state[0] = 1;
        if (state[0] > 0) {
            const double elapsed = state[0] - 1;
            out[0] = elapsed < in[1];
            out[1] = std::min(elapsed, in[1]);
            state[0] += dt;
            if (elapsed >= in[1] && !truth(in[0]))
                state[0] = 0;
        }
        break;
    }
    case FnCounter: {
        // The count lives in the output itself, so that a remanent output keeps it over a restart.
        const double count = outputs ? m_values.at(op.outputs.at(0)) : 0;
        out[0] = truth(in[0]) && !truth(state[1]) ? count + 1 : count;
        state[1] = in[0];
        break;
    }
    case FnCtu: {
        const double count = outputs > 1 ? m_values.at(op.outputs.at(1)) : 0;
        out[1] = truth(in[1]) ? 0 : (truth(in[0]) && !truth(state[1]) ? count + 1 : count);
        state[1] = in[0];
        out[0] = out[1] >= in[2];
        break;
    }
    case FnRamp: {
        const double current = outputs ? m_values.at(op.outputs.at(0)) : 0;
        const double step = std::fabs(in[1]) * dt / 1000.0;
        out[0] = current < in[0] ? std::min(current + step, in[0]) : std::max(current - step, in[0]);
        break;
    }
    case FnPt1: {
        const double current = outputs ? m_values.at(op.outputs.at(0)) : 0;
        const double t = std::max(in[1], 0.0) * 1000.0;
        out[0] = current + (in[0] - current) * dt / (t + dt);
        break;
    }
    case FnPi: {
        const double e = in[0] - in[1];
        if (in[3] > 0)
            state[0] += e * dt / (in[3] * 1000.0);
        out[0] = in[2] * (e + state[0]);
        break;
    }
    case FnSine: out[0] = in[0] * std::sin(2 * kPi * in[1] * m_time / 1000.0); break;
    case FnConvert: out[0] = in[0]; break;
    case FnConstant:
        // The value is the initial value of the output, read with the type the block was given.
        out[0] = in[0];
        break;
    case FnParameterRead: {
        ParameterSetup* setup = op.parameter.isEmpty() ? nullptr : m_area->areaInfo()->queryParameterInstance(op.parameter);
        out[0] = setup ? parseFor(outputs ? op.outputTypes.at(0) : uchar(DatatypeProvider::DInt),
                                  setup->valueText(int(m_area->firstNumber()), 0, 0))
                       : 0;
        // The read block's value pin may not be its first output.
        for (int j = 1; j < outputs && j < 4; ++j)
            out[j] = out[0];
        break;
    }
    case FnParameterWrite: {
        ParameterSetup* setup = op.parameter.isEmpty() ? nullptr : m_area->areaInfo()->queryParameterInstance(op.parameter);
        if (setup && (m_cycles == 0 || in[0] != state[0])) {
            const SimpleType* type = DatatypeProvider::instance()->simpleType(DatatypeProvider::DInt);
            setup->setValueText(int(m_area->firstNumber()), 0, type->formatValue(in[0]));
        }
        state[0] = in[0];
        return;
    }
    default:
        // An unknown function keeps its outputs as they are.
        return;
    }
    for (int j = 0; j < outputs && j < 4; ++j) {
        const SimpleType* type = op.outputTypeObjects.value(j);
        const double value = type ? type->coerce(out[j]) : out[j];
        m_values[op.outputs.at(j)] = value;
        if (const int inverted = op.outputsInverted.value(j, -1); inverted >= 0)
            m_values[inverted] = truth(value) ? 0 : 1;
    }
}

void AreaSimulator::runCycle()
{
    if (m_dirty)
        compile();
    for (Op& op : m_ops)
        execute(op);
    ++m_cycles;
    m_time += CycleMilliseconds;
    publish();
}

void AreaSimulator::publish()
{
    BlockPinValueSource* source = m_area->pinValueSource();
    if (!source || !m_area->isOnline())
        return;
    for (const QString& path : source->observedPaths()) {
        const QString text = valueText(path);
        if (!text.isNull())
            source->publishValue(path, text);
    }
}

bool AreaSimulator::value(const QString& locationPath, double* value) const
{
    const auto it = m_pathSlots.constFind(locationPath);
    if (it == m_pathSlots.constEnd())
        return false;
    if (value)
        *value = m_values.value(*it);
    return true;
}

QString AreaSimulator::valueText(const QString& locationPath) const
{
    const auto it = m_pathSlots.constFind(locationPath);
    if (it == m_pathSlots.constEnd())
        return QString();
    const SimpleType* type = DatatypeProvider::instance()->simpleType(m_types.value(*it));
    const double v = m_values.value(*it);
    return type ? type->formatValue(v) : QString::number(v, 'g', 7);
}
