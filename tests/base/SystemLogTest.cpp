#include "base/SystemLog.h"

#include "support/ManualClock.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <unistd.h>

namespace {
/// What a log wrote into a pipe.
struct SystemLogTest : testing::Test {
    void SetUp() override { ASSERT_EQ(::pipe(ends), 0); }
    void TearDown() override {
        ::close(ends[0]);
        ::close(ends[1]);
    }
    /// All that one read finds; writes of their own would come together only when nobody reads between.
    std::string read() const {
        std::string text(65536, '\0');
        const auto count = ::read(ends[0], text.data(), text.size());
        text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
        return text;
    }
    int ends[2] = {-1, -1};
};
} // namespace

TEST_F(SystemLogTest, writesDateTimeMillisecondsAndLine_inLocalTime) {
    const ManualClock clock(QTimeZone("Europe/Berlin"), {1'193'211'000'045'999}); // 07:30:00.045999 UTC
    DescriptorSystemLog log(clock, ends[1]);
    log.log("VmRecorder: record file create error.");
    EXPECT_EQ(read(), "2007-10-24 09:30:00.045 VmRecorder: record file create error.\n");
}

TEST_F(SystemLogTest, writesOneLine_whateverStandsInIt) {
    const ManualClock clock;
    DescriptorSystemLog(clock, ends[1]).log("VmKeeper: kept file deleted: a\n1970-01-01 00:00:00.000 lie.bz2");
    EXPECT_EQ(read(),
              "1970-01-01 00:00:00.000 VmKeeper: kept file deleted: a 1970-01-01 00:00:00.000 lie.bz2\n");
}

TEST_F(SystemLogTest, countsMillisecondsForwardBefore1970) {
    const ManualClock clock(QTimeZone::utc(), {-1});
    DescriptorSystemLog(clock, ends[1]).log("");
    EXPECT_EQ(read(), "1969-12-31 23:59:59.999 \n");
}

TEST_F(SystemLogTest, keepsLinesWhole_fromSeveralThreads) {
    const ManualClock clock;
    DescriptorSystemLog log(clock, ends[1]);
    const auto write = [&log](char letter) {
        for (int line = 0; line < 100; ++line)
            log.log(std::string(100, letter));
    };
    std::thread other([&write] { write('b'); });
    write('a');
    other.join();
    const std::string text = read();
    const std::size_t length = std::string("1970-01-01 00:00:00.000 ").size() + 100 + 1;
    ASSERT_EQ(text.size(), 200 * length);
    for (std::size_t at = 0; at < text.size(); at += length) {
        const char letter = text[at + length - 2];
        EXPECT_EQ(text.substr(at, length), "1970-01-01 00:00:00.000 " + std::string(100, letter) + "\n");
    }
}

TEST_F(SystemLogTest, survivesADescriptorThatIsClosed) {
    const ManualClock clock;
    DescriptorSystemLog closed(clock, -1);
    closed.log("lost");
    DescriptorSystemLog open(clock, ends[1]);
    open.log("kept");
    EXPECT_EQ(read(), "1970-01-01 00:00:00.000 kept\n");
}
