// support/PlainUser.h — what the superuser may do anyway.
#pragma once
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>

/// The rest of the scope runs as a user without privileges, who owns `ownFolder`.
class PlainUser {
public:
    static constexpr uid_t nobody = 65534;
    explicit PlainUser(const std::string& ownFolder) : m_wasSuperuser(::geteuid() == 0) {
        if (!m_wasSuperuser)
            return;
        EXPECT_EQ(::chown(ownFolder.c_str(), nobody, nobody), 0);
        EXPECT_EQ(::seteuid(nobody), 0);
    }
    ~PlainUser() {
        if (m_wasSuperuser) {
            EXPECT_EQ(::seteuid(0), 0);
        }
    }
    PlainUser(const PlainUser&) = delete;
    PlainUser& operator=(const PlainUser&) = delete;

private:
    const bool m_wasSuperuser;
};
