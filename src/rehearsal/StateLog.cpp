#include "rehearsal/StateLog.h"

#include "app/MainWindowModel.h"
#include "app/VmControler.h"
#include "base/Controls.h"
#include "library/VmPlayer.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/JsonLine.h"
#include "rehearsal/LineFile.h"

#include <utility>

namespace {
std::string numeral(int value) {
    return std::to_string(value);
}
std::string truth(bool value) {
    return value ? "true" : "false";
}
} // namespace

StateLog::StateLog(LineFile& file, const Clock& clock, VmControler& controler) : m_file(file), m_clock(clock) {
    VmRecorder& recorder = controler.recorder();
    m_condition = [&recorder] { return static_cast<int>(recorder.condition()); };
    m_level = [&controler] { return controler.meter().level(); };
    m_lastCondition = m_condition();
    m_lastLevel = m_level();
    add("condition", [this] { return numeral(m_lastCondition); });
    add("level", [this] { return numeral(m_lastLevel); });
    addControls(controler);
    TabView& tabs = controler.mainTab();
    addAndObserve(tabs, "tab", [&tabs] { return numeral(tabs.selected()); });
    MainWindowModel& window = controler.mainWindow();
    addAndObserve(window, "windowSize",
                  [&window] { return "[" + numeral(window.width()) + "," + numeral(window.height()) + "]"; });
    for (Row& row : m_rows)
        lookAt(row);
}

void StateLog::addControls(VmControler& controler) {
    VmRecorder& recorder = controler.recorder();
    const std::pair<const char*, Button*> switches[] = {{"record", &recorder.recordButton()},
                                                        {"reserve", &recorder.reserveButton()},
                                                        {"monitor", &recorder.monitorButton()},
                                                        {"play", &controler.player().playButton()}};
    for (const auto& [name, button] : switches)
        addAndObserve(*button, name, [control = button] { return truth(control->isOn()); });
    const std::pair<const char*, TextField*> fields[] = {
        {"condition", &recorder.conditionField()},    {"mode", &recorder.modeField()},
        {"source", &recorder.sourceField()},          {"rate", &recorder.rateField()},
        {"recordTime", &recorder.recordTimeField()},  {"totalTime", &recorder.totalTimeField()},
        {"message", &recorder.messageField()},        {"reserveName", &recorder.reserveNameField()},
        {"reserveTime", &recorder.reserveTimeField()}};
    for (const auto& [name, field] : fields) {
        addAndObserve(*field, std::string(name) + "Text",
                      [control = field] { return JsonLine::quoted(control->text()); });
        addAndObserve(*field, std::string(name) + "Color", [control = field] {
            return std::string(control->color() == TextColor::red ? "\"red\"" : "\"black\"");
        });
    }
    addAndObserve(recorder.recordButton(), "recordTitle",
                  [&recorder] { return JsonLine::quoted(recorder.recordButton().title()); });
    TextField& position = controler.player().positionText();
    addAndObserve(position, "playPosition", [&position] { return JsonLine::quoted(position.text()); });
    addAndObserve(recorder.levelSlider(), "levelSlider",
                  [&recorder] { return numeral(recorder.levelSlider().value()); });
}

StateLog::Row& StateLog::add(std::string what, std::function<std::string()> value) {
    return m_rows.emplace_back(Row{std::move(what), std::move(value), {}});
}

void StateLog::addAndObserve(Control& control, std::string what, std::function<std::string()> value) {
    Row& row = add(std::move(what), std::move(value));
    control.observe([this, &row] { lookAt(row); });
}

void StateLog::lookAt(Row& row) {
    std::string value = row.value();
    if (value == row.last)
        return;
    row.last = std::move(value);
    m_file.write(JsonLine()
                     .text("at", LineFile::timeText(m_clock))
                     .text("what", row.what)
                     .raw("value", row.last)
                     .finished());
}

void StateLog::look() {
    if (const int condition = m_condition(); condition != m_lastCondition) {
        m_lastCondition = condition;
        lookAt(m_rows[0]);
    }
    if (const int level = m_level(); level != m_lastLevel) {
        m_lastLevel = level;
        lookAt(m_rows[1]);
    }
}

std::vector<std::string> StateLog::names() const {
    std::vector<std::string> all;
    for (const Row& row : m_rows)
        all.push_back(row.what);
    return all;
}
