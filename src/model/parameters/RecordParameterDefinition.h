#pragma once

#include "ParameterDefinition.h"
#include "zkblockmodel_export.h"

#include <QList>
#include <QMap>

// A parameter made of numbered elements, each with a name of its own (a table of gains, say).
class ZK_MODEL_EXPORT RecordParameterDefinition : public ParameterDefinition
{
public:
    RecordParameterDefinition();
    ~RecordParameterDefinition() override;

    ParameterDefinition* clone() const override;

    bool isRecordParameterDefinition() const override { return true; }
    RecordParameterDefinition* queryRecordParameterDefinition() override { return this; }
    const RecordParameterDefinition* queryRecordParameterDefinition() const override { return this; }

    // Ascending element numbers.
    QList<unsigned short> elementList() const { return m_elements.keys(); }
    bool hasElement(unsigned short element) const { return m_elements.contains(element); }
    // An element that is not there answers an empty text rather than failing.
    const ParameterText& elementName(unsigned short element) const;
    // Adds the element if it is not there yet. The CountElements key is left alone: it is the
    // device's count, which may lawfully differ while a record is being edited.
    void setElementName(unsigned short element, const ParameterText& name);
    bool removeElement(unsigned short element);
    void clearElements() { m_elements.clear(); }

protected:
    RecordParameterDefinition(const RecordParameterDefinition& other);

    bool equals(const ParameterDefinition& other) const override;

private:
    QMap<unsigned short, ParameterText> m_elements;
};
