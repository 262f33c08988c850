#include "app/TerminationSignals.h"

#include <csignal>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QProcess>
#include <thread>

namespace {
class TerminationSignalsTest : public testing::Test {
protected:
    int calls = 0;
    static void handle() {
        for (int round = 0; round < 3; ++round) // once would do; a second call must not come
            QCoreApplication::processEvents();
    }
    int m_count = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication application{m_count, m_arguments};
    TerminationSignals signals;
};
} // namespace

TEST_F(TerminationSignalsTest, callsTheHandlerInsteadOfEndingTheProcess) {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
        EXPECT_FALSE(signals.arrived());
        calls = 0;
        ASSERT_EQ(std::raise(signal), 0);
        EXPECT_TRUE(signals.arrived());
        signals.setHandler([this] { ++calls; });
        handle();
        EXPECT_EQ(calls, 1) << signal;
    }
}

TEST_F(TerminationSignalsTest, callsItOnce_forSignalsThatCameTogether) {
    signals.setHandler([this] { ++calls; });
    std::raise(SIGTERM);
    std::raise(SIGTERM);
    std::raise(SIGHUP);
    EXPECT_EQ(calls, 0) << "not before the loop";
    handle();
    EXPECT_EQ(calls, 1);
}

TEST_F(TerminationSignalsTest, hearsOfASignalThatAnotherThreadTook) {
    signals.setHandler([this] { ++calls; });
    std::thread([] { pthread_kill(pthread_self(), SIGTERM); }).join();
    handle();
    EXPECT_EQ(calls, 1);
}

TEST_F(TerminationSignalsTest, leavesTheSignalsToProgramsThatAreStarted) {
    QProcess child;
    child.start(QStringLiteral("sleep"), {QStringLiteral("60")});
    ASSERT_TRUE(child.waitForStarted());
    child.terminate();
    ASSERT_TRUE(child.waitForFinished(10'000));
    EXPECT_EQ(child.exitStatus(), QProcess::CrashExit);
    EXPECT_EQ(child.exitCode(), SIGTERM);
}
