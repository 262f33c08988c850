// What becomes of a settings file that cannot be read or written, or that another version wrote.
#include "base/SettingsFolder.h"
#include "base/UserDefaults.h"
#include "support/PlainUser.h"

#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {
namespace files = std::filesystem;

using SettingsFileTest = SettingsFolder;

/// Files that hold no settings.
struct UnreadableSettingsTest : SettingsFolder, testing::WithParamInterface<const char*> {};

constexpr const char* laterFile = R"({"SettingsVersion": 7, "Number": 3, "Switch": "sometimes",
    "Text": {"de": "Wort"}, "Unknown": {"list": [1, "two", null, 9007199254740993]}})";

void registerAll(UserDefaults& defaults) {
    defaults.registerDefault("Number", 1);
    defaults.registerDefault("Switch", true);
    defaults.registerDefault("Text", "word");
}
} // namespace

// --- what cannot be read or written --------------------------------------------------------------------------

TEST_P(UnreadableSettingsTest, areSetAsideAndNeverOverwritten) {
    write(GetParam());
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Number", 1);
    EXPECT_EQ(defaults.integerForKey("Number"), 1);
    EXPECT_FALSE(files::exists(path));
    EXPECT_EQ(contents(path + ".unreadable-1"), GetParam());
    ASSERT_EQ(lines.all.size(), 1U);
    EXPECT_NE(lines.all[0].find("UserDefaults: settings file " + path + " cannot be read ("),
              std::string::npos);
    EXPECT_NE(lines.all[0].find("it is kept as " + path + ".unreadable-1"), std::string::npos);
    defaults.set("Number", 2);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 2}}));
    EXPECT_EQ(contents(path + ".unreadable-1"), GetParam());
}

INSTANTIATE_TEST_SUITE_P(SettingsFile, UnreadableSettingsTest,
                         testing::Values("", "   \n", R"({"Number": 2, "Text": "cut o)", "[1, 2]", "5", "null",
                                         R"({"Number": 1e999})", "\xff\xfe{", "{}{}",
                                         "{\"Text\": \"not UTF-8: \xe9\"}", R"({"Number": NaN})",
                                         R"({"Number": -Infinity})", R"({"Number": 2}trailing)"));

TEST_F(SettingsFileTest, takesTheNextNumber_whenOneWasSetAsideBefore) {
    std::ofstream(path + ".unreadable-1") << "older";
    write("torn");
    const UserDefaults defaults(path, lines);
    EXPECT_EQ(contents(path + ".unreadable-1"), "older");
    EXPECT_EQ(contents(path + ".unreadable-2"), "torn");
}

TEST_F(SettingsFileTest, setsAFileAsideAtEveryPlaceWhereItMayBeTorn) {
    const std::string whole = R"({"Number": 2, "Text": "all of it"})";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        write(whole.substr(0, length));
        const UserDefaults defaults(path, lines);
        ASSERT_EQ(defaults.integerForKey("Number"), 0) << length;
        ASSERT_EQ(contents(path + ".unreadable-" + std::to_string(length + 1)), whole.substr(0, length));
    }
}

TEST_F(SettingsFileTest, saysOnceThatItCannotWrite_andTriesAgain) {
    std::ofstream(folder.path() + "/file") << "no folder";
    const std::string below = folder.path() + "/file/settings.json";
    UserDefaults defaults(below, lines);
    defaults.set("Number", 1);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_FALSE(defaults.synchronize());
    ASSERT_EQ(lines.all.size(), 1U);
    EXPECT_EQ(lines.all[0].find("UserDefaults: settings file " + below + " cannot be written ("), 0U);
    files::remove(folder.path() + "/file");
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_TRUE(files::exists(below));
    files::remove_all(folder.path() + "/file");
    std::ofstream(folder.path() + "/file") << "no folder again";
    defaults.set("Number", 2);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(lines.all.size(), 2U); // it had worked in between
}

TEST_F(SettingsFileTest, tellsItsHandlerWhatTheLogWasTold_alsoBefore) {
    write("torn");
    UserDefaults defaults(path, lines);
    EXPECT_TRUE(defaults.wasUnreadable());
    std::vector<std::string> told;
    defaults.setFaultHandler([&told](const std::string& fault) { told.push_back(fault); });
    EXPECT_EQ(told, lines.all);
    ASSERT_EQ(told.size(), 1U);
    files::create_directory(path);
    defaults.set("Number", 1);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(told, lines.all);
    EXPECT_EQ(told.size(), 2U);
    defaults.setFaultHandler({});
    UserDefaults fresh(folder.path() + "/none.json", lines);
    EXPECT_FALSE(fresh.wasUnreadable());
}

