#include "schedule/VmReserveList.h"

#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "schedule/RowOrder.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <QJsonDocument>
#include <span>

namespace {
constexpr const char* timerListKey = "TimerList";
constexpr const char* unreadableTimersKey = "UnreadableTimers";
constexpr qsizetype deviceIndex = 7;
constexpr std::ptrdiff_t saidBytes = 400; // of an entry that cannot be read

template <typename Value>
void putInOrder(std::vector<Value>& values, std::span<const std::size_t> order) {
    std::vector<Value> sorted;
    sorted.reserve(values.size());
    for (const std::size_t index : order)
        sorted.push_back(std::move(values[index]));
    values = std::move(sorted);
}

std::string asText(const QJsonValue& entry) {
    const QByteArray text = QJsonDocument(QJsonArray{entry}).toJson(QJsonDocument::Compact);
    return text.mid(1, std::min<qsizetype>(text.size() - 2, saidBytes)).toStdString();
}
} // namespace

VmReserveList::VmReserveList(VmControler& controler) : m_controler(controler) {}

void VmReserveList::registerDefaults(UserDefaults& defaults) {
    // A table without texts shows the keys: the name is looked up when the entry is made.
    const VmReserverElement element{Texts()};
    defaults.registerDefault(timerListKey, QJsonArray{element.valueArray()});
    defaults.registerDefault(unreadableTimersKey, QJsonArray());
}

void VmReserveList::awake() {
    load();
    initReserveList();
}

void VmReserveList::load() {
    const Seams& seams = m_controler.seams();
    const QJsonValue stored = seams.defaults.valueForKey(timerListKey);
    if (stored == seams.defaults.registeredDefault(timerListKey)) {
        append(VmReserverElement(seams.texts));
        return;
    }
    QJsonArray unreadable;
    int number = 0;
    for (const QJsonValue entry : stored.toArray()) {
        ++number;
        if (const auto element = VmReserverElement::initWithValueArray(entry.toArray())) {
            append(*element);
            continue;
        }
        unreadable.append(entry);
        const std::string message =
            formatted("VmReserveList: timer entry %d cannot be read and is left out: ", number) + asText(entry);
        seams.log.log(message);
        seams.notifications.postLogEvent("SomeErrorHappen", message);
    }
    if (unreadable.isEmpty())
        return;
    // The list is stored without them: they stay where a person can find them.
    QJsonArray kept = seams.defaults.valueForKey(unreadableTimersKey).toArray();
    for (const QJsonValue entry : unreadable)
        if (!kept.contains(entry)) // as long as the list is not stored, each launch meets it again
            kept.append(entry);
    seams.defaults.set(unreadableTimersKey, kept);
    if (m_timers.empty())
        append(VmReserverElement(seams.texts));
}

void VmReserveList::append(const VmReserverElement& element) {
    m_timers.push_back(element);
    m_lastTimers.push_back(element);
    m_renewFlags.push_back(false);
}

void VmReserveList::saveUserDefaults() {
    QJsonArray list;
    for (std::size_t index = 0; index < m_timers.size(); ++index) {
        QJsonArray values = m_timers[index].valueArray();
        // What stands in for a source that is missing at present is nobody's choice.
        values[deviceIndex] = m_lastTimers[index].device();
        list.append(values);
    }
    m_controler.seams().defaults.set(timerListKey, list);
    m_controler.seams().defaults.synchronize();
}

void VmReserveList::insert(VmReserverElement element, int row) {
    const std::ptrdiff_t at = hasRow(row) ? row : std::ssize(m_timers);
    if (const int source = m_controler.devicer().checkRecordSource(element.device()); source >= 0)
        element.setDevice(source);
    m_lastTimers.insert(m_lastTimers.begin() + at, element);
    m_renewFlags.insert(m_renewFlags.begin() + at, true);
    m_timers.insert(m_timers.begin() + at, std::move(element));
    initReserveList();
    changed();
}

void VmReserveList::remove(int row) {
    if (!hasRow(row))
        return;
    m_timers.erase(m_timers.begin() + row);
    m_lastTimers.erase(m_lastTimers.begin() + row);
    m_renewFlags.erase(m_renewFlags.begin() + row);
    initReserveList();
    changed();
}

