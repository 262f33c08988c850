// base/Drawer.h — a part of the window that is slid out and in.
#pragma once
#include "base/Controls.h"

/// Open or closed; whoever owns it decides. Main thread only.
class Drawer : public Control {
public:
    bool isOpen() const { return m_open; }
    void setOpen(bool open) { change(m_open, open); }

private:
    bool m_open = false;
};
