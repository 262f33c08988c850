#include "rehearsal/EventActions.h"

#include "app/VmControler.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"

#include <functional>
#include <map>

namespace {
using Action = std::function<void(RehearsalDesk&, const ScenarioEvent&)>;

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

void press(RehearsalDesk& desk, const ScenarioEvent& event) {
    if (Button* const button = buttonNamed(desk, event.text("button")); button != nullptr)
        button->press(event.flag("on"));
}

void answer(RehearsalDesk& desk, const ScenarioEvent& event) {
    const std::string with = event.text("with");
    desk.alert.answerNext(event.text("message"), with == "default"     ? AlertAnswer::defaultButton
                                                 : with == "alternate" ? AlertAnswer::alternateButton
                                                                       : AlertAnswer::otherButton);
}

const std::map<std::string, Action>& actions() {
    using Desk = RehearsalDesk;
    using Event = ScenarioEvent;
    static const std::map<std::string, Action> table = {
        {"press", press},
        {"answer", answer},
        {"level",
         [](Desk& desk, const Event& event) {
             desk.controler->recorder().levelSlider().move(event.integer("value"));
         }},
        {"tab", [](Desk&, const Event&) {}}, // the one tab there is, is shown
        {"unplug", [](Desk& desk, const Event& event) { desk.hardware.unplug(event.text("uid")); }},
        {"replug", [](Desk& desk, const Event& event) { desk.hardware.replug(event.text("uid")); }},
        {"stall", [](Desk& desk,
                     const Event& event) { desk.hardware.stall(event.text("uid"), event.number("seconds")); }},
        {"clock", [](Desk& desk, const Event& event) { desk.clock.jump(event.number("by")); }},
        {"free", [](Desk& desk, const Event& event) { desk.volume.setFreeBytes(event.number("bytes")); }},
        {"writeError", [](Desk& desk, const Event& event) { desk.volume.setWriteError(event.flag("on")); }},
        {"slowDisk",
         [](Desk& desk, const Event& event) { desk.volume.setWriteSeconds(event.number("seconds")); }},
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

void EventActions::perform(const ScenarioEvent& event) {
    actions().at(event.action)(m_desk, event);
}
