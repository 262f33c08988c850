#include "desktop/PolkitRight.h"

#include "desktop/PolkitStandIn.h"
#include "desktop/PrivateSystemBus.h"
#include "rehearsal/RecordedSystemLog.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <QCoreApplication>
#include <QTimer>

namespace {
class PolkitRightTest : public testing::Test {
protected:
    using Manner = PolkitStandIn::Manner;
    void SetUp() override {
        if (const std::string why = PrivateSystemBus::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        PrivateSystemBus::address();
    }
    void start(Manner manner) {
        m_bus = std::make_unique<PrivateSystemBus>();
        m_polkit = std::make_unique<PolkitStandIn>(PrivateSystemBus::address(), manner);
    }
    void expectRefused(Manner manner, const std::vector<std::string>& lines) {
        start(manner);
        PolkitRight right(m_log, 0.3);
        EXPECT_FALSE(right.obtain());
        EXPECT_FALSE(right.externalForm());
        EXPECT_EQ(m_polkit->questions().size(), 1U);
        EXPECT_EQ(m_log.lines(), lines);
    }

    int m_count = 1;
    char m_name[5] = "test";
    char* m_arguments[2] = {m_name, nullptr};
    QCoreApplication m_application{m_count, m_arguments};
    RecordedSystemLog m_log;
    std::unique_ptr<PrivateSystemBus> m_bus;
    std::unique_ptr<PolkitStandIn> m_polkit;
};
} // namespace

TEST_F(PolkitRightTest, isGranted_whenTheAuthoritySaysYes) {
    start(Manner::grants);
    PolkitRight right(m_log);
    EXPECT_TRUE(right.obtain());
    ASSERT_EQ(m_polkit->questions().size(), 1U);
    const PolkitStandIn::Question& question = m_polkit->questions()[0];
    EXPECT_EQ(question.kind, "system-bus-name");
    EXPECT_EQ(question.name, question.sender);
    EXPECT_EQ(question.action, "org.velmoratide.administer");
    EXPECT_EQ(question.flags, 1U); // a person may be asked
    EXPECT_TRUE(right.externalForm());
    EXPECT_TRUE(m_log.lines().empty());
}

TEST_F(PolkitRightTest, handsOnTheNameOfAnAuthorizationThatLasts) {
    start(Manner::grantsForAWhile);
    PolkitRight right(m_log);
    ASSERT_TRUE(right.obtain());
    const auto form = right.externalForm();
    ASSERT_TRUE(form);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(form->data())), "tmpauthz7");
}

TEST_F(PolkitRightTest, asksAgainEachTime) {
    start(Manner::grants);
    PolkitRight right(m_log);
    EXPECT_TRUE(right.obtain());
    EXPECT_TRUE(right.obtain());
    ASSERT_EQ(m_polkit->questions().size(), 2U);
    EXPECT_NE(m_polkit->questions()[0].cancellation, m_polkit->questions()[1].cancellation);
}

TEST_F(PolkitRightTest, isRefusedWithoutAWord_whenThePersonMayNot) {
    expectRefused(Manner::denies, {});
}

TEST_F(PolkitRightTest, isRefusedWithoutAWord_whenThePersonCancels) {
    expectRefused(Manner::isCancelled, {});
}

TEST_F(PolkitRightTest, isRefused_whenNobodyCanBeAsked) {
    expectRefused(Manner::hasNoAgent,
                  {"PolkitRight: the administrator right cannot be had (nobody can be asked for a "
                   "password: no authentication agent runs)."});
}

TEST_F(PolkitRightTest, isRefused_whenTheAuthorityFails) {
    expectRefused(Manner::fails, {"PolkitRight: the administrator right cannot be had "
                                  "(org.freedesktop.PolicyKit1.Error.Failed: Action is not registered)."});
}

TEST_F(PolkitRightTest, isRefused_whenTheAnswerIsNone) {
    expectRefused(
        Manner::answersNonsense,
        {"PolkitRight: the administrator right cannot be had (the answer is of another kind: \"b\")."});
}

TEST_F(PolkitRightTest, isRefusedAndTakesTheQuestionBack_whenNobodyAnswers) {
    expectRefused(Manner::answersNever,
                  {"PolkitRight: the administrator right cannot be had (nobody answered in time)."});
    for (int i = 0; i < 200 && m_polkit->cancelled().empty(); ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    ASSERT_EQ(m_polkit->cancelled().size(), 1U);
    EXPECT_EQ(m_polkit->cancelled()[0], m_polkit->questions()[0].cancellation);
}

TEST_F(PolkitRightTest, isRefusedAndTakesTheQuestionBack_whenTheProgramEndsMeanwhile) {
    start(Manner::answersNever);
    PolkitRight right(m_log, 60.0);
    bool granted = true;
    QTimer::singleShot(0, [&] { granted = right.obtain(); });
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, [this] {
        if (!m_polkit->questions().empty())
            QCoreApplication::exit(0);
    });
    look.start(10);
    QCoreApplication::exec();
    look.stop();
    EXPECT_FALSE(granted);
    EXPECT_EQ(m_log.lines(), (std::vector<std::string>{
                                 "PolkitRight: the administrator right cannot be had (the program ends)."}));
    for (int i = 0; i < 200 && m_polkit->cancelled().empty(); ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(m_polkit->cancelled().size(), 1U);
}

TEST_F(PolkitRightTest, isRefused_whenThereIsNoAuthority) {
    m_bus = std::make_unique<PrivateSystemBus>();
    PolkitRight right(m_log, 5.0);
    EXPECT_FALSE(right.obtain());
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_NE(m_log.lines()[0].find("org.freedesktop.DBus.Error.ServiceUnknown"), std::string::npos)
        << m_log.lines()[0];
}

TEST_F(PolkitRightTest, isRefused_whenThereIsNoBus) {
    PolkitRight right(m_log, 5.0);
    EXPECT_FALSE(right.obtain());
    ASSERT_EQ(m_log.lines().size(), 1U);
    EXPECT_NE(m_log.lines()[0].find("the system bus cannot be reached"), std::string::npos) << m_log.lines()[0];
}

TEST_F(PolkitRightTest, letsTheLoopGoOn_andIsNotAskedTwiceAtATime) {
    start(Manner::answersNever);
    PolkitRight right(m_log, 0.3);
    int ticks = 0;
    bool again = true;
    QTimer tick;
    QObject::connect(&tick, &QTimer::timeout, [&] {
        ++ticks;
        again = right.obtain();
    });
    tick.start(10);
    EXPECT_FALSE(right.obtain());
    EXPECT_GT(ticks, 3);
    EXPECT_FALSE(again);
    EXPECT_EQ(m_polkit->questions().size(), 1U);
}
