// Sleep and waking, told by a stand-in for logind on a bus of the test's own.
#include "desktop/LogindSleepFixture.h"

#include <QTimer>

using LogindSleepTest = LogindSleepFixture;

TEST_F(LogindSleepTest, takesADelayLockOfTheSleep) {
    startAll();
    ASSERT_EQ(m_logind->requests().size(), 1U);
    EXPECT_EQ(m_logind->requests()[0],
              QStringList({"sleep", "Velmoratide", "The file being recorded is finished first", "delay"}));
    EXPECT_EQ(m_log.lines(), Lines{});
}

TEST_F(LogindSleepTest, finishesBeforeItGivesTheLockBack_andTakesANewOneWhenItWakes) {
    startAll();
    for (int round = 1; round <= 3; ++round) {
        m_told.clear();
        tellOfSleep();
        ASSERT_TRUE(tells({"sleeps, locked"}));
        EXPECT_TRUE(holdsNoLock());
        tellOfWaking();
        ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
        ASSERT_TRUE(holdsLock());
        EXPECT_EQ(m_logind->requests().size(), 1U + static_cast<std::size_t>(round));
    }
    EXPECT_EQ(m_log.lines(), Lines{});
}

TEST_F(LogindSleepTest, sleepsOnce_whenToldTwice) {
    startAll();
    tellOfSleep();
    tellOfSleep();
    tellOfWaking();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes"}));
    EXPECT_TRUE(holdsLock());
}

TEST_F(LogindSleepTest, keepsItsLock_whenItWakesWithoutHavingSlept) {
    startAll();
    tellOfWaking();
    tellOfWaking();
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked"}));
    EXPECT_EQ(m_logind->requests().size(), 1U);
}

TEST_F(LogindSleepTest, ignoresSignalsOfAnotherKind_andSaysSoOnce) {
    startAll();
    m_logind->emitPrepareForSleep({QStringLiteral("yes")});
    m_logind->emitPrepareForSleep({1});
    m_logind->emitPrepareForSleep({});
    m_logind->emitPrepareForSleep({true, true});
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked"}));
    ASSERT_FALSE(m_log.lines().empty());
    EXPECT_EQ(m_log.lines()[0], complaint("logind does not say whether the machine sleeps or wakes"));
    EXPECT_EQ(m_log.lines().size(), 1U);
}

TEST_F(LogindSleepTest, believesNobodyButLogind) {
    startAll();
    LogindStandIn::pretendPrepareForSleep(PrivateSystemBus::address(), true);
    tellOfSleep();
    tellOfWaking();
    ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
    ASSERT_TRUE(holdsLock());
    LogindStandIn::pretendPrepareForSleep(PrivateSystemBus::address(), true);
    tellOfSleep();
    LogindStandIn::pretendPrepareForSleep(PrivateSystemBus::address(), false);
    tellOfWaking();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes", "sleeps, locked", "wakes"}));
}

TEST_F(LogindSleepTest, saysHowLongFinishingTook_whenItTookMoreThanThreeSeconds) {
    startAll();
    m_whenFinishing = [this] {
        m_clock.advance(3.0);
        tell("sleeps");
    };
    tellOfSleep();
    tellOfWaking();
    ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
    EXPECT_EQ(m_log.lines(), Lines{});
    m_whenFinishing = [this] { m_clock.advance(3.2); };
    tellOfSleep();
    ASSERT_TRUE(logs(1));
    EXPECT_EQ(m_log.lines(), Lines{"LogindSleep: finishing the file took 3.2 seconds."});
}

TEST_F(LogindSleepTest, wakesAfterwards_whenTheMachineWakesWhileTheFileIsBeingFinished) {
    startAll();
    m_whenFinishing = [this] { // an alert runs a loop of its own
        tellOfWaking();
        bool seen = false;
        QTimer::singleShot(200, [&seen] { seen = true; });
        EXPECT_TRUE(becomesTrueInLoop([&seen] { return seen; }));
        tell("sleeps");
    };
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes"}));
    EXPECT_TRUE(holdsLock());
}

TEST_F(LogindSleepTest, goesOn_whenTheMachineDoesNotSleepAfterAll) {
    startBus();
    startLogind();
    startSleep({.sleep = 0.05});
    ASSERT_TRUE(holdsLock());
    tellOfSleep();
    ASSERT_TRUE(tells({"sleeps, locked", "wakes"}));
    EXPECT_TRUE(holdsLock());
    EXPECT_EQ(m_log.lines(), Lines{"LogindSleep: the machine was to sleep and has not; the duty goes on."});
    tellOfWaking(); // late
    tellOfSleep();
    EXPECT_TRUE(tells({"sleeps, locked", "wakes", "sleeps, locked"}));
}

TEST_F(LogindSleepTest, keepsTheLockAndCallsNobody_onceTheDutyEnds) {
    startAll();
    m_sleep->endDuty();
    tellOfSleep();
    tellOfWaking();
    m_logind->emitPrepareForSleep({}); // what follows has been heard when this is
    ASSERT_TRUE(logs(1));
    EXPECT_EQ(m_told, Lines{});
    EXPECT_EQ(m_logind->heldLocks(), 1);
    m_sleep.reset();
    EXPECT_TRUE(holdsNoLock());
}
