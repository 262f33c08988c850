#include "schedule/VmReserverElement.h"

#include "base/Texts.h"

#include <cmath>
#include <limits>

namespace {
constexpr qsizetype valueCount = 11;

/// Reads the next number of a value array; the first one that is none or does not fit ends it.
class NumberReader {
public:
    NumberReader(const QJsonArray& values, qsizetype first) : m_values(values), m_at(first) {}

    template <typename Number>
    bool read(Number& into) {
        const QJsonValue value = m_values.at(m_at++);
        const double number = std::trunc(value.toDouble());
        if (!value.isDouble() || number < std::numeric_limits<Number>::min() ||
            number > std::numeric_limits<Number>::max())
            return false;
        into = static_cast<Number>(number);
        return true;
    }

private:
    const QJsonArray& m_values;
    qsizetype m_at;
};
} // namespace

VmReserverElement::VmReserverElement(const Texts& texts) : m_name(texts("NoNamedTimer")) {}

std::unique_ptr<VmReserverElement> VmReserverElement::initWithValueArray(const QJsonArray& values) {
    if (values.size() < valueCount || !values.at(0).isString())
        return nullptr;
    std::unique_ptr<VmReserverElement> element(new VmReserverElement);
    element->m_name = values.at(0).toString().toStdString();
    NumberReader numbers(values, 1);
    if (!numbers.read(element->m_enabled))
        return nullptr;
    for (std::int32_t* field :
         {&element->m_start, &element->m_stop, &element->m_mode, &element->m_sample, &element->m_channels,
          &element->m_device, &element->m_month, &element->m_day, &element->m_week})
        if (!numbers.read(*field))
            return nullptr;
    return element;
}

QJsonArray VmReserverElement::valueArray() const {
    return {QString::fromStdString(m_name),
            static_cast<int>(m_enabled),
            m_start,
            m_stop,
            m_mode,
            m_sample,
            m_channels,
            m_device,
            m_month,
            m_day,
            m_week};
}

std::unique_ptr<VmReserverElement> VmReserverElement::clone() const {
    return std::make_unique<VmReserverElement>(*this);
}

bool VmReserverElement::isEqualElement(const VmReserverElement& other) const {
    return m_name == other.m_name && m_enabled == other.m_enabled && m_start == other.m_start &&
           m_stop == other.m_stop && m_mode == other.m_mode && m_channels == other.m_channels &&
           m_device == other.m_device && m_month == other.m_month && m_day == other.m_day &&
           m_week == other.m_week;
}
