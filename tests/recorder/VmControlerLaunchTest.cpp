// What a launch tells a person.
#include "support/DeskOfATest.h"

namespace {
std::vector<std::string> alertsWith(const std::string& storedSettings) {
    TemporaryFolder folder;
    std::ofstream(folder.path() + "/settings.json") << storedSettings;
    RehearsalDesk desk(folder.path(), QTimeZone("Asia/Tokyo"), morning, {countingInput(), deskOutput()});
    desk.launch();
    std::vector<std::string> keys;
    for (const auto& shown : desk.alert.shown())
        keys.push_back(shown.request.messageKey + " " + shown.request.informativeKey);
    desk.controler->recorder().recordButton().press(true);
    desk.runFor(1.0);
    EXPECT_EQ(desk.controler->recorder().condition(), RecordCondition::recording);
    return keys;
}
} // namespace

TEST(VmControlerLaunch, tellsOfSettingsOfALaterVersion_andRecordsWithThem) {
    const std::vector<std::string> told{"SettingsOfLaterVersion LaterSettingsKept"};
    EXPECT_EQ(alertsWith(R"({"SettingsVersion": 2, "RecordMode": 0})"), told);
    EXPECT_EQ(alertsWith(R"({"SettingsVersion": "a name", "RecordMode": 0})"), told);
}

TEST(VmControlerLaunch, saysNothing_ofSettingsOfThisVersion) {
    EXPECT_EQ(alertsWith(R"({"SettingsVersion": 1, "RecordMode": 0})"), std::vector<std::string>());
    EXPECT_EQ(alertsWith(R"({"RecordMode": 0})"), std::vector<std::string>());
}
