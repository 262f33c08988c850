// The built program while somebody moves its record folder.
#include "system/CountedDuty.h"

#include <filesystem>
#include <gtest/gtest.h>

namespace {
class ProgramFolder : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivatePulseServer::whyNot(); !why.empty())
            GTEST_SKIP() << why;
    }
    /// What lies in either folder, under whatever name.
    void expectAllInBoth(CountedDuty& duty, double seconds) const {
        FrameCensus census;
        for (const std::string& each : {folder, away}) {
            const std::string temporary = each + "/.VelmoratideTempFile";
            const bool isThere = std::filesystem::exists(temporary);
            for (const auto& entry : std::filesystem::directory_iterator(each))
                if (FrameCensus::isRecording(entry.path().filename().string()) &&
                    !(isThere && std::filesystem::equivalent(entry.path(), temporary)))
                    census.add(entry.path().string());
            census.addTemporary(temporary);
        }
        EXPECT_EQ(census.complaintOfGaps(), "") << duty.log();
        EXPECT_NEAR(static_cast<double>(census.end() - census.first()) / CountedDuty::rate, seconds, 1.0)
            << duty.log();
    }

    TemporaryFolder place;
    const std::string folder = place.path() + "/record";
    const std::string away = place.path() + "/elsewhere";
};
} // namespace

TEST_F(ProgramFolder, losesNoFrame_whenItsFolderIsAwayForAWhile) {
    PrivatePulseServer server;
    CountedDuty duty(server, folder, 50.0);
    ASSERT_TRUE(duty.launch());
    duty.pauseFor(7.0);
    std::filesystem::rename(folder, away);
    duty.pauseFor(7.0);
    std::filesystem::rename(away, folder);
    duty.pauseFor(7.0);
    const double seconds = duty.elapsed();
    duty.end();
    duty.expectEveryFrameOnce(seconds);
}

TEST_F(ProgramFolder, losesNoFrame_whenItsFolderIsMovedAwayForGood) {
    PrivatePulseServer server;
    CountedDuty duty(server, folder, 50.0);
    ASSERT_TRUE(duty.launch({"MaxRecordTime=12"}));
    duty.pauseFor(7.0);
    std::filesystem::rename(folder, away);
    duty.pauseFor(17.0);
    const double seconds = duty.elapsed();
    duty.end();
    expectAllInBoth(duty, seconds);
    EXPECT_GE(duty.program().errorLines().size(), 2U) << duty.log(); // it is said, besides the end
}

TEST_F(ProgramFolder, losesNoFrame_whenItsFolderIsReplacedByAnEmptyOne) {
    PrivatePulseServer server;
    CountedDuty duty(server, folder, 50.0);
    ASSERT_TRUE(duty.launch({"MaxRecordTime=12"}));
    duty.pauseFor(7.0);
    std::filesystem::rename(folder, away);
    std::filesystem::create_directory(folder);
    duty.pauseFor(17.0);
    const double seconds = duty.elapsed();
    duty.end();
    expectAllInBoth(duty, seconds);
    EXPECT_GE(duty.program().errorLines().size(), 2U) << duty.log();
}
