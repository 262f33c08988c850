// base/AdministratorRight.h — whether the person at the desk may act as an administrator.
#pragma once

class AdministratorRight {
public:
    virtual ~AdministratorRight() = default;
    /// Main thread. Asks the person if need be, and waits. False when the right was not granted.
    virtual bool obtain() = 0;
};

/// Where nobody can be asked, nobody has the right.
class NoAdministratorRight final : public AdministratorRight {
public:
    bool obtain() override { return false; }
};
