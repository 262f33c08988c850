#include "rehearsal/EventActions.h"

#include "app/VmControler.h"
#include "base/VmTableView.h"
#include "library/VmPlayer.h"
#include "library/VmWaveView.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "rehearsal/TimerValues.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"

#include <algorithm>
#include <functional>
#include <map>

namespace {
using Action = std::function<std::string(RehearsalDesk&, const ScenarioEvent&)>;

Button* buttonNamed(RehearsalDesk& desk, const std::string& name) {
    VmRecorder& recorder = desk.controler->recorder();
    const std::map<std::string, Button*> buttons = {{"record", &recorder.recordButton()},
                                                    {"reserve", &recorder.reserveButton()},
                                                    {"monitor", &recorder.monitorButton()},
                                                    {"hour", &recorder.hourButton()},
                                                    {"marker", &recorder.markerButton()}};
    const auto found = buttons.find(name);
    return found == buttons.end() ? nullptr : found->second;
}

std::string press(RehearsalDesk& desk, const ScenarioEvent& event) {
    if (Button* const button = buttonNamed(desk, event.text("button")); button != nullptr)
        button->press(event.flag("on"));
    return {};
}

std::string answer(RehearsalDesk& desk, const ScenarioEvent& event) {
    const std::string with = event.text("with");
    desk.alert.answerNext(event.text("message"), with == "default"     ? AlertAnswer::defaultButton
                                                 : with == "alternate" ? AlertAnswer::alternateButton
                                                                       : AlertAnswer::otherButton);
    return {};
}

constexpr int playTab = 1;

std::string selectRecording(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmTableView& table = desk.controler->recordTable();
    desk.controler->player().initDataSource();
    if (event.integer("row") >= table.numberOfRows())
        return "row: the list has " + std::to_string(table.numberOfRows()) + " recordings then";
    table.chooseRow(event.integer("row"));
    return {};
}

/// A place in the recording that is open, `to` seconds from its beginning.
void seek(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmPlayer& player = desk.controler->player();
    const double bytes = event.number("to") * static_cast<double>(player.sampleRate()) * player.channels() *
                         sizeof(std::int16_t);
    const int place = static_cast<int>(std::min(bytes, static_cast<double>(player.pointSlider().maximum())));
    player.pointSlider().move(place);
    player.pointSlider().move(place); // the mouse button is let go
}

/// A drag of the mouse over the waveform; an empty one takes the selection away.
void range(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmWaveView& view = desk.controler->player().waveView();
    view.mouseDown(event.number("from"), false);
    view.mouseDragged(event.number("to"));
    view.mouseUp();
}

/// Selects the row that `event` names; says why not.
std::string select(RehearsalDesk& desk, const ScenarioEvent& event) {
    if (desk.controler->mainTab().selected() == playTab)
        return selectRecording(desk, event);
    const int rows = desk.controler->reservelist().numberOfRows();
    if (event.integer("row") >= rows)
        return "row: the timetable has " + std::to_string(rows) + " rows then";
    desk.controler->reserver().setSelectedRow(event.integer("row"));
    return {};
}

void editSelected(RehearsalDesk& desk, const ScenarioEvent& event) {
    const int row = desk.controler->reserver().selectedRow();
    VmReserveList& list = desk.controler->reservelist();
    list.replace(row, TimerValues::applied(event.fields.value(QLatin1String("values")).toObject(),
                                           list.timers().at(static_cast<std::size_t>(row))));
}

std::string insertTimer(RehearsalDesk& desk, const ScenarioEvent& event) {
    desk.controler->reserver().setSelectedRow(-1); // behind the last
    if (event.has("row") && event.integer("row") < desk.controler->reservelist().numberOfRows())
        desk.controler->reserver().setSelectedRow(event.integer("row"));
    desk.controler->reserver().actInsertTimer();
    editSelected(desk, event);
    return {};
}

std::string editTimer(RehearsalDesk& desk, const ScenarioEvent& event) {
    std::string fault = select(desk, event);
    if (fault.empty())
        editSelected(desk, event);
    return fault;
}

std::string deleteTimer(RehearsalDesk& desk, const ScenarioEvent& event) {
    std::string fault = select(desk, event);
    if (fault.empty())
        desk.controler->reserver().actDeleteTimer();
    return fault;
}

/// An action that can always be done.
template <typename Call>
Action always(Call call) {
    return [call](RehearsalDesk& desk, const ScenarioEvent& event) {
        call(desk, event);
        return std::string();
    };
}

const std::map<std::string, Action>& actions() {
    using Desk = RehearsalDesk;
    using Event = ScenarioEvent;
    static const std::map<std::string, Action> table = {
        {"press", press},
        {"answer", answer},
        {"select", select},
        {"insertTimer", insertTimer},
        {"editTimer", editTimer},
        {"deleteTimer", deleteTimer},
        {"play", always([](Desk& desk, const Event&) { desk.controler->player().playButton().press(true); })},
        {"stop", always([](Desk& desk, const Event&) { desk.controler->player().playButton().press(false); })},
        {"seek", always(seek)},
        {"range", always(range)},
        {"level", always([](Desk& desk, const Event& event) {
             desk.controler->recorder().levelSlider().move(event.integer("value"));
         })},
        {"tab", always([](Desk&, const Event&) {})}, // the one tab there is, is shown
        {"sleep", always([](Desk& desk, const Event&) { desk.controler->recorder().willSleepHandle(); })},
        {"wake", always([](Desk& desk, const Event&) { desk.controler->recorder().didWakeHandle(); })},
        {"unplug", always([](Desk& desk, const Event& event) { desk.hardware.unplug(event.text("uid")); })},
        {"replug", always([](Desk& desk, const Event& event) { desk.hardware.replug(event.text("uid")); })},
        {"stall", always([](Desk& desk, const Event& event) {
             desk.hardware.stall(event.text("uid"), event.number("seconds"));
         })},
        {"clock", always([](Desk& desk, const Event& event) { desk.clock.jump(event.number("by")); })},
        {"free",
         always([](Desk& desk, const Event& event) { desk.volume.setFreeBytes(event.number("bytes")); })},
        {"writeError",
         always([](Desk& desk, const Event& event) { desk.volume.setWriteError(event.flag("on")); })},
        {"slowDisk",
         always([](Desk& desk, const Event& event) { desk.volume.setWriteSeconds(event.number("seconds")); })},
        {"admin", always([](Desk& desk, const Event& event) {
             desk.administratorRight.setGranted(event.flag("grant"));
         })},
    };
    return table;
}
} // namespace

std::string EventActions::unsupportedField(const ScenarioEvent& event) {
    if (event.action == "quit" || event.action == "crash")
        return {};
    if (!actions().contains(event.action))
        return "do";
    if (event.action == "press" && event.text("button") == "preferences")
        return "button";
    if (event.action == "tab" && event.integer("index") != 0)
        return "index";
    return {};
}

std::string EventActions::perform(const ScenarioEvent& event) {
    return actions().at(event.action)(m_desk, event);
}
