#include "ParameterDefinition.h"

const QByteArray ParameterDefinition::NameKey = QByteArrayLiteral("Name");
const QByteArray ParameterDefinition::DescriptionKey = QByteArrayLiteral("Description");
const QByteArray ParameterDefinition::CoordinatesKey = QByteArrayLiteral("Coordinates");

namespace {

// The keys of the new-parameter template (src/Resources/newParameter.txt), in its order.
const char* const kTemplateKeys[][2] = {
    {"Coordinates", "P00"},
    {"Name", ""},
    {"Datatype", "4"},
    {"LivingSpace", "axis"},
    {"MultiInstance", "0"},
    {"CountElements", "1"},
    {"PrereadFunctionIndex", "0"},
    {"PrewriteFunctionIndex", "0"},
    {"PostreadFunctionIndex", "0"},
    {"PostwriteFunctionIndex", "0"},
    {"HidingFunctionIndex", "0"},
    {"ScalingFunctionIndex", "0"},
    {"LimitFunctionIndex", "5"},
    {"ReadLevel", "0"},
    {"WriteLevel", "0"},
    {"LowerLimitValue", ""},
    {"UpperLimitValue", ""},
    {"MemoryAllocation", "0"},
    {"ParameterKind", "0"},
    {"EnableOffRequired", "0"},
    {"ProcessDataMappable", "0"},
    {"LimitDependency", "0"},
    {"ScalingDependency", "0"},
    {"PostwriteDependency", "0"},
    {"PrereadDependency", "0"},
    {"HidingDependency", "0"},
    {"MeasuringUnitDependency", "0"},
    {"AutomaticOnlineUpdate", "0"},
    {"NoWrite", "0"},
    {"PostreadDependency", "0"},
    {"PrewriteDependency", "0"},
    {"IsScopeChoice", "0"},
    {"ScaledMeasuringUnit", "0"},
    {"NativeMeasuringUnit", "0"},
    {"ScalingFactor", "1"},
    {"FullScaleValue", "0"},
    {"DecimalPlacesBehind", "0"},
    {"DecimalPlacesSignificant", "0"},
    {"EditStartStepSize", "1"},
    {"FieldbusMeasuringUnit", "0"},
    {"FieldbusScalingFactor", "1"},
    {"FieldbusDecimalPlacesBehind", "0"},
    {"DefaultValueScaled", "0"},
    {"AdditionalReadTimeout", "0"},
    {"AdditionalWriteTimeout", "0"},
    {"CyclicOnlineUpdateRate", "2000"},
    {"OnlineOrder", "0"},
};

QList<ParameterCoordinate> parseCoordinates(const QByteArray& value)
{
    QList<ParameterCoordinate> result;
    for (const QByteArray& part : value.split(',')) {
        bool ok = false;
        const ParameterCoordinate c = ParameterCoordinate::fromText(QString::fromUtf8(part), &ok);
        if (!ok)
            return {};
        result.append(c);
    }
    return result;
}

bool isSavableKey(const QByteArray& key)
{
    if (key.isEmpty() || key.startsWith('[') || key.startsWith(';') || key.trimmed() != key)
        return false;
    return !key.contains('=') && !key.contains('\r') && !key.contains('\n');
}

bool isSavableValue(const QByteArray& value)
{
    return !value.contains('\r') && !value.contains('\n');
}

} // namespace

ParameterDefinition::ParameterDefinition()
{
    for (const auto& entry : kTemplateKeys)
        m_keys.append({QByteArray(entry[0]), QByteArray(entry[1])});
    updateCoordinates();
}

ParameterDefinition::ParameterDefinition(const ParameterDefinition& other) = default;

ParameterDefinition& ParameterDefinition::operator=(const ParameterDefinition& other) = default;

ParameterDefinition::~ParameterDefinition() = default;

ParameterDefinition* ParameterDefinition::clone() const
{
    return new ParameterDefinition(*this);
}

bool ParameterDefinition::setDefaultCoordinates(const QList<ParameterCoordinate>& coordinates)
{
    if (coordinates.isEmpty())
        return false;
    QByteArray text;
    for (const ParameterCoordinate& c : coordinates) {
        if (!c.isValid())
            return false;
        if (!text.isEmpty())
            text += ',';
        text += c.toText().toLatin1();
    }
    return setValue(CoordinatesKey, text);
}

void ParameterDefinition::setDescription(const ParameterText& description)
{
    m_description = description;
    if (description.isEmpty()) {
        m_keys.removeIf([](const KeyValue& kv) { return kv.first == DescriptionKey; });
        return;
    }
    if (keyIndex(DescriptionKey) >= 0)
        return;
    const int name = keyIndex(NameKey);
    m_keys.insert(name < 0 ? m_keys.size() : name + 1, {DescriptionKey, QByteArray()});
}

