// schedule/RowOrder.h — which of two rows of the timetable comes first.
#pragma once
#include "schedule/ReserveRow.h"

/// Compares cells as a person reads them: "every" before numbers, numbers by size, weekdays from Sunday on,
/// other texts without regard to case. Any thread.
class RowOrder {
public:
    /// `texts` are those that the rows were made with.
    explicit RowOrder(const Texts& texts) : m_texts(texts) {}
    /// Below 0 if the cell `key` of `left` comes first, above 0 if that of `right` does, 0 if neither.
    int compare(const ReserveRow& left, const ReserveRow& right, std::string_view key) const;

private:
    const Texts& m_texts;
};