void VmReserveList::replace(int row, VmReserverElement element) {
    if (!hasRow(row))
        return;
    const auto index = static_cast<std::size_t>(row);
    if (element.device() >= 0) // without any source there was none to choose
        m_lastTimers[index].setDevice(element.device());
    m_timers[index] = std::move(element);
    m_renewFlags[index] = true;
    initReserveList();
    changed();
}

void VmReserveList::changed() {
    saveUserDefaults(); // a timetable must not be lost with a duty of days
    postChanged();
}

void VmReserveList::postChanged() const {
    m_controler.seams().notifications.post({std::string(VmReserveListChanged_Notification), {}, {}});
}

std::string VmReserveList::objectValue(std::string_view key, int row) const {
    if (!hasRow(row))
        return {};
    const ReserveRow& cells = m_reserveList[static_cast<std::size_t>(row)];
    const auto cell = cells.find(key);
    return cell == cells.end() ? std::string() : cell->second;
}

std::string VmReserveList::cell(int row, std::string_view column) const {
    if (column == "EntryMark")
        return isWarning(row, column) ? m_controler.seams().texts("WarningMark") : std::string();
    if (column == "NextSpan")
        return nextSpanText(row, Dates::brief);
    return objectValue(column, row);
}

std::string VmReserveList::tip(int row, std::string_view column) const {
    const Texts& texts = m_controler.seams().texts;
    if (column == "EntryMark")
        return neverStarts(row) ? texts("EntryNeverStarts") : overlaps(row) ? texts("EntryOverlaps") : "";
    return column == "NextSpan" ? nextSpanText(row, Dates::whole) : std::string();
}

bool VmReserveList::isWarning(int row, std::string_view column) const {
    return column == "EntryMark" && (neverStarts(row) || overlaps(row));
}

std::string VmReserveList::nextSpanText(int row, Dates dates) const {
    const auto span = nextSpan(row);
    if (!span)
        return {};
    const Clock& clock = m_controler.seams().clock;
    const auto sameOf = [&clock](const Date& one, const Date& other, const char* part) {
        return clock.format(one, part) == clock.format(other, part);
    };
    const bool isBrief = dates == Dates::brief;
    const bool withYear = !isBrief || !sameOf(span->start, clock.now(), "%Y");
    const char* const stop = sameOf(span->start, span->stop, "%Y%m%d") ? "%H:%M"
                             : isBrief                                 ? "%m-%d %H:%M"
                                                                       : "%Y-%m-%d %H:%M";
    return clock.format(span->start, withYear ? "%Y-%m-%d %H:%M" : "%m-%d %H:%M") + (isBrief ? "–" : " – ") +
           clock.format(span->stop, stop);
}

std::optional<EntryCalendar::Span> VmReserveList::nextSpan(int row) const {
    if (!hasRow(row) || m_timers[static_cast<std::size_t>(row)].enabled() == 0)
        return std::nullopt;
    const Clock& clock = m_controler.seams().clock;
    return EntryCalendar::nextSpan(m_timers[static_cast<std::size_t>(row)], clock, clock.now());
}

bool VmReserveList::overlaps(int row) const {
    if (!hasRow(row))
        return false;
    const VmReserverElement& element = m_timers[static_cast<std::size_t>(row)];
    return element.enabled() != 0 && std::ranges::any_of(m_timers, [&](const VmReserverElement& other) {
               return &other != &element && other.enabled() != 0 && EntryCalendar::overlap(element, other);
           });
}

bool VmReserveList::neverStarts(int row) const {
    return hasRow(row) && EntryCalendar::neverStarts(m_timers[static_cast<std::size_t>(row)]);
}

void VmReserveList::setObjectValue(std::string_view key, int row, std::string text) {
    if (!hasRow(row))
        return;
    ReserveRow& cells = m_reserveList[static_cast<std::size_t>(row)];
    if (const auto cell = cells.find(key); cell != cells.end())
        cell->second = std::move(text);
}

void VmReserveList::initReserveList() {
    // From the source that was chosen, not from what stood in for it: it may be back.
    for (std::size_t index = 0; index < m_timers.size(); ++index)
        m_timers[index].setDevice(m_lastTimers[index].device());
    m_reserveList = initWithTimers(m_timers);
}

