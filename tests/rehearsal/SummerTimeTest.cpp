// The night in which an hour comes twice, played by the program.
#include "rehearsal/RehearsedFolder.h"

TEST(SummerTimeTest, costsNoRecording_whenAnHourComesTwice) {
    RehearsedFolder folder;
    // Split every half hour; one of them lasts from 02:30 to 02:00. The budget is ten hours.
    const std::string events =
        RehearsedFolder::press(1, "record", true) + "," + RehearsedFolder::press(8990, "record", false);
    ASSERT_EQ(folder.play(RehearsedFolder::scenario(RehearsedFolder::launch(events, "2026-10-25 01:30:00"),
                                                    R"(, "MaxRecordTime": 1800, "MaxTotalTime": 36000)")),
              0);
    const auto names = folder.recordings();
    ASSERT_EQ(names.size(), 5U);
    EXPECT_EQ(names[0], "_Velmoratide_20261025_013001~020000.aif");
    EXPECT_EQ(names[3], "_Velmoratide_20261025_023000~020000.aif");
    EXPECT_EQ(folder.total("framesLost"), 0.0);
    for (const std::string& line : folder.lines("system-log.txt"))
        EXPECT_EQ(line.find("deleted"), std::string::npos) << line;
}