QList<ParameterDefinition::KeyValue> ParameterDefinition::keyValues() const
{
    QList<KeyValue> result = m_keys;
    int id = 0;
    for (KeyValue& kv : result) {
        if (isTextKey(kv.first))
            kv.second = "<localString:" + QByteArray::number(id++) + '>';
    }
    return result;
}

QList<QByteArray> ParameterDefinition::keys() const
{
    QList<QByteArray> result;
    result.reserve(m_keys.size());
    for (const KeyValue& kv : m_keys)
        result.append(kv.first);
    return result;
}

bool ParameterDefinition::hasKey(const QByteArray& key) const
{
    return keyIndex(key) >= 0;
}

QByteArray ParameterDefinition::value(const QByteArray& key) const
{
    if (isTextKey(key)) {
        for (const KeyValue& kv : keyValues()) {
            if (kv.first == key)
                return kv.second;
        }
        return QByteArray();
    }
    const int index = keyIndex(key);
    return index < 0 ? QByteArray() : m_keys.at(index).second;
}

bool ParameterDefinition::setValue(const QByteArray& key, const QByteArray& value)
{
    if (isTextKey(key) || !isSavableKey(key) || !isSavableValue(value))
        return false;
    if (key == CoordinatesKey && parseCoordinates(value).isEmpty())
        return false;
    const int index = keyIndex(key);
    if (index < 0)
        m_keys.append({key, value});
    else
        m_keys[index].second = value;
    if (key == CoordinatesKey)
        updateCoordinates();
    return true;
}

bool ParameterDefinition::removeKey(const QByteArray& key)
{
    const bool removed = m_keys.removeIf([&key](const KeyValue& kv) { return kv.first == key; }) > 0;
    if (removed && key == CoordinatesKey)
        updateCoordinates();
    return removed;
}

uchar ParameterDefinition::datatype() const
{
    bool ok = false;
    const uint v = value(QByteArrayLiteral("Datatype")).toUInt(&ok);
    return ok && v <= 255 ? uchar(v) : uchar(4);
}

void ParameterDefinition::setDatatype(uchar datatype)
{
    setValue(QByteArrayLiteral("Datatype"), QByteArray::number(datatype));
}

QByteArray ParameterDefinition::livingSpace() const
{
    const QByteArray v = value(QByteArrayLiteral("LivingSpace"));
    return v == "global" ? v : QByteArrayLiteral("axis");
}

bool ParameterDefinition::setLivingSpace(const QByteArray& livingSpace)
{
    if (livingSpace != "axis" && livingSpace != "global")
        return false;
    return setValue(QByteArrayLiteral("LivingSpace"), livingSpace);
}

int ParameterDefinition::countElements() const
{
    bool ok = false;
    const int v = value(QByteArrayLiteral("CountElements")).toInt(&ok);
    return ok && v >= 0 ? v : 1;
}

QString ParameterDefinition::lowerLimitValue() const
{
    return QString::fromUtf8(value(QByteArrayLiteral("LowerLimitValue")));
}

QString ParameterDefinition::upperLimitValue() const
{
    return QString::fromUtf8(value(QByteArrayLiteral("UpperLimitValue")));
}

quint32 ParameterDefinition::readLevel() const
{
    return value(QByteArrayLiteral("ReadLevel")).toUInt();
}

quint32 ParameterDefinition::writeLevel() const
{
    return value(QByteArrayLiteral("WriteLevel")).toUInt();
}

QString ParameterDefinition::defaultValueScaled() const
{
    if (!hasKey(QByteArrayLiteral("DefaultValueScaled")))
        return QStringLiteral("0");
    return QString::fromUtf8(value(QByteArrayLiteral("DefaultValueScaled")));
}

bool ParameterDefinition::equals(const ParameterDefinition& other) const
{
    return isRecordParameterDefinition() == other.isRecordParameterDefinition() && m_keys == other.m_keys
        && m_name == other.m_name && m_description == other.m_description;
}

bool ParameterDefinition::isTextKey(const QByteArray& key)
{
    return key == NameKey || key == DescriptionKey;
}

int ParameterDefinition::keyIndex(const QByteArray& key) const
{
    for (int i = 0; i < m_keys.size(); ++i) {
        if (m_keys.at(i).first == key)
            return i;
    }
    return -1;
}

void ParameterDefinition::updateCoordinates()
{
    const int index = keyIndex(CoordinatesKey);
    m_coordinates = index < 0 ? QList<ParameterCoordinate>() : parseCoordinates(m_keys.at(index).second);
}
