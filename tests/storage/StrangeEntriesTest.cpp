// What a record folder may hold that is no recording, whatever its name, and what a name cannot tell.
#include "base/Formatted.h"
#include "storage/SoundFile.h"
#include "storage/SpaceDesk.h"

#include <chrono>
#include <fstream>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace {
class StrangeEntriesTest : public SpaceDesk {
protected:
    bool secure() { return mechanic().secureRecordSpace(rate, channels); }
    void makePipe(const std::string& name) const { ASSERT_EQ(::mkfifo(pathOf(name).c_str(), 0600), 0); }
    void makeSocket(const std::string& name) const {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        ASSERT_LT(pathOf(name).size(), sizeof(address.sun_path));
        pathOf(name).copy(address.sun_path, sizeof(address.sun_path) - 1);
        const int listener = ::socket(AF_UNIX, SOCK_STREAM, 0);
        ASSERT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof(address)), 0);
        ::close(listener);
    }
    void recordSound(const std::string& name, double seconds) {
        constexpr double lowRate = 100.0;
        const auto created = SoundFile::create(desk.disk, pathOf(name), lowRate, 1);
        ASSERT_NE(created.file, nullptr);
        ASSERT_TRUE(created.file->writeSamples(0, std::vector<std::int16_t>(std::size_t(seconds * lowRate))));
        ASSERT_TRUE(created.file->close());
    }
};
} // namespace

TEST_F(StrangeEntriesTest, areNeitherCountedNorDeletedNorOpened_whenTheyArePipesOrSockets) {
    makePipe(hourOf(1, 0));
    makeSocket(hourOf(1, 1));
    makePipe("_Velmoratide_20071024_235950~000010.aif"); // over midnight: a file would be looked into
    makePipe(".Velmoratide_20071024_090000~100000.aif");
    volume.free = 0.0;
    EXPECT_EQ(mechanic().recordTotalTime(), 0.0);
    EXPECT_FALSE(secure());
    EXPECT_EQ(files(), 4u);
    EXPECT_TRUE(volume.removed.empty());
    EXPECT_FALSE(mechanic().isLockedFile(hourOf(1, 0)));
    EXPECT_FALSE(mechanic().lockFile(hourOf(1, 0)));
    EXPECT_EQ(mechanic().openAIFFFileWithPath(pathOf(hourOf(1, 0))), nullptr);
}

TEST_F(StrangeEntriesTest, areNotMovedByTheBackupAdvice_whenTheyArePipesOrSockets) {
    makePipe(hourOf(1, 0));
    record(hourOf(1, 1), 10);
    EXPECT_EQ(mechanic().moveBackupDataWithPath(desk.folder / "records"), 10.0);
    EXPECT_TRUE(has(hourOf(1, 0)));
    EXPECT_FALSE(has(hourOf(1, 1)));
}

TEST_F(StrangeEntriesTest, areToldByTheListing) {
    makePipe("pipe");
    makeSocket("socket");
    record("file");
    std::filesystem::create_symlink("file", pathOf("link"));
    for (const VolumeEntry& entry : desk.disk.list(desk.folder / "records"))
        EXPECT_EQ(entry.isSpecial, entry.name == "pipe" || entry.name == "socket") << entry.name;
}

TEST_F(StrangeEntriesTest, arePassedOver_whateverTheirNames) {
    const Lines names = {
        "\n",
        "_Velmoratide_20071001_000000~010000.aif\n",
        "_Velmoratide_20071001_00000\n~010000.aif",
        "_Velmoratide_20071001_000000~010000.AIF",
        "_Velmoratide_20071001_000000~010000+.aif",
        "_Velmoratide_20071001_000000-010000.aif",
        "_Velmoratide_20071001 000000~010000.aif",
        "_Velmoratide_20071301_000000~010000.aif",
        "_Velmoratide_20071001_000000~250000.aif",
        "_Velmoratide_20071001_000000~01000\xff.aif",
        "_Velmoratide_2007100\xcc\x81_00000~010000.aif",
        "\xff\xfe\x80",
        "xVelmoratide_20071001_000000~010000.aif",
        "_velmoratide_20071001_000000~010000.aif",
        std::string(255, 'x'),
        std::string(251, '_') + ".aif",
        "_Velmoratide_" + std::string(238, '9') + ".aif",
        "%s%n%s.aif",
        "-rf",
        " ",
        "~",
    };
    for (const std::string& name : names)
        record(name);
    recordHours(1);
    volume.free = 0.0;
    EXPECT_EQ(mechanic().recordTotalTime(), 3600.0);
    EXPECT_FALSE(secure());
    EXPECT_EQ(volume.removed, Lines{pathOf(hourOf(1, 0))});
    EXPECT_EQ(files(), names.size());
}

TEST_F(StrangeEntriesTest, countAsLongAsTheySound_whenTheHourComesTwice) {
    // Half an hour at the end of summer time: 02:30 to 02:00, which would be 23 hours and a half.
    recordSound("_Velmoratide_20071028_023000~020000.aif", 1800.0);
    EXPECT_EQ(mechanic().recordTotalTime(), 1800.0);
    // By its name where that can be.
    recordSound("_Velmoratide_20071029_235950~000010.aif", 19.3);
    EXPECT_EQ(mechanic().recordTotalTime(), 1820.0);
    recordSound("_Velmoratide_20071030_100000~110000.aif", 1.0);
    EXPECT_EQ(mechanic().recordTotalTime(), 5420.0);
    recordSound("_Velmoratide_20071031_120000~115959.aif", 86399.5); // all around the clock
    EXPECT_EQ(mechanic().recordTotalTime(), 5420.0 + 86399.0);
}

TEST_F(StrangeEntriesTest, deleteNoDayOfRecordings_whenTheHourComesTwice) {
    recordHours(24);
    recordSound("_Velmoratide_20071028_023000~020000.aif", 1800.0);
    EXPECT_TRUE(secure());
    EXPECT_EQ(files(), 25u);
}

TEST_F(StrangeEntriesTest, doNotDelayALaunchOrTheTotals_whenThereAreAHundredThousand) {
    for (int number = 0; number < 100'000; ++number)
        record(formatted("_Velmoratide_%06d strange name", number), 0);
    recordHours(25);
    const auto timed = [this](const char* what, const auto& action) {
        const auto start = std::chrono::steady_clock::now();
        action();
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        RecordProperty(what, static_cast<int>(taken.count() * 1e3));
        EXPECT_LT(taken.count(), 10.0) << what;
    };
    timed("launchMilliseconds", [this] { mechanic(); });
    timed("totalMilliseconds", [this] { EXPECT_EQ(mechanic().recordTotalTime(), 25 * 3600.0); });
    timed("secureMilliseconds", [this] { EXPECT_TRUE(secure()); });
    timed("advice", [this] { EXPECT_EQ(mechanic().totalDataSize(), 25.0); });
    EXPECT_EQ(files(), 100'025u);
    EXPECT_TRUE(volume.removed.empty());
}
