// The lock that keeps the machine awake while the recorder is on duty.
#include "desktop/LogindSleepFixture.h"

#include <algorithm>

namespace {
class LogindDutyTest : public LogindSleepFixture {
protected:
    bool holdsLocks(int count) const {
        return becomesTrueInLoop([this, count] { return m_logind->heldLocks() == count; });
    }
};
const QStringList block = {QStringLiteral("sleep"), QStringLiteral("Velmoratide"),
                           QStringLiteral("A recorder is on duty"), QStringLiteral("block")};
} // namespace

TEST_F(LogindDutyTest, blocksTheSleepOnlyWhileOnDuty) {
    startAll();
    m_sleep->setOnDuty(true);
    ASSERT_TRUE(holdsLocks(2));
    EXPECT_EQ(m_logind->requests().back(), block);
    m_sleep->setOnDuty(true); // again
    m_sleep->setOnDuty(false);
    EXPECT_TRUE(holdsLocks(1)) << "the delay lock stays";
    EXPECT_EQ(m_logind->requests().size(), 2U);
}

TEST_F(LogindDutyTest, blocksTheSleepAgain_whenLogindComesBack) {
    startAll();
    m_sleep->setOnDuty(true);
    ASSERT_TRUE(holdsLocks(2));
    m_logind.reset();
    startLogind();
    ASSERT_TRUE(holdsLocks(2));
    const auto& requests = m_logind->requests();
    EXPECT_EQ(std::count(requests.begin(), requests.end(), block), 1);
}

TEST_F(LogindDutyTest, neverAsksForAnythingButTheSleep) {
    startAll();
    m_sleep->setOnDuty(true);
    ASSERT_TRUE(holdsLocks(2));
    for (const QStringList& request : m_logind->requests())
        EXPECT_EQ(request.front(), QStringLiteral("sleep")) << "the screen locks as it likes";
}

TEST_F(LogindDutyTest, keepsTheBlockThroughASleepThatSomebodyInsistsOn) {
    startAll();
    m_sleep->setOnDuty(true);
    ASSERT_TRUE(holdsLocks(2));
    tellOfSleep();
    ASSERT_TRUE(holdsLocks(1));
    tellOfWaking();
    EXPECT_TRUE(holdsLocks(2));
}

TEST_F(LogindDutyTest, saysThatTheBlockIsRefused) {
    startBus();
    startLogind(Manner::refuses);
    startSleep({.retry = 60.0});
    ASSERT_TRUE(logs(1));
    m_sleep->setOnDuty(true);
    ASSERT_TRUE(logs(2));
    EXPECT_EQ(m_log.lines()[1], "LogindSleep: the machine may go to sleep while on duty "
                                "(org.freedesktop.DBus.Error.AccessDenied: Permission denied).");
}
