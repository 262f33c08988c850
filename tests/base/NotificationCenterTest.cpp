#include "base/NotificationCenter.h"

#include <atomic>
#include <gtest/gtest.h>
#include <optional>
#include <thread>

namespace {
using Observation = NotificationCenter::Observation;
using Texts = std::vector<std::string>;

/// Notes under a name of its own what it is handed.
NotificationCenter::Handler noting(Texts& into, const std::string& as) {
    return [&into, as](const Notification& notification) { into.push_back(as + ":" + notification.name); };
}
} // namespace

TEST(NotificationCenter, handsANotificationToTheObserversOfItsName_inTheOrderOfObserving) {
    NotificationCenter center;
    Texts heard;
    const Observation first = center.observe("A", noting(heard, "first"));
    const Observation other = center.observe("B", noting(heard, "other"));
    const Observation second = center.observe("A", noting(heard, "second"));
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"first:A", "second:A"}));
}

TEST(NotificationCenter, handsAllToWhoObservesNoName) {
    NotificationCenter center;
    Texts heard;
    const Observation all = center.observe({}, noting(heard, "all"));
    center.post({"A", {}, {}});
    center.post({"B", {}, {}});
    center.post({"", {}, {}});
    EXPECT_EQ(heard, (Texts{"all:A", "all:B", "all:"}));
}

TEST(NotificationCenter, handsObjectAndUserInformationOn) {
    NotificationCenter center;
    std::optional<Notification> heard;
    const Observation all = center.observe({}, [&heard](const Notification& posted) { heard = posted; });
    center.post({"A", "object", {{"key", "value"}}});
    ASSERT_TRUE(heard);
    EXPECT_EQ(heard->object, "object");
    EXPECT_EQ(heard->userInfo, (UserInfo{{"key", "value"}}));
}

TEST(NotificationCenter, postsALogEventWithItsMessage_unlessThatIsEmpty) {
    NotificationCenter center;
    std::vector<Notification> heard;
    const Observation all = center.observe(VmLogEventNotification,
                                           [&heard](const Notification& posted) { heard.push_back(posted); });
    center.postLogEvent("DutyStart");
    center.postLogEvent("SomeErrorHappen", "disk full");
    ASSERT_EQ(heard.size(), 2U);
    EXPECT_EQ(heard[0].object, "DutyStart");
    EXPECT_TRUE(heard[0].userInfo.empty());
    EXPECT_EQ(heard[1].object, "SomeErrorHappen");
    EXPECT_EQ(heard[1].userInfo, (UserInfo{{std::string(ErrorMessageString), "disk full"}}));
}

TEST(NotificationCenter, endsAnObservation_whenItIsDestroyedMovedOverOrEnded) {
    NotificationCenter center;
    Texts heard;
    { const Observation scoped = center.observe("A", noting(heard, "scoped")); }
    Observation kept = center.observe("A", noting(heard, "old"));
    kept = center.observe("A", noting(heard, "new"));
    Observation moved = std::move(kept);
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"new:A"}));
    moved.end();
    moved.end();
    center.post({"A", {}, {}});
    EXPECT_EQ(heard.size(), 1U);
}

TEST(NotificationCenter, letsAHandlerEndItsOwnObservation) {
    NotificationCenter center;
    int calls = 0;
    Observation once;
    once = center.observe("A", [&](const Notification&) {
        once.end();
        ++calls;
    });
    center.post({"A", {}, {}});
    center.post({"A", {}, {}});
    EXPECT_EQ(calls, 1);
}

TEST(NotificationCenter, callsNobodyWhomAHandlerBeforeItHasEnded) {
    NotificationCenter center;
    Texts heard;
    Observation second;
    const Observation first = center.observe("A", [&](const Notification&) { second.end(); });
    second = center.observe("A", noting(heard, "second"));
    const Observation third = center.observe("A", noting(heard, "third"));
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"third:A"}));
}

TEST(NotificationCenter, callsAnObserverThatAHandlerAddedFromTheNextPostOn) {
    NotificationCenter center;
    Texts heard;
    Observation late;
    const Observation first = center.observe("A", [&](const Notification&) {
        if (heard.empty())
            late = center.observe("A", noting(heard, "late"));
        heard.emplace_back("first");
    });
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"first"}));
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"first", "first", "late:A"}));
}

TEST(NotificationCenter, letsAHandlerPost) {
    NotificationCenter center;
    Texts heard;
    const Observation relay = center.observe("A", [&](const Notification&) { center.post({"B", {}, {}}); });
    const Observation end = center.observe("B", noting(heard, "end"));
    center.post({"A", {}, {}});
    EXPECT_EQ(heard, (Texts{"end:B"}));
}

TEST(NotificationCenter, isPostedToFromSeveralThreads_whileObserversComeAndGo) {
    constexpr int threads = 4;
    constexpr int posts = 2000;
    NotificationCenter center;
    std::atomic<int> steady = 0;
    std::atomic<int> passing = 0;
    const Observation stays = center.observe("A", [&steady](const Notification&) { ++steady; });
    std::atomic<int> running = threads;
    std::vector<std::thread> posters;
    for (int number = 0; number < threads; ++number)
        posters.emplace_back([&] {
            for (int post = 0; post < posts; ++post)
                center.post({"A", {}, {}});
            --running;
        });
    while (running > 0)
        const Observation goes = center.observe("A", [&passing](const Notification&) { ++passing; });
    for (std::thread& poster : posters)
        poster.join();
    EXPECT_EQ(steady, threads * posts);
    EXPECT_LE(passing, threads * posts);
}