void VmReserveList::sourcesChanged() {
    initReserveList();
    postChanged();
}

std::vector<ReserveRow> VmReserveList::initWithTimers(std::vector<VmReserverElement>& timers) const {
    const VmDevice& devicer = m_controler.devicer();
    std::vector<ReserveRow> rows;
    rows.reserve(timers.size());
    for (VmReserverElement& element : timers) {
        element.setDevice(devicer.checkRecordSource(element.device()));
        rows.push_back(ReserveWords::row(
            element, m_controler.seams().texts, devicer.japanSourceNameOfRecordSource(element.device()),
            devicer.recordSampleRateWithSource(element.device(), element.sample())));
    }
    return rows;
}

void VmReserveList::sortDescriptorsDidChange(const std::vector<SortDescriptor>& descriptors) {
    const RowOrder rowOrder(m_controler.seams().texts);
    std::vector<std::size_t> order(m_reserveList.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::ranges::stable_sort(order, [&](std::size_t left, std::size_t right) {
        for (const SortDescriptor& by : descriptors) {
            const int compared = rowOrder.compare(m_reserveList[left], m_reserveList[right], by.key);
            if (compared != 0)
                return by.ascending ? compared < 0 : compared > 0;
        }
        return false;
    });
    putInOrder(m_reserveList, order);
    putInOrder(m_timers, order);
    putInOrder(m_lastTimers, order);
    std::vector<bool> flags;
    flags.reserve(order.size());
    for (const std::size_t index : order)
        flags.push_back(m_renewFlags[index]);
    m_renewFlags = std::move(flags);
    sortTimers();
    changed();
}

void VmReserveList::sortTimers() {
    for (std::size_t index = 0; index < m_timers.size(); ++index) {
        VmReserverElement element = elementFromRow(m_reserveList[index], m_timers[index]);
        if (element.device() != m_timers[index].device()) // another source was written into its cell
            m_lastTimers[index].setDevice(element.device());
        m_timers[index] = std::move(element);
    }
}

int VmReserveList::sourceOfRow(const ReserveRow& row, int former) const {
    const VmDevice& devicer = m_controler.devicer();
    const std::string& name = row.at("SourceDevice");
    if (devicer.japanSourceNameOfRecordSource(former) == name)
        return former; // two sources may share a name
    const std::vector<std::string> names = devicer.usableJapanRecordSourceNames();
    const auto found = std::ranges::find(names, name);
    return found == names.end() ? former : static_cast<int>(found - names.begin());
}

int VmReserveList::sampleOfRow(const ReserveRow& row, int device, int former) const {
    const VmDevice& devicer = m_controler.devicer();
    const std::string& text = row.at("SampleRate");
    const auto rateOf = [&](int sample) { return devicer.recordSampleRateWithSource(device, sample); };
    if (ReserveWords::rateText(rateOf(former)) == text)
        return former;
    const double rate = ReserveWords::rateFromText(text, rateOf(former));
    const auto samples = {0, 1, 2};
    return *std::ranges::min_element(samples, {}, [&](int sample) { return std::abs(rateOf(sample) - rate); });
}

VmReserverElement VmReserveList::elementFromRow(const ReserveRow& row, const VmReserverElement& former) const {
    const Texts& texts = m_controler.seams().texts;
    VmReserverElement element = former;
    element.setEnabled(!row.at("EnabledReserve").empty());
    element.setName(row.at("ReserveName"));
    element.setMonth(ReserveWords::dayFromText(row.at("ReserveMonth"), texts, former.month()));
    element.setDay(ReserveWords::dayFromText(row.at("ReserveDay"), texts, former.day()));
    element.setWeek(ReserveWords::weekFromText(row.at("ReserveWeek"), texts, former.week()));
    element.setStart(ReserveWords::secondsFromText(row.at("StartTime"), former.start()));
    element.setStop(ReserveWords::secondsFromText(row.at("StopTime"), former.stop()));
    element.setDevice(sourceOfRow(row, former.device()));
    element.setSample(sampleOfRow(row, element.device(), former.sample()));
    element.setChannels(row.at("ChannelsNumber") == texts("MonoralSound") ? 1 : 2);
    element.setMode(row.at("RecordMode") == texts("AlwaysMode") ? 0 : 1);
    return element;
}
