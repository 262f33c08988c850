// desktop/LogindSleepFixture.h — a LogindSleep, and a bus and a logind that come and go.
#pragma once
#include "base/QtRunLoop.h"
#include "desktop/LogindSleep.h"
#include "desktop/LogindStandIn.h"
#include "desktop/PrivateSystemBus.h"
#include "rehearsal/RecordedSystemLog.h"
#include "support/ManualClock.h"

#include <gtest/gtest.h>
#include <QCoreApplication>

class LogindSleepFixture : public testing::Test {
protected:
    using Manner = LogindStandIn::Manner;
    using Lines = std::vector<std::string>;
    void SetUp() override {
        if (const std::string why = PrivateSystemBus::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        PrivateSystemBus::address();
    }

    void startBus() { m_bus = std::make_unique<PrivateSystemBus>(); }
    void startLogind(Manner manner = Manner::grants) {
        m_logind = std::make_unique<LogindStandIn>(PrivateSystemBus::address(), manner);
    }
    void startSleep(LogindPatience patience = {}) {
        m_sleep = std::make_unique<LogindSleep>(
            m_clock, m_runLoop, m_log,
            SleepHandlers{[this] { m_whenFinishing ? m_whenFinishing() : tell("sleeps"); },
                          [this] { tell("wakes"); }},
            patience);
    }
    /// A bus, logind on it, and the lock taken.
    void startAll() {
        startBus();
        startLogind();
        startSleep();
        ASSERT_TRUE(holdsLock());
    }
    void tell(const std::string& what) {
        m_told.push_back(what + (m_logind && m_logind->heldLocks() > 0 ? ", locked" : ""));
    }
    bool holdsLock() const {
        return becomesTrueInLoop([this] { return m_logind->heldLocks() == 1; });
    }
    bool holdsNoLock() const {
        return becomesTrueInLoop([this] { return m_logind->heldLocks() == 0; });
    }
    bool tells(const Lines& expected) const {
        return becomesTrueInLoop([&] { return m_told.size() >= expected.size(); }) && m_told == expected;
    }
    bool logs(std::size_t count) const {
        return becomesTrueInLoop([&] { return m_log.lines().size() >= count; });
    }
    void tellOfSleep() { m_logind->emitPrepareForSleep({true}); }
    void tellOfWaking() { m_logind->emitPrepareForSleep({false}); }

    /// What is logged with `trouble`.
    static std::string complaint(const std::string& trouble) {
        return "LogindSleep: " + trouble +
               "; a file that is open when the machine sleeps may not be finished before.";
    }
    inline static const std::string delayed =
        "LogindSleep: the machine's sleep is delayed until the open file is finished.";

    int m_count = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_count, m_arguments};
    QtRunLoop m_runLoop{m_application};
    ManualClock m_clock;
    RecordedSystemLog m_log;
    Lines m_told;
    std::function<void()> m_whenFinishing;
    std::unique_ptr<PrivateSystemBus> m_bus;
    std::unique_ptr<LogindStandIn> m_logind;
    std::unique_ptr<LogindSleep> m_sleep;
};
