// The size of the write pipeline's queue, and what happens without memory for it.
#include "base/NotificationCenter.h"
#include "recorder/WritePipeline.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/VirtualClock.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <sys/resource.h>

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool sanitized = true;
#else
constexpr bool sanitized = false;
#endif

TEST(WritePipelineQueue, isOfSaturatedSize) {
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(0.0), 0U);
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(-44100.0), 0U);
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(1e12), 4'294'967'295U);
    EXPECT_EQ(WritePipeline::preBufferSizeAtRate(11025.125), 7'056'080U);
}

TEST(WritePipelineQueue, saysThatThereIsNoMemoryForIt) {
    if (sanitized)
        GTEST_SKIP() << "a sanitizer cannot run with little address space";
    VirtualClock clock(QTimeZone::utc(), {});
    RecordedSystemLog log;
    NotificationCenter notifications;
    std::vector<std::string> events;
    const auto watch = notifications.observe(VmLogEventNotification, [&](const Notification& event) {
        events.push_back(event.object + ": " + event.userInfo.at(std::string(ErrorMessageString)));
    });
    WritePipeline pipeline(clock, log, notifications);
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_AS, &before), 0);
    rlimit tight = before;
    tight.rlim_cur = 2'000'000'000;
    ASSERT_EQ(setrlimit(RLIMIT_AS, &tight), 0);
    const bool made = pipeline.initSoundQue(6'000'000.0); // 3.84 GB
    ASSERT_EQ(setrlimit(RLIMIT_AS, &before), 0);
    EXPECT_FALSE(made);
    const std::string text = "VmRecorder: no enough memory for Que buffer.";
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_EQ(log.lines()[0], text);
    EXPECT_EQ(events, std::vector<std::string>{"SomeErrorHappen: " + text});
    float silence[2] = {};
    EXPECT_FALSE(pipeline.capture(silence, 2, 0, true)); // a cycle may still come, and is dropped
    EXPECT_EQ(pipeline.frameCount(), 0);
    EXPECT_TRUE(pipeline.initSoundQue(44100.0));
}