TEST_F(SettingsFileTest, keepsTheFile_inAReadOnlyFolder) {
    const PlainUser user(folder.path());
    write(R"({"Number": 1})");
    ASSERT_EQ(::chmod(folder.path().c_str(), 0500), 0);
    UserDefaults defaults(path, lines);
    defaults.set("Number", 2);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(lines.all.size(), 1U);
    EXPECT_EQ(contents(path), R"({"Number": 1})");
    ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
    EXPECT_TRUE(defaults.synchronize());
}

TEST_F(SettingsFileTest, overwritesNothing_whenItCanNeitherReadNorSetAside) {
    const PlainUser user(folder.path());
    write("torn");
    ASSERT_EQ(::chmod(folder.path().c_str(), 0500), 0);
    UserDefaults defaults(path, lines);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
    defaults.set("Number", 2);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(contents(path), "torn");
    ASSERT_EQ(lines.all.size(), 1U);
    EXPECT_NE(lines.all[0].find("nor set aside"), std::string::npos);
}

TEST_F(SettingsFileTest, staysAsItIs_whenItIsReadOnly) {
    const PlainUser user(folder.path());
    write(R"({"Number": 1})");
    ASSERT_EQ(::chmod(path.c_str(), 0400), 0);
    UserDefaults defaults(path, lines);
    EXPECT_EQ(defaults.integerForKey("Number"), 1);
    defaults.set("Number", 2);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(defaults.integerForKey("Number"), 2); // for this run
    EXPECT_EQ(contents(path), R"({"Number": 1})");
    ASSERT_EQ(lines.all.size(), 1U);
    EXPECT_NE(lines.all[0].find("cannot be written ("), std::string::npos);
}

TEST_F(SettingsFileTest, isSetAside_whenItMayNotBeRead) {
    const PlainUser user(folder.path());
    write(R"({"Number": 1})");
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    const UserDefaults defaults(path, lines);
    EXPECT_TRUE(files::exists(path + ".unreadable-1"));
    EXPECT_EQ(lines.all.size(), 1U);
}

TEST_F(SettingsFileTest, isNeverReplaced_whenItIsAFolder) {
    ASSERT_TRUE(files::create_directories(path + "/inside"));
    {
        UserDefaults defaults(path, lines);
        defaults.set("Number", 2);
        EXPECT_TRUE(defaults.synchronize());
    }
    EXPECT_TRUE(files::exists(path + ".unreadable-1/inside"));
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 2}}));
    EXPECT_EQ(lines.all.size(), 1U);
}

// --- links ---------------------------------------------------------------------------------------------------

TEST_F(SettingsFileTest, staysALink_andItsTargetIsReplaced) {
    files::create_directory(folder.path() + "/kept");
    const std::string target = folder.path() + "/kept/real.json";
    std::ofstream(target) << R"({"Number": 1})";
    files::create_symlink("kept/real.json", folder.path() + "/second"); // relative, and a chain
    files::create_symlink("second", path);
    UserDefaults defaults(path, lines);
    EXPECT_EQ(defaults.integerForKey("Number"), 1);
    defaults.set("Number", 2);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_TRUE(files::is_symlink(path));
    EXPECT_TRUE(files::is_symlink(folder.path() + "/second"));
    EXPECT_TRUE(files::is_regular_file(files::symlink_status(target)));
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 2}}));
}

TEST_F(SettingsFileTest, isMadeWhereALinkLeads) {
    files::create_symlink(folder.path() + "/not/yet/there.json", path);
    UserDefaults defaults(path, lines);
    defaults.set("Number", 2);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_TRUE(files::is_symlink(path));
    EXPECT_TRUE(files::is_regular_file(folder.path() + "/not/yet/there.json"));
    EXPECT_TRUE(lines.all.empty());
}

TEST_F(SettingsFileTest, isSetAsideWhereItLies_whenALinkLeadsToIt) {
    const std::string target = folder.path() + "/real.json";
    std::ofstream(target) << "torn";
    files::create_symlink("real.json", path);
    UserDefaults defaults(path, lines);
    EXPECT_EQ(contents(target + ".unreadable-1"), "torn");
    defaults.set("Number", 2);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_TRUE(files::is_symlink(path));
    EXPECT_TRUE(files::is_regular_file(files::symlink_status(target)));
}

