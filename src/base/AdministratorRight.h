// base/AdministratorRight.h — whether the person at the desk may act as an administrator.
#pragma once
#include <array>
#include <cstdint>
#include <optional>

class AdministratorRight {
public:
    /// A granted right, as it is handed to another program. What it holds is the system's own matter.
    using ExternalForm = std::array<std::uint8_t, 32>;

    virtual ~AdministratorRight() = default;
    /// Main thread. Asks the person if need be, and waits. False when the right was not granted.
    virtual bool obtain() = 0;
    /// Main thread. Of the right granted last; nothing when it cannot be handed on.
    virtual std::optional<ExternalForm> externalForm() const { return {}; }
};

/// Where nobody can be asked, nobody has the right.
class NoAdministratorRight final : public AdministratorRight {
public:
    bool obtain() override { return false; }
};
