// rehearsal/ScriptedAdministratorRight.h — an administrator who says what the script says.
#pragma once
#include "base/AdministratorRight.h"

/// Main thread only.
class ScriptedAdministratorRight final : public AdministratorRight {
public:
    void setGranted(bool granted) { m_granted = granted; }
    bool obtain() override {
        ++m_asked;
        return m_granted;
    }
    int asked() const { return m_asked; } ///< how often so far

private:
    bool m_granted = false;
    int m_asked = 0;
};