TEST_F(SettingsFileTest, isNotWritten_whereLinksLeadInACircle) {
    files::create_symlink("second", path);
    files::create_symlink("settings.json", folder.path() + "/second");
    UserDefaults defaults(path, lines);
    defaults.set("Number", 2);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_TRUE(files::is_symlink(path));
    EXPECT_EQ(lines.all.size(), 1U);
}

// --- a later version -----------------------------------------------------------------------------------------

TEST_F(SettingsFileTest, isUsedAsFarAsItIsKnown_whenALaterVersionWroteIt) {
    write(laterFile);
    UserDefaults defaults(path, lines);
    registerAll(defaults);
    EXPECT_EQ(defaults.integerForKey("Number"), 3);
    EXPECT_TRUE(defaults.boolForKey("Switch"));
    EXPECT_EQ(defaults.stringForKey("Text"), "word");
    ASSERT_EQ(lines.all.size(), 3U); // the version, and the two settings of other types
    EXPECT_EQ(lines.all[0], "UserDefaults: settings file " + path +
                                " is of a later version; what is known of it is used, the rest is kept.");
}

TEST_F(SettingsFileTest, keepsEverythingThatNobodyChanged_whenALaterVersionWroteIt) {
    write(laterFile);
    UserDefaults defaults(path, lines);
    registerAll(defaults);
    defaults.set("Switch", true); // a controller saves what it read
    defaults.set("Text", std::string_view("word"));
    defaults.set("Number", 3);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(contents(path), laterFile); // nothing was to be written

    defaults.set("Number", 4);
    defaults.set("Switch", false);
    ASSERT_TRUE(defaults.synchronize());
    QJsonObject expected = objectOf(laterFile);
    expected["Number"] = 4;
    expected["Switch"] = false;
    EXPECT_EQ(objectOf(contents(path)), expected);
    EXPECT_EQ(expected["SettingsVersion"], QJsonValue(7));
    EXPECT_NE(contents(path).find("9007199254740993"), std::string::npos);
}

TEST_F(SettingsFileTest, isCopiedOnce_beforeAnEarlierVersionWritesToIt) {
    write(laterFile);
    for (const int number : {4, 5}) {
        UserDefaults defaults(path, lines);
        registerAll(defaults);
        EXPECT_EQ(files::exists(path + ".version-7"), number != 4); // not by reading
        defaults.set("Number", number);
        ASSERT_TRUE(defaults.synchronize());
    }
    EXPECT_EQ(contents(path + ".version-7"), laterFile);
    EXPECT_EQ(objectOf(contents(path))["Number"], QJsonValue(5));
}

TEST_F(SettingsFileTest, staysAsItIs_whenNoCopyOfALaterVersionCanBeKept) {
    const PlainUser user(folder.path());
    write(laterFile);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0500), 0);
    UserDefaults defaults(path, lines);
    defaults.set("Number", 4);
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_FALSE(defaults.synchronize());
    EXPECT_EQ(contents(path), laterFile);
    ASSERT_EQ(lines.all.size(), 2U);
    EXPECT_NE(lines.all[1].find("no copy of it can be kept"), std::string::npos);
    ASSERT_EQ(::chmod(folder.path().c_str(), 0700), 0);
    EXPECT_TRUE(defaults.synchronize());
}

TEST_F(SettingsFileTest, isTakenForALaterOne_whenItsVersionIsNoNumber) {
    for (const char* version : {"\"2.0\"", "null", "[1]", "1.5", "1e300"}) {
        files::remove(path + ".version-unknown");
        write(std::string(R"({"SettingsVersion": )") + version + R"(, "Number": 3})");
        UserDefaults defaults(path, lines);
        registerAll(defaults);
        EXPECT_EQ(defaults.integerForKey("Number"), 3) << version;
        ASSERT_EQ(lines.all.size(), 1U) << version;
        lines.all.clear();
        const QJsonObject before = objectOf(contents(path));
        defaults.set("Number", 4);
        ASSERT_TRUE(defaults.synchronize());
        EXPECT_EQ(objectOf(contents(path))["SettingsVersion"], before["SettingsVersion"]) << version;
    }
}

TEST_F(SettingsFileTest, getsTheVersion_whenAnEarlierOneWroteIt) {
    for (const char* version : {"0", "-3", "1"}) {
        write(std::string(R"({"SettingsVersion": )") + version + R"(, "Number": 3})");
        UserDefaults defaults(path, lines);
        defaults.set("Number", 4);
        ASSERT_TRUE(defaults.synchronize());
        EXPECT_EQ(objectOf(contents(path)), (QJsonObject{{"Number", 4}, {"SettingsVersion", 1}})) << version;
    }
    EXPECT_TRUE(lines.all.empty());
}
