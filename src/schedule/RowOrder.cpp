#include "schedule/RowOrder.h"

#include <limits>
#include <QString>

namespace {
constexpr int noNumber = std::numeric_limits<int>::max();

std::string_view cell(const ReserveRow& row, std::string_view key) {
    const auto found = row.find(key);
    return found == row.end() ? std::string_view() : std::string_view(found->second);
}

QString qString(std::string_view text) {
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

template <typename Number>
int sign(Number left, Number right) {
    return left < right ? -1 : right < left ? 1 : 0;
}
} // namespace

int RowOrder::compare(const ReserveRow& left, const ReserveRow& right, std::string_view key) const {
    const std::string_view one = cell(left, key);
    const std::string_view other = cell(right, key);
    int order = 0;
    if (key == "ReserveMonth" || key == "ReserveDay")
        order = sign(ReserveWords::dayFromText(one, m_texts, noNumber),
                     ReserveWords::dayFromText(other, m_texts, noNumber));
    else if (key == "ReserveWeek")
        order = sign(ReserveWords::weekFromText(one, m_texts, noNumber),
                     ReserveWords::weekFromText(other, m_texts, noNumber));
    else if (key == "StartTime" || key == "StopTime")
        order =
            sign(ReserveWords::secondsFromText(one, noNumber), ReserveWords::secondsFromText(other, noNumber));
    else if (key == "SampleRate")
        order = sign(ReserveWords::rateFromText(one, noNumber), ReserveWords::rateFromText(other, noNumber));
    return order != 0 ? order : qString(one).compare(qString(other), Qt::CaseInsensitive);
}
