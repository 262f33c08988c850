// recorder/RecordControls.h — what a person sees and presses of the recorder.
#pragma once
#include "base/Controls.h"

/// The recorder's controls; the recorder alone sets them. Main thread only.
class RecordControls {
public:
    Button& recordButton() { return m_recordButton; }
    Button& reserveButton() { return m_reserveButton; }
    Button& monitorButton() { return m_monitorButton; }
    Button& hourButton() { return m_hourButton; }
    Button& markerButton() { return m_markerButton; }
    Slider& levelSlider() { return m_levelSlider; }
    Popup& sourcePopup() { return m_sourcePopup; }
    TextField& conditionField() { return m_conditionField; }
    TextField& modeField() { return m_modeField; }
    TextField& sourceField() { return m_sourceField; }
    TextField& rateField() { return m_rateField; }
    TextField& recordTimeField() { return m_recordTimeField; }
    TextField& totalTimeField() { return m_totalTimeField; }
    TextField& messageField() { return m_messageField; }
    /// The entry that runs or comes next; empty while the timetable is off.
    TextField& reserveNameField() { return m_reserveNameField; }
    /// When it stops or starts.
    TextField& reserveTimeField() { return m_reserveTimeField; }
    Indicator& writeIndicator() { return m_writeIndicator; }

protected:
    RecordControls() = default;
    ~RecordControls() = default;

    Button m_recordButton;
    Button m_reserveButton;
    Button m_monitorButton;
    Button m_hourButton;
    Button m_markerButton;
    Slider m_levelSlider{0, 20};
    Popup m_sourcePopup;
    TextField m_conditionField;
    TextField m_modeField;
    TextField m_sourceField;
    TextField m_rateField;
    TextField m_recordTimeField;
    TextField m_totalTimeField;
    TextField m_messageField;
    TextField m_reserveNameField;
    TextField m_reserveTimeField;
    Indicator m_writeIndicator;
};
