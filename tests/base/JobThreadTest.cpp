#include "base/JobThread.h"

#include "base/QtRunLoop.h"
#include "base/SystemClock.h"

#include <atomic>
#include <chrono>
#include <future>
#include <gtest/gtest.h>
#include <numeric>
#include <optional>
#include <QCoreApplication>
#include <set>
#include <thread>
#include <vector>

namespace {
struct JobThreadTest : testing::Test {
    int count = 1;
    char name[5] = "test";
    char* arguments[2] = {name, nullptr};
    QCoreApplication application{count, arguments};
    QtRunLoop loop{application};
    SystemClock clock;
    std::optional<JobThread> jobs{std::in_place, clock, loop, "jobs"};
};
} // namespace

TEST_F(JobThreadTest, doesJobsInTheirOrderOnOneThread_andReportsThemOnTheMainThread) {
    constexpr int all = 200;
    const std::thread::id main = std::this_thread::get_id();
    std::set<std::thread::id> workers; // one at a time
    std::vector<int> done;
    std::vector<int> reported;
    for (int number = 0; number < all; ++number)
        jobs->perform([&, number]() -> JobThread::Report {
            workers.insert(std::this_thread::get_id());
            done.push_back(number);
            return [&, number] {
                EXPECT_EQ(std::this_thread::get_id(), main);
                reported.push_back(number);
                if (number == all - 1)
                    loop.quit(0);
            };
        });
    EXPECT_EQ(loop.run(), 0);
    std::vector<int> order(all);
    std::iota(order.begin(), order.end(), 0);
    EXPECT_EQ(reported, order);
    jobs.reset();
    EXPECT_EQ(done, order);
    EXPECT_EQ(workers.size(), 1U);
    EXPECT_FALSE(workers.contains(main));
}

TEST_F(JobThreadTest, needsNoReport_andGoesOnAfterAPause) {
    jobs->perform([]() -> JobThread::Report { return nullptr; });
    jobs->perform([this]() -> JobThread::Report { return [this] { loop.quit(1); }; });
    EXPECT_EQ(loop.run(), 1);
    std::promise<void> asked;
    jobs->perform([&asked]() -> JobThread::Report {
        asked.set_value();
        return nullptr;
    });
    EXPECT_EQ(asked.get_future().wait_for(std::chrono::seconds(30)), std::future_status::ready);
}

TEST_F(JobThreadTest, dropsWhatHasNotBegun_andReportsNothing_whenItEnds) {
    std::promise<void> begun;
    std::atomic<bool> hurry = false;
    std::atomic<bool> ended = false;
    int others = 0;
    int reports = 0;
    jobs->perform([&]() -> JobThread::Report {
        begun.set_value();
        while (!hurry)
            std::this_thread::yield();
        ended = true;
        return [&reports] { ++reports; };
    });
    jobs->perform([&]() -> JobThread::Report {
        ++others;
        return [&reports] { ++reports; };
    });
    begun.get_future().wait();
    hurry = true;
    jobs.reset();
    EXPECT_TRUE(ended) << "it was not waited for";
    loop.post([this] { loop.quit(0); });
    EXPECT_EQ(loop.run(), 0);
    EXPECT_EQ(reports, 0);
    EXPECT_LE(others, 1) << "it may have begun before the end";
}

TEST_F(JobThreadTest, reportsNoMore_whenAReportThatIsPostedComesAfterTheEnd) {
    std::promise<void> done;
    int reports = 0;
    jobs->perform([&]() -> JobThread::Report { return [&reports] { ++reports; }; });
    jobs->perform([&]() -> JobThread::Report {
        done.set_value(); // the first one's report is posted by now
        return nullptr;
    });
    done.get_future().wait();
    jobs.reset();
    loop.post([this] { loop.quit(0); });
    EXPECT_EQ(loop.run(), 0);
    EXPECT_EQ(reports, 0);
}
