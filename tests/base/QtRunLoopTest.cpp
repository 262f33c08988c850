#include "base/QtRunLoop.h"

#include <gtest/gtest.h>
#include <numeric>
#include <QCoreApplication>
#include <QEventLoop>
#include <thread>
#include <vector>

namespace {
struct QtRunLoopTest : testing::Test {
    int count = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{count, arguments};
    QtRunLoop loop{application};
    int calls = 0;
};
} // namespace

TEST_F(QtRunLoopTest, returnsTheExitCode) {
    loop.post([this] { loop.quit(7); });
    EXPECT_EQ(loop.run(), 7);
}

TEST_F(QtRunLoopTest, returnsAtOnce_whenQuitCameBeforeRun) {
    loop.quit(3);
    loop.post([this] { ++calls; });
    EXPECT_EQ(loop.run(), 3);
    EXPECT_EQ(calls, 0);
}

TEST_F(QtRunLoopTest, callsInTheOrderOfPosting_fromAnotherThread) {
    std::vector<int> order;
    const std::thread::id main = std::this_thread::get_id();
    std::thread poster([&] {
        for (int number = 0; number < 1000; ++number)
            loop.post([&order, main, number] {
                EXPECT_EQ(std::this_thread::get_id(), main);
                order.push_back(number);
            });
        loop.post([this] { loop.quit(0); });
    });
    loop.run();
    poster.join();
    std::vector<int> expected(1000);
    std::iota(expected.begin(), expected.end(), 0);
    EXPECT_EQ(order, expected);
}

TEST_F(QtRunLoopTest, keepsTimersGoing_whileACallPostsItselfAgain) {
    std::function<void()> again = [&] { loop.post(again); };
    loop.post(again);
    const auto timer = loop.schedule({.interval = 0.001}, [this] { loop.quit(5); });
    EXPECT_EQ(loop.run(), 5);
}

TEST_F(QtRunLoopTest, performsLaterCalls_insideALoopThatACallRuns) {
    std::vector<int> order;
    QEventLoop inner;
    loop.post([&] {
        order.push_back(1);
        inner.exec();
        order.push_back(4);
        loop.quit(0);
    });
    loop.post([&] { order.push_back(2); });
    loop.post([&] {
        order.push_back(3);
        inner.quit();
    });
    loop.run();
    EXPECT_EQ(order, (std::vector<int>{1, 2, 3, 4}));
}

TEST_F(QtRunLoopTest, repeatsATimer) {
    const auto timer = loop.schedule({.interval = 0.001, .repeats = true}, [this] {
        if (++calls == 5)
            loop.quit(0);
    });
    loop.run();
    EXPECT_EQ(calls, 5);
}

TEST_F(QtRunLoopTest, firesAnotherTimerOnce) {
    const auto once = loop.schedule({.interval = 0.001}, [this] { ++calls; });
    int beats = 0;
    const auto repeating = loop.schedule({.interval = 0.001, .repeats = true}, [&] {
        if (++beats == 10)
            loop.quit(0);
    });
    loop.run();
    EXPECT_EQ(calls, 1);
}

TEST_F(QtRunLoopTest, letsAHandlerDestroyItsOwnTimer) {
    std::unique_ptr<Timer> timer;
    const auto captured = std::make_shared<int>(42);
    timer = loop.schedule({.interval = 0.0, .repeats = true}, [this, &timer, captured] {
        timer.reset();
        calls += *captured; // still there after the timer is gone
        loop.quit(0);
    });
    loop.run();
    EXPECT_EQ(calls, 42);
}

TEST_F(QtRunLoopTest, letsAHandlerReplaceItsOwnTimer) {
    std::unique_ptr<Timer> timer;
    std::function<void()> again = [&] {
        if (++calls == 3)
            return loop.quit(0);
        timer = loop.schedule({.interval = 0.001}, again);
    };
    timer = loop.schedule({.interval = 0.001}, again);
    loop.run();
    EXPECT_EQ(calls, 3);
}

TEST_F(QtRunLoopTest, neverFiresADestroyedTimer) {
    auto timer = loop.schedule({.interval = 0.0, .repeats = true}, [this] { ++calls; });
    loop.post([&] { timer.reset(); });
    loop.post([this] { loop.quit(0); });
    loop.run();
    EXPECT_EQ(calls, 0);
}

TEST_F(QtRunLoopTest, firesNow_whateverTimeIsLeft) {
    const auto timer = loop.schedule({.interval = 3600.0}, [this] {
        ++calls;
        loop.quit(0);
    });
    timer->fireNow();
    EXPECT_EQ(calls, 0) << "not before the loop is idle";
    loop.run();
    EXPECT_EQ(calls, 1);
    timer->fireNow(); // has fired: nothing is left to fire
    loop.post([this] { loop.post([this] { loop.quit(0); }); });
    loop.run();
    EXPECT_EQ(calls, 1);
}

TEST_F(QtRunLoopTest, keepsItsInterval_afterFiringNow) {
    int beats = 0;
    const auto timer = loop.schedule({.interval = 3600.0, .repeats = true}, [this] { ++calls; });
    timer->fireNow();
    const auto beat = loop.schedule({.interval = 0.001, .repeats = true}, [&] {
        if (++beats == 10)
            loop.quit(0);
    });
    loop.run();
    EXPECT_EQ(calls, 1);
}
