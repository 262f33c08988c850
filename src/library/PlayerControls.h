// library/PlayerControls.h — what a person sees and presses of the player.
#pragma once
#include "base/Controls.h"

/// The controls of the play tab; the player alone sets them. Main thread only.
class PlayerControls {
public:
    // Playback
    Button& playButton() { return m_playButton; }
    Button& headButton() { return m_headButton; }
    Button& tailButton() { return m_tailButton; }
    Button& backButton() { return m_backButton; }
    Button& fastButton() { return m_fastButton; }
    /// A byte position. The view reports the end of a drag by one more move to the same place.
    Slider& pointSlider() { return m_pointSlider; }
    TextField& stepFastField() { return m_stepFastField; }
    Slider& stepFastStepper() { return m_stepFastStepper; }
    Button& endlessCheck() { return m_endlessCheck; }

    // Texts
    TextField& positionText() { return m_positionText; } ///< time of day of what is heard
    TextField& headText() { return m_headText; }         ///< where the recording or the range begins
    TextField& tailText() { return m_tailText; }
    TextField& lengthText() { return m_lengthText; }
    TextField& totalTimeText() { return m_totalTimeText; }
    TextField& totalSizeText() { return m_totalSizeText; }
    TextField& totalFilesText() { return m_totalFilesText; }
    /// Image and tool tip say which output is played to.
    Button& playDevicePicture() { return m_playDevicePicture; }

    // Work on the selected recording
    Button& lockButton() { return m_lockButton; }
    Button& noteButton() { return m_noteButton; }
    Button& deleteButton() { return m_deleteButton; }
    Button& copyButton() { return m_copyButton; }
    Button& addDateCheck() { return m_addDateCheck; }
    Button& addNoteCheck() { return m_addNoteCheck; }

protected:
    PlayerControls() = default;
    ~PlayerControls() = default;

    static constexpr int largestStep = 999;

    Button m_playButton;
    Button m_headButton;
    Button m_tailButton;
    Button m_backButton;
    Button m_fastButton;
    Slider m_pointSlider{0, 0};
    TextField m_stepFastField;
    Slider m_stepFastStepper{0, largestStep};
    Button m_endlessCheck;
    TextField m_positionText;
    TextField m_headText;
    TextField m_tailText;
    TextField m_lengthText;
    TextField m_totalTimeText;
    TextField m_totalSizeText;
    TextField m_totalFilesText;
    Button m_playDevicePicture;
    Button m_lockButton;
    Button m_noteButton;
    Button m_deleteButton;
    Button m_copyButton;
    Button m_addDateCheck;
    Button m_addNoteCheck;
};
