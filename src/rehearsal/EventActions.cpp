#include "rehearsal/EventActions.h"

#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/PlayTabActions.h"
#include "rehearsal/RehearsalDesk.h"
#include "rehearsal/TimerValues.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"

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

void pressPreferences(RehearsalDesk& desk, const ScenarioEvent& event) {
    Button& button = desk.controler->prefer().preferButton;
    if (!event.has("on"))
        button.press(!button.isOn());
    else if (event.flag("on") != button.isOn())
        button.press(event.flag("on"));
}

std::string press(RehearsalDesk& desk, const ScenarioEvent& event) {
    if (event.text("button") == "preferences")
        pressPreferences(desk, event);
    else if (Button* const button = buttonNamed(desk, event.text("button")); button != nullptr)
        button->press(event.flag("on"));
    return {};
}

/// Opens the preferences, makes the choices, applies them. Where they cannot be opened nothing happens, as with
/// any control that is disabled.
std::string prefer(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmPrefer& preferences = desk.controler->prefer();
    if (!preferences.drawer.isOpen())
        preferences.preferButton.press(true);
    if (!preferences.drawer.isOpen())
        return {};
    const QJsonObject settings = event.fields.value(QLatin1String("settings")).toObject();
    // In the drawer's order: what another choice depends on comes first.
    for (const PreferItem& item : preferences.items())
        if (const QJsonValue value = settings.value(QString::fromStdString(item.setting()));
            !value.isUndefined())
            if (const std::string fault = item.enter(desk.stored(item.setting(), value)); !fault.empty()) {
                preferences.cancelButton.press(true);
                return "settings." + item.setting() + ": " + fault;
            }
    preferences.okButton.press(true);
    if (preferences.drawer.isOpen()) // nothing was changed, or it cannot be applied
        preferences.cancelButton.press(true);
    return {};
}

std::string answer(RehearsalDesk& desk, const ScenarioEvent& event) {
    desk.alert.answerNext(event.text("message"), EventActions::answerNamed(event.text("with")));
    return {};
}

/// Selects the entry of the timetable that `event` names; says why not.
std::string selectTimer(RehearsalDesk& desk, const ScenarioEvent& event) {
    const int rows = desk.controler->reservelist().numberOfRows();
    if (event.integer("row") >= rows)
        return "row: the timetable has " + std::to_string(rows) + " rows then";
    desk.controler->reserver().setSelectedRow(event.integer("row"));
    return {};
}

std::string select(RehearsalDesk& desk, const ScenarioEvent& event) {
    constexpr int playTab = 1;
    return desk.controler->mainTab().selected() == playTab ? PlayTabActions::select(desk, event)
                                                           : selectTimer(desk, event);
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
    std::string fault = selectTimer(desk, event);
    if (fault.empty())
        editSelected(desk, event);
    return fault;
}

std::string deleteTimer(RehearsalDesk& desk, const ScenarioEvent& event) {
    std::string fault = selectTimer(desk, event);
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
        {"prefer", prefer},
        {"answer", answer},
        {"select", select},
        {"insertTimer", insertTimer},
        {"editTimer", editTimer},
        {"deleteTimer", deleteTimer},
        {"play", always(PlayTabActions::play)},
        {"stop", always(PlayTabActions::stop)},
        {"seek", always(PlayTabActions::seek)},
        {"range", always(PlayTabActions::range)},
        {"lock", always(PlayTabActions::lock)},
        {"note", always(PlayTabActions::note)},
        {"delete", always(PlayTabActions::remove)},
        {"export", always(PlayTabActions::exportSound)},
        {"level", always([](Desk& desk, const Event& event) {
             desk.controler->recorder().levelSlider().move(event.integer("value"));
         })},
        {"tab", always([](Desk& desk, const Event& event) {
             desk.controler->mainTab().choose(event.integer("index"));
         })},
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
    if (event.action == "quit" || event.action == "terminate" || event.action == "crash")
        return {};
    if (!actions().contains(event.action))
        return "do";
    return {};
}

std::string EventActions::perform(const ScenarioEvent& event) {
    return actions().at(event.action)(m_desk, event);
}

AlertAnswer EventActions::answerNamed(const std::string& word) {
    return word == "default"     ? AlertAnswer::defaultButton
           : word == "alternate" ? AlertAnswer::alternateButton
                                 : AlertAnswer::otherButton;
}
