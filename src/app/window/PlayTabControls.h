// app/window/PlayTabControls.h — what the play tab shows.
#pragma once

class Button;
class PlayerControls;
class Slider;
class VmTableView;
class VmWaveView;

/// References to the controllers' controls; they must outlive the tab. Main thread only.
struct PlayTabControls {
    PlayerControls& player;
    VmTableView& table; ///< the recordings
    VmWaveView& wave;
    Slider& exportProgress; ///< enabled during an export
    Button& cancelExport;
};
