// storage/AdvicePanel.h — what the advice to make a backup shows.
#pragma once
#include "base/Controls.h"

/// A panel beside the main window, not modal. Main thread.
class AdvicePanel : public Control {
public:
    TextField adviceSizeText;  ///< the size from which advice is given, in megabytes
    TextField advicePathText;  ///< the backup folder
    TextField adviceTotalText; ///< what there was, in megabytes
    Indicator adviceIndicator; ///< animates from an advice until the next recording

    bool isShown() const { return m_shown; }
    void show() { change(m_shown, true); }
    /// A person's closing.
    void close() { change(m_shown, false); }

private:
    bool m_shown = false;
};
