// app/MainWindowModel.h — the main window, without a toolkit.
#pragma once
#include "base/Controls.h"

#include <algorithm>
#include <string>

/// Main thread only.
class MainWindowModel : public Control {
public:
    int width() const { return m_width; }
    int height() const { return m_height; }
    /// In pixels. The window's top edge stays where it is.
    void setSize(int width, int height) {
        if (m_width == width && m_height == height)
            return;
        m_width = width;
        m_height = height;
        changed();
    }

    float opacity() const { return m_opacity; } ///< 0..1
    void setOpacity(float opacity) { change(m_opacity, std::clamp(opacity, 0.0F, 1.0F)); }

    bool isVisible() const { return m_visible; }
    void show() { change(m_visible, true); }
    void close() { change(m_visible, false); }

    /// Where the window stands, "X Y" in pixels of the desktop; empty while nobody knows.
    const std::string& frame() const { return m_frame; }
    void setFrame(std::string frame) { change(m_frame, std::move(frame)); }

private:
    int m_width = 352; // the record tab's
    int m_height = 262;
    float m_opacity = 1.0F;
    bool m_visible = false;
    std::string m_frame;
};
