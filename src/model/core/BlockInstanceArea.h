#pragma once

#include "zkblockmodel_export.h"

#include <QList>
#include <QObject>
#include <QString>

class AreaInfo;
class AreaSimulator;
class Block;
class BlockDefinition;
class BlockInstance;
class BlockInstanceHierarchy;
class BlockPinValueSource;

// One device area: its program (the code of its root block), hierarchy, parameters and online state.
class ZK_MODEL_EXPORT BlockInstanceArea : public QObject
{
    Q_OBJECT
public:
    // The identifier of the root instance, the first entry of every location path of the area.
    static constexpr unsigned int RootInstanceIdentifier = 0;

    // An area joins allAreas() at once unless `registered` is false (a project still being read);
    // setRegistered() lets it join later.
    BlockInstanceArea(unsigned int firstNumber, unsigned int secondNumber, unsigned int index,
                      QObject* parent = nullptr, bool registered = true);
    ~BlockInstanceArea() override;

    static QList<BlockInstanceArea*> allAreas();
    // The area whose first number is the living space of a location path; null if none.
    static BlockInstanceArea* areaForLivingSpace(unsigned int livingSpace);

    virtual AreaInfo* areaInfo() const;
    virtual unsigned int firstNumber() const;
    virtual unsigned int secondNumber() const;
    virtual unsigned int index() const;
    virtual BlockInstanceHierarchy* hierarchy() const;
    virtual BlockPinValueSource* pinValueSource() const;
    virtual bool isOnline() const;
    virtual bool hasOwnProgram() const;
    virtual QString title() const;
    virtual bool isBackDocumentation() const;
    virtual bool hasFallbackBlocks() const;
    virtual void convertFallbackBlocks();
    virtual QString displayName() const;

    void setRegistered(bool registered);
    bool isRegistered() const { return m_registered; }

    void setTitle(const QString& title);
    void setDisplayName(const QString& name);
    void setBackDocumentation(bool value);
    void setHasOwnProgram(bool value);
    // Going online needs a program; false when refused.
    bool setOnline(bool online);

    // The simulated device that computes the values while the area is online.
    AreaSimulator* simulator() const { return m_simulator; }

    Block* rootBlock() const { return m_rootBlock; }
    BlockDefinition* rootDefinition() const;
    BlockInstance* rootInstance() const { return m_rootInstance; }
    // The fall-back blocks found in the area's code, reachable from the root.
    QList<Block*> fallbackBlocks() const;

Q_SIGNALS:
    void onlineChanged(bool online);
    void allAreasChanged();
    void propertiesChanged();

private:
    static void announceAreasChanged();

    unsigned int m_first;
    unsigned int m_second;
    unsigned int m_index;
    QString m_title;
    QString m_displayName;
    bool m_online = false;
    bool m_registered = false;
    bool m_backDocumentation = false;
    bool m_ownProgram = true;
    AreaInfo* m_info;
    Block* m_rootBlock;
    BlockInstance* m_rootInstance;
    BlockInstanceHierarchy* m_hierarchy;
    BlockPinValueSource* m_valueSource;
    AreaSimulator* m_simulator;
};
