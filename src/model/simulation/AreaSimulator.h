#pragma once

#include "zkblockmodel_export.h"

#include <QHash>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QVector>

class BlockCode;
class BlockInstance;
class BlockInstanceArea;
class BlockInstanceHierarchyNode;
class BlockPinInstance;
class QTimer;
class SimpleType;

// The simulated device of an area. While the area is online it runs a cycle every 100 ms: the
// area's program, compiled into a flat list of operations over numbered value slots, is evaluated
// in run-time order, and the values of observed pins go to the area's BlockPinValueSource.
// docs/blocks.md tells what each block function computes.
class ZK_MODEL_EXPORT AreaSimulator : public QObject
{
    Q_OBJECT
public:
    static constexpr int CycleMilliseconds = 100;

    explicit AreaSimulator(BlockInstanceArea* area);
    ~AreaSimulator() override;

    bool isRunning() const;
    void start();
    // Stops at once; remanent values are kept for the next start.
    void stop();

    // One cycle now, with the simulated clock advanced by one period (tests step with this).
    void runCycle();
    qint64 cycleCount() const { return m_cycles; }
    // Simulated time since start, in milliseconds.
    double time() const { return m_time; }

    // The value of a pin location path (plain or inverted form) after the last cycle; false when
    // the path names no pin of the program.
    bool value(const QString& locationPath, double* value) const;
    QString valueText(const QString& locationPath) const;
    int operationCount() const { return int(m_ops.size()); }
    int slotCount() const { return int(m_values.size()); }

private:
    enum Function : int;
    struct Source
    {
        int slot = -1;
        double constant = 0;
        bool invert = false;
    };
    struct Op
    {
        int function = 0;
        QVector<Source> inputs;
        QVector<int> inputSlots;    // what the block sees on each input, for display
        QVector<int> outputs;       // raw result per output
        QVector<int> outputsInverted; // -1, or the slot of the inverted signal
        QVector<uchar> outputTypes;
        QVector<const SimpleType*> outputTypeObjects; // resolved once per compile, not per cycle
        int state = -1;
        QString parameter;          // magic blocks: the parameter's name in the area
        QString key;                // the block's location path, to keep its state over a recompile
        int stateSize = 0;
    };

    void markDirty();
    void compile();
    void compileCode(BlockInstanceHierarchyNode* node, const QHash<int, Source>& enclosingInputs,
                     QHash<int, int>* enclosingOutputs, int depth);
    void compileInstance(BlockInstanceHierarchyNode* node, BlockInstance* instance,
                         const QHash<int, Source>& enclosingInputs, QHash<int, int>* enclosingOutputs, int depth);
    int slotFor(const QString& path, uchar type, double initial);
    Source sourceOf(BlockInstanceHierarchyNode* node, BlockCode* code, BlockPinInstance* pin,
                    const QHash<int, Source>& enclosingInputs);
    double read(const Source& source) const;
    void execute(Op& op);
    void publish();
    void watch(BlockCode* code);
    QString parameterNameFor(BlockInstanceHierarchyNode* node, BlockInstance* instance) const;

    BlockInstanceArea* m_area;
    QTimer* m_timer;
    bool m_dirty = true;
    qint64 m_cycles = 0;
    double m_time = 0;
    QVector<Op> m_ops;
    QVector<double> m_values;
    QVector<uchar> m_types;
    QVector<double> m_state;
    QHash<QString, QVector<double>> m_previousStates;
    QHash<QString, int> m_pathSlots;
    QHash<QString, double> m_remanent;
    QVector<QPair<QString, int>> m_remanentSlots;
    QHash<QString, int> m_outputSlotOfPin; // "<node path>p<pin>" of outputs already given a slot
    QList<QPointer<BlockCode>> m_watched;
};
