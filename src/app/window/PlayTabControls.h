// app/window/PlayTabControls.h — what the play tab shows.
#pragma once

class PlayerControls;
class VmTableView;
class VmWaveView;

/// References to the controllers' controls; they must outlive the tab. Main thread only.
struct PlayTabControls {
    PlayerControls& player;
    VmTableView& table; ///< the recordings
    VmWaveView& wave;
};
