#include "rehearsal/PlayTabActions.h"

#include "app/VmControler.h"
#include "base/VmTableView.h"
#include "library/VmPlayer.h"
#include "library/VmWaveView.h"
#include "rehearsal/RehearsalDesk.h"
#include "rehearsal/Scenario.h"
#include "storage/Paths.h"
#include "storage/SoundFileNames.h"

#include <algorithm>
#include <cstdint>

namespace {
VmPlayer& playerOf(RehearsalDesk& desk) {
    return desk.controler->player();
}
} // namespace

std::string PlayTabActions::select(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmTableView& table = desk.controler->recordTable();
    playerOf(desk).initDataSource();
    if (event.integer("row") >= table.numberOfRows())
        return "row: the list has " + std::to_string(table.numberOfRows()) + " recordings then";
    table.chooseRow(event.integer("row"));
    return {};
}

void PlayTabActions::play(RehearsalDesk& desk, const ScenarioEvent&) {
    playerOf(desk).playButton().press(true);
}

void PlayTabActions::stop(RehearsalDesk& desk, const ScenarioEvent&) {
    playerOf(desk).playButton().press(false);
}

void PlayTabActions::seek(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmPlayer& player = playerOf(desk);
    const double bytes = event.number("to") * static_cast<double>(player.sampleRate()) * player.channels() *
                         sizeof(std::int16_t);
    const int place = static_cast<int>(std::min(bytes, static_cast<double>(player.pointSlider().maximum())));
    player.pointSlider().move(place);
    player.pointSlider().move(place); // the mouse button is let go
}

void PlayTabActions::range(RehearsalDesk& desk, const ScenarioEvent& event) {
    VmWaveView& view = playerOf(desk).waveView();
    view.mouseDown(event.number("from"), false);
    view.mouseDragged(event.number("to"));
    view.mouseUp();
}

void PlayTabActions::lock(RehearsalDesk& desk, const ScenarioEvent& event) {
    Button& button = playerOf(desk).lockButton(); // it is on while the recording is locked
    if (!event.has("on") || event.flag("on") != button.isOn())
        button.press(!button.isOn());
}

void PlayTabActions::note(RehearsalDesk& desk, const ScenarioEvent& event) {
    playerOf(desk).noteButton().press(true);
    VmTableView& table = desk.controler->recordTable();
    if (table.isEditing())
        table.endEditing(event.text("text"));
}

void PlayTabActions::remove(RehearsalDesk& desk, const ScenarioEvent&) {
    playerOf(desk).deleteButton().press(true);
}

void PlayTabActions::exportSound(RehearsalDesk& desk, const ScenarioEvent& event) {
    Button& button = playerOf(desk).copyButton();
    if (!button.enabled())
        return; // no panel opens
    std::string path = event.text("path");
    if (!path.starts_with('/'))
        path = Paths::inFolder(desk.folder, path);
    const std::string ending = "." + std::string(SoundFileNames::soundExtension);
    if (!path.ends_with(ending)) // the panel sees to it
        path += ending;
    desk.savePanel.answerNext(path);
    button.press(true);
}
