// app/ConsoleUser.h — who is logged in at the machine.
#pragma once
#include <string>

struct ConsoleUser {
    /// The login name of this session, else the name of this process's user, else what USER says; "unknown" if
    /// none of them can be had. Main thread.
    static std::string name();
};
