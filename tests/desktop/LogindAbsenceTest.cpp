// A bus or a logind that is absent, refuses, goes away, comes back, or never answers.
#include "desktop/LogindSleepFixture.h"

#include <chrono>

namespace {
class LogindAbsenceTest : public LogindSleepFixture {
protected:
    /// logind, on the bus, treats the first requests in `manner`; later it grants what is asked.
    void expectOneComplaintAndALockLater(Manner manner, const std::string& trouble) {
        startBus();
        startLogind(manner);
        startSleep({.answer = 0.1, .retry = 0.02});
        ASSERT_TRUE(becomesTrueInLoop([this] { return m_logind->requests().size() >= 3; }));
        tellOfSleep(); // the duty is told all the same
        tellOfWaking();
        EXPECT_TRUE(tells({"sleeps", "wakes"}));
        ASSERT_EQ(m_log.lines().size(), 1U);
        EXPECT_EQ(
            m_log.lines()[0].rfind("LogindSleep: logind does not let the sleep be delayed (" + trouble, 0), 0U)
            << m_log.lines()[0];
        m_logind->setManner(Manner::grants);
        ASSERT_TRUE(holdsLock());
        ASSERT_TRUE(logs(2));
        EXPECT_EQ(m_log.lines().back(), delayed);
    }
};
} // namespace

TEST_F(LogindAbsenceTest, waitsForTheBusAndForLogind) {
    startSleep({.retry = 0.02});
    ASSERT_TRUE(logs(1));
    EXPECT_NE(m_log.lines()[0].find("the system bus cannot be reached ("), std::string::npos);
    startBus();
    ASSERT_TRUE(logs(2));
    EXPECT_NE(m_log.lines()[1].find("logind is not there (org.freedesktop.DBus.Error.NameHasNoOwner"),
              std::string::npos);
    startLogind();
    ASSERT_TRUE(holdsLock());
    ASSERT_TRUE(logs(3));
    EXPECT_EQ(m_log.lines()[2], delayed);
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked"}));
}

TEST_F(LogindAbsenceTest, takesTheLockAtOnce_whenLogindAppears) {
    startBus();
    startSleep();
    ASSERT_TRUE(logs(1));
    startLogind();
    EXPECT_TRUE(holdsLock());
}

TEST_F(LogindAbsenceTest, takesTheLockAnew_whenLogindRestarts) {
    startAll();
    for (int round = 1; round <= 2; ++round) {
        m_logind.reset();
        ASSERT_TRUE(logs(2 * static_cast<std::size_t>(round) - 1));
        EXPECT_EQ(m_log.lines().back(), complaint("logind has gone"));
        startLogind();
        ASSERT_TRUE(holdsLock());
        ASSERT_TRUE(logs(2 * static_cast<std::size_t>(round)));
        EXPECT_EQ(m_log.lines().back(), delayed);
        EXPECT_EQ(m_logind->requests().size(), 1U);
    }
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked"}));
}

TEST_F(LogindAbsenceTest, goesOn_whenLogindVanishesDuringTheSleep) {
    startAll();
    tellOfSleep();
    ASSERT_TRUE(tells({"sleeps, locked"}));
    m_logind.reset();
    ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
    startLogind();
    EXPECT_TRUE(holdsLock());
    tellOfWaking(); // it remembers
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes", "sleeps, locked"}));
}

TEST_F(LogindAbsenceTest, goesOnAndReachesTheNextBus_whenTheBusVanishesDuringTheSleep) {
    startBus();
    startLogind();
    startSleep({.retry = 0.02});
    ASSERT_TRUE(holdsLock());
    tellOfSleep();
    ASSERT_TRUE(tells({"sleeps, locked"}));
    m_bus.reset();
    ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
    ASSERT_TRUE(logs(1));
    EXPECT_EQ(m_log.lines()[0], complaint("the system bus has gone"));
    m_logind.reset();
    startBus();
    startLogind();
    ASSERT_TRUE(holdsLock());
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes", "sleeps, locked"}));
}

TEST_F(LogindAbsenceTest, complainsOnceAndAsksAgain_whenRefused) {
    expectOneComplaintAndALockLater(Manner::refuses,
                                    "org.freedesktop.DBus.Error.AccessDenied: Permission denied)");
}

TEST_F(LogindAbsenceTest, complainsOnceAndAsksAgain_whenTheAnswerIsNonsense) {
    expectOneComplaintAndALockLater(Manner::answersNonsense, "its answer is of another kind: \"s\")");
}

TEST_F(LogindAbsenceTest, complainsOnceAndAsksAgain_whenThereIsNoAnswer) {
    expectOneComplaintAndALockLater(Manner::answersNever, "org.freedesktop.DBus.Error.NoReply");
}

TEST_F(LogindAbsenceTest, doesNotWait_whenTheBusDoesNotAnswer) {
    startBus();
    startLogind();
    m_bus->freeze();
    const auto begin = std::chrono::steady_clock::now();
    startSleep();
    bool seen = false;
    m_runLoop.post([&seen] { seen = true; });
    EXPECT_TRUE(becomesTrueInLoop([&seen] { return seen; }));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    m_bus->thaw();
    EXPECT_TRUE(holdsLock());
}

TEST_F(LogindAbsenceTest, endsSoonAndSaysWhy_whenTheBusNeverAnswers) {
    startBus();
    m_bus->freeze();
    startSleep({.retry = 0.02});
    ASSERT_TRUE(logs(1));
    EXPECT_EQ(m_log.lines()[0], complaint("the system bus cannot be reached (it does not answer)"));
    const auto begin = std::chrono::steady_clock::now();
    m_sleep.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(5));
}

TEST_F(LogindAbsenceTest, canEndAtAnyTime) {
    startSleep(); // no bus
    m_sleep.reset();
    startBus();
    startSleep(); // the bus is being reached
    m_sleep.reset();
    startLogind(Manner::answersNever);
    startSleep();
    ASSERT_TRUE(becomesTrueInLoop([this] { return m_logind->requests().size() == 1; }));
    m_sleep.reset(); // an answer is due
    m_logind->setManner(Manner::grants);
    startSleep();
    ASSERT_TRUE(holdsLock());
    m_sleep.reset();
    EXPECT_TRUE(holdsNoLock());
    EXPECT_EQ(m_told, Lines{});
}
