#include "faults/FaultyDuty.h"

#include "faults/FrameCensus.h"
#include "faults/ProcessOfItsOwn.h"
#include "storage/SoundFileNames.h"
#include "support/DeskOfATest.h"

#include <cmath>
#include <QJsonArray>

namespace {
constexpr double rate = 8000.0;
constexpr double length = 40.0;       // seconds
constexpr double writeInterval = 6.0; // seconds that a crash of the disk may cost
constexpr double slowness = 2.5;      // seconds for each block
constexpr double retryInterval = 5.0;
constexpr unsigned patience = 30; // seconds of real time

SimulatedDevice input() {
    SimulatedDevice device = countingInput();
    device.rates = {rate};
    return device;
}

QTimeZone zone() {
    return QTimeZone("Asia/Tokyo");
}

CalendarDate start(FaultyDuty::Kind kind) {
    const int second = kind == FaultyDuty::Kind::timetable ? 25 : 40;
    return {.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 59, .second = second};
}

std::vector<RehearsalDesk::Setting> settings(FaultyDuty::Kind kind) {
    std::vector<RehearsalDesk::Setting> all = fullRateStereo;
    all.push_back({"MaxTotalTime", 1e8});
    if (kind != FaultyDuty::Kind::timetable) {
        all.push_back({"RecordSwitch", true});
    } else {
        all.push_back(
            {"TimerList", QJsonArray{QJsonArray{"watch", 1, 9 * 3600, 10 * 3600, 0, 2, 2, 0, 0, 0, 0}}});
        all.push_back({"ReserveSwitch", true});
    }
    return all;
}

/// The main thread is busy over a whole loss and return, and longer than the write thread sleeps.
void loseInputUnseen(RehearsalDesk& desk) {
    desk.clock.detachThread("cable", [&desk] {
        desk.clock.sleepUntil(hostTimeFromSeconds(6.0));
        desk.hardware.unplug("desk-in");
        desk.clock.sleepUntil(hostTimeFromSeconds(8.0));
        desk.hardware.replug("desk-in");
    });
    desk.runFor(5.9);
    desk.clock.sleepUntil(hostTimeFromSeconds(17.0));
}

std::string joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += "\n    " + line;
    return text;
}
} // namespace

FaultyDuty::Outcome FaultyDuty::run(const std::string& folder) const {
    Outcome outcome;
    RehearsalDesk desk(folder, zone(), start(m_kind), {input(), deskOutput()}, settings(m_kind));
    NthFaultVolume volume(desk.volume, desk.clock, m_fault);
    const auto watch =
        desk.notifications.observe(VmLogEventNotification, [&outcome](const Notification& event) {
            const auto message = event.userInfo.find(std::string(ErrorMessageString));
            outcome.events.push_back(event.object +
                                     (message == event.userInfo.end() ? "" : ": " + message->second));
        });
    desk.controler = std::make_unique<VmControler>(
        Seams{desk.clock, desk.runLoop, desk.notifications, desk.defaults, desk.log, desk.alert, desk.texts,
              desk.hardware, volume, desk.administratorRight, desk.savePanel, desk.workspace});
    desk.volume.setWriteSeconds(m_kind == Kind::slowDisk ? slowness : 0.0);
    desk.launch();
    if (m_kind == Kind::relay)
        loseInputUnseen(desk);
    desk.runFor(length - static_cast<double>(desk.clock.hostTime()) * 1e-9);
    VmRecorder& recorder = desk.controler->recorder();
    if (m_kind != Kind::timetable)
        recorder.recordButton().press(false);
    else
        recorder.reserveButton().press(false);
    desk.runFor(2.0 * retryInterval);
    desk.terminate();
    for (int operation = 0; operation < NthFaultVolume::operations; ++operation)
        outcome.counts[static_cast<std::size_t>(operation)] =
            volume.count(static_cast<NthFaultVolume::Operation>(operation));
    if (const auto struck = volume.struck())
        outcome.struck = static_cast<double>(*struck) * 1e-9;
    outcome.lines = desk.log.lines();
    return outcome;
}

void FaultyDuty::rescue(const std::string& folder) const {
    CalendarDate later = start(m_kind);
    later.hour += 1;
    RehearsalDesk desk(folder, zone(), later, {input(), deskOutput()},
                       {{"RecordSwitch", false}, {"ReserveSwitch", false}});
    desk.launch();
    desk.runFor(2.0);
    desk.terminate();
}

std::string FaultyDuty::judge(const std::string& folder, const Outcome& outcome, const Usual& usual) const {
    std::string text;
    FrameCensus census;
    census.addFolder(folder + "/record");
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/record")) {
        const std::string name = entry.path().filename().string();
        if (name.starts_with("VelmoratideUnreadable_")) // put aside, and said: somebody can place it
            census.addBare(entry.path().string());
        else if (!FrameCensus::isRecording(name) && !SoundFileNames::isImageFile(name) &&
                 name != "VelmoratideLog.txt")
            text += name + " is left; ";
    }
    text += census.complaint();
    if (outcome.struck < 0.0)
        return text.empty() ? text : text + joined(outcome.lines);
    if (outcome.lines.size() <= usual.lines)
        text += "no line in the system log; ";
    // A fault that is over costs nothing; one that stays costs what came after it, and the block on its way. An
    // interrupted recording ends with the press of the switch, any other one a tick later.
    const bool isOver = m_fault.seconds < NthFaultVolume::forEver;
    const std::int64_t end = std::min<std::int64_t>(usual.end, std::llround(length * rate));
    const double unsafe = m_kind == Kind::relay      ? 2.0 * writeInterval
                          : m_kind == Kind::slowDisk ? writeInterval + 2.0 * slowness
                                                     : writeInterval;
    const std::int64_t safe =
        isOver ? end : std::min<std::int64_t>(end, std::llround((outcome.struck - unsafe) * rate));
    if (safe > usual.first && census.first() != usual.first)
        text += "begins at frame " + std::to_string(census.first()) + " instead of " +
                std::to_string(usual.first) + "; ";
    if (census.end() < safe - 2)
        text += "ends at frame " + std::to_string(census.end()) + " instead of " + std::to_string(safe) + "; ";
    for (const FrameCensus::Run& gap : census.gaps())
        if (gap.first < safe && (gap.first != usual.gapFirst || gap.end != usual.gapEnd))
            text +=
                "lost " + std::to_string(gap.frames()) + " frames from " + std::to_string(gap.first) + " on; ";
    if (text.empty())
        return text;
    return text + "struck at " + std::to_string(outcome.struck) + " s" + joined(outcome.lines) +
           joined(outcome.events);
}

FaultyDuty::Usual FaultyDuty::usual(Kind kind) {
    const FaultyDuty duty(kind, {});
    TemporaryFolder folder;
    const Outcome outcome = duty.run(folder.path());
    FrameCensus census;
    census.addFolder(folder.path() + "/record");
    EXPECT_EQ(census.complaint(), "");
    const auto gaps = census.gaps();
    EXPECT_EQ(gaps.size(), kind == Kind::relay ? 1U : 0U);
    return {.counts = outcome.counts,
            .first = census.first(),
            .end = census.end(),
            .lines = outcome.lines.size(),
            .gapFirst = gaps.empty() ? 0 : gaps[0].first,
            .gapEnd = gaps.empty() ? 0 : gaps[0].end};
}

std::string FaultyDuty::complaint(const Usual& usual) const {
    TemporaryFolder folder;
    return doneApart(patience, [&] {
        const Outcome outcome = run(folder.path());
        rescue(folder.path());
        return judge(folder.path(), outcome, usual);
    });
}
