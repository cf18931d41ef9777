#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QString>

// The living space of a location path: the first number of the area whose hierarchy the path walks.
enum eLivingSpace : unsigned int { LivingSpaceGlobal = 0 };

// Parses the text of a location path: "A" living space ":" entries joined by ".", root entry first.
// The living space part may be missing ("0.5.12"); entries are kept as written.
class ZK_MODEL_EXPORT Locator
{
public:
    Locator();
    explicit Locator(const QString& text);
    ~Locator();

    void parseText(const QString& text);

    bool hasLivingSpace() const { return m_hasLivingSpace; }
    bool hasHierarchy() const { return !m_stack.isEmpty(); }
    eLivingSpace livingSpace() const { return m_livingSpace; }
    QList<QString> hierarchyStack() const { return m_stack; }
    int countHierarchyLevels() const { return int(m_stack.size()); }
    // False for text that is no location path at all ("A:", "Ax:1", "1..2").
    bool isValid() const { return m_valid; }

    // Builds the text form; the inverse of parseText for valid paths.
    static QString buildPath(unsigned int livingSpace, const QList<unsigned int>& entries);

private:
    eLivingSpace m_livingSpace = LivingSpaceGlobal;
    bool m_hasLivingSpace = false;
    bool m_valid = false;
    QList<QString> m_stack;
};
