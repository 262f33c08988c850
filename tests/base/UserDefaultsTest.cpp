#include "base/UserDefaults.h"

#include "base/SystemLog.h"
#include "support/TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <limits>
#include <QJsonDocument>
#include <sstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace {
namespace files = std::filesystem;

class Lines final : public SystemLog {
public:
    void log(std::string_view line) override { all.emplace_back(line); }
    std::vector<std::string> all;
};

struct UserDefaultsTest : testing::Test {
    void write(const std::string& text) const { std::ofstream(path, std::ios::binary) << text; }
    static std::string contents(const std::string& of) {
        std::ifstream file(of, std::ios::binary);
        std::ostringstream text;
        text << file.rdbuf();
        return text.str();
    }
    QJsonObject stored() const {
        return QJsonDocument::fromJson(QByteArray::fromStdString(contents(path))).object();
    }

    TemporaryFolder folder;
    const std::string path = folder.path() + "/settings.json";
    Lines lines;
};

/// Files that hold no settings.
struct UnreadableSettingsTest : UserDefaultsTest, testing::WithParamInterface<const char*> {};
} // namespace

// --- looking up ----------------------------------------------------------------------------------------------

TEST_F(UserDefaultsTest, looksUpOverridesThenStoredValuesThenDefaults) {
    write(R"({"Stored": 2, "Overridden": 2})");
    UserDefaults defaults(path, lines);
    for (const char* key : {"Registered", "Stored", "Overridden"})
        defaults.registerDefault(key, 1);
    defaults.overrideForThisRun("Overridden", 3);
    EXPECT_EQ(defaults.integerForKey("Registered"), 1);
    EXPECT_EQ(defaults.integerForKey("Stored"), 2);
    EXPECT_EQ(defaults.integerForKey("Overridden"), 3);
    EXPECT_EQ(defaults.registeredDefault("Overridden"), QJsonValue(1));
    EXPECT_TRUE(lines.all.empty());
}

TEST_F(UserDefaultsTest, givesNothingForAKeyThatNobodyKnows) {
    const UserDefaults defaults(path, lines);
    EXPECT_FALSE(defaults.boolForKey("Nobody"));
    EXPECT_EQ(defaults.integerForKey("Nobody"), 0);
    EXPECT_EQ(defaults.doubleForKey("Nobody"), 0.0);
    EXPECT_EQ(defaults.stringForKey("Nobody"), "");
    EXPECT_TRUE(defaults.valueForKey("Nobody").isUndefined());
    EXPECT_TRUE(defaults.registeredDefault("Nobody").isUndefined());
}

TEST_F(UserDefaultsTest, passesAStoredValueOfAnotherTypeOver_andSaysSo) {
    write(R"({"Switch": "yes", "Number": true, "Text": 5, "Null": null, "Fraction": 2})");
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Switch", true);
    defaults.registerDefault("Number", 7);
    defaults.registerDefault("Text", "text");
    defaults.registerDefault("Null", 8);
    defaults.registerDefault("Fraction", 0.5); // a number however it is written
    EXPECT_TRUE(defaults.boolForKey("Switch"));
    EXPECT_EQ(defaults.integerForKey("Number"), 7);
    EXPECT_EQ(defaults.stringForKey("Text"), "text");
    EXPECT_EQ(defaults.integerForKey("Null"), 8);
    EXPECT_EQ(defaults.doubleForKey("Fraction"), 2.0);
    ASSERT_EQ(lines.all.size(), 4U);
    EXPECT_EQ(lines.all[0], "UserDefaults: setting \"Switch\" is of the wrong type; its default is used.");
}

TEST_F(UserDefaultsTest, passesAnOverrideOfAnotherTypeOver) {
    write(R"({"Number": 2})");
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Number", 1);
    defaults.overrideForThisRun("Number", "three");
    EXPECT_EQ(defaults.integerForKey("Number"), 2);
}

TEST_F(UserDefaultsTest, bringsNumbersIntoTheRangeOfAnInteger) {
    write(R"({"Huge": 1e300, "Tiny": -1e300, "Fraction": 2.9, "Negative": -2.9, "Long": 4294967298})");
    const UserDefaults defaults(path, lines);
    EXPECT_EQ(defaults.integerForKey("Huge"), std::numeric_limits<int>::max());
    EXPECT_EQ(defaults.integerForKey("Tiny"), std::numeric_limits<int>::min());
    EXPECT_EQ(defaults.integerForKey("Fraction"), 2);
    EXPECT_EQ(defaults.integerForKey("Negative"), -2);
    EXPECT_EQ(defaults.integerForKey("Long"), std::numeric_limits<int>::max());
    EXPECT_EQ(defaults.doubleForKey("Huge"), 1e300);
}

TEST_F(UserDefaultsTest, readsTextInAnyLanguage) {
    write("{\"Folder\": \"/home/Jürgen/録音\"}");
    const UserDefaults defaults(path, lines);
    EXPECT_EQ(defaults.stringForKey("Folder"), "/home/Jürgen/録音");
}

// --- writing -------------------------------------------------------------------------------------------------

TEST_F(UserDefaultsTest, readsBackWhatItWrote) {
    {
        UserDefaults defaults(path, lines);
        defaults.set("Switch", true);
        defaults.set("Number", 44100);
        defaults.set("Fraction", 0.25);
        defaults.set("Text", std::string_view("\"quoted\"\n録音"));
        EXPECT_TRUE(defaults.synchronize());
    }
    const UserDefaults defaults(path, lines);
    EXPECT_TRUE(defaults.boolForKey("Switch"));
    EXPECT_EQ(defaults.integerForKey("Number"), 44100);
    EXPECT_EQ(defaults.doubleForKey("Fraction"), 0.25);
    EXPECT_EQ(defaults.stringForKey("Text"), "\"quoted\"\n録音");
    EXPECT_TRUE(lines.all.empty());
}

TEST_F(UserDefaultsTest, makesTheFolderOfItsFile) {
    UserDefaults defaults(folder.path() + "/a/b/settings.json", lines);
    defaults.set("Number", 1);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_TRUE(files::exists(folder.path() + "/a/b/settings.json"));
}

TEST_F(UserDefaultsTest, writesNothing_whenNothingChanged) {
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Number", 1);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_FALSE(files::exists(path));
    defaults.set("Number", 2);
    EXPECT_TRUE(defaults.synchronize());
    files::remove(path);
    defaults.set("Number", 2);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_FALSE(files::exists(path));
}

TEST_F(UserDefaultsTest, keepsKeysThatItDoesNotKnow) {
    write(R"({"FromALaterVersion": {"list": [1, "two"]}, "Wrong": "type", "Number": 1})");
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Number", 0);
    defaults.registerDefault("Wrong", 5);
    defaults.set("Number", 2);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(stored(), QJsonDocument::fromJson(
                            R"({"FromALaterVersion": {"list": [1, "two"]}, "Wrong": "type", "Number": 2})")
                            .object());
}

TEST_F(UserDefaultsTest, replacesTheFileAtomically) {
    write(R"({"Number": 1})");
    const std::string other = folder.path() + "/other-name";
    files::create_hard_link(path, other);
    UserDefaults defaults(path, lines);
    defaults.set("Number", 2);
    ASSERT_TRUE(defaults.synchronize());
    // The old file is as it was: the new one took its name, whole.
    EXPECT_EQ(contents(other), R"({"Number": 1})");
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 2}}));
    files::remove(other);
    EXPECT_EQ(std::distance(files::directory_iterator(folder.path()), files::directory_iterator()), 1);
}

TEST_F(UserDefaultsTest, readsAndWritesNothing_withoutAPath) {
    UserDefaults defaults({}, lines);
    defaults.set("Number", 2);
    EXPECT_TRUE(defaults.synchronize());
    EXPECT_EQ(defaults.integerForKey("Number"), 2);
}

TEST_F(UserDefaultsTest, mayBeUsedBySeveralThreads) {
    UserDefaults defaults(path, lines);
    defaults.registerDefault("Number", 0);
    std::thread other([&defaults] {
        for (int number = 0; number < 200; ++number)
            defaults.set("Number", number);
    });
    for (int number = 0; number < 200; ++number)
        EXPECT_LT(defaults.integerForKey("Number"), 200);
    other.join();
    EXPECT_EQ(defaults.integerForKey("Number"), 199);
}

// --- this run only -------------------------------------------------------------------------------------------

TEST_F(UserDefaultsTest, writesNoOverride) {
    write(R"({"Number": 1})");
    UserDefaults defaults(path, lines);
    defaults.overrideForThisRun("Number", 2);
    defaults.set("Number", 2); // a controller saves what it was told
    defaults.set("Other", 5);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 1}, {"Other", 5}}));
}

TEST_F(UserDefaultsTest, writesWhatAPersonChoseInPlaceOfAnOverride) {
    write(R"({"Number": 1})");
    UserDefaults defaults(path, lines);
    defaults.overrideForThisRun("Number", 2);
    defaults.set("Number", 3);
    EXPECT_EQ(defaults.integerForKey("Number"), 3);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(stored(), (QJsonObject{{"Number", 3}}));
}

TEST_F(UserDefaultsTest, keepsAKeyOutOfTheFile) {
    write(R"({"Switch": false})");
    UserDefaults defaults(path, lines);
    defaults.keepOutOfFile("Switch");
    EXPECT_FALSE(defaults.boolForKey("Switch"));
    defaults.set("Switch", true);
    defaults.set("Other", 1);
    EXPECT_TRUE(defaults.boolForKey("Switch"));
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(stored(), (QJsonObject{{"Switch", false}, {"Other", 1}}));
}

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

INSTANTIATE_TEST_SUITE_P(UserDefaults, UnreadableSettingsTest,
                         testing::Values("", "   \n", R"({"Number": 2, "Text": "cut o)", "[1, 2]", "5", "null",
                                         R"({"Number": 1e999})", "\xff\xfe{", "{}{}"));

TEST_F(UserDefaultsTest, takesTheNextNumber_whenOneWasSetAsideBefore) {
    std::ofstream(path + ".unreadable-1") << "older";
    write("torn");
    const UserDefaults defaults(path, lines);
    EXPECT_EQ(contents(path + ".unreadable-1"), "older");
    EXPECT_EQ(contents(path + ".unreadable-2"), "torn");
}

TEST_F(UserDefaultsTest, setsAFileAsideAtEveryPlaceWhereItMayBeTorn) {
    const std::string whole = R"({"Number": 2, "Text": "all of it"})";
    for (std::size_t length = 0; length < whole.size(); ++length) {
        write(whole.substr(0, length));
        const UserDefaults defaults(path, lines);
        ASSERT_EQ(defaults.integerForKey("Number"), 0) << length;
        ASSERT_EQ(contents(path + ".unreadable-" + std::to_string(length + 1)), whole.substr(0, length));
    }
}

TEST_F(UserDefaultsTest, saysOnceThatItCannotWrite_andTriesAgain) {
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

TEST_F(UserDefaultsTest, keepsTheFile_inAReadOnlyFolder) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the administrator may write everywhere";
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

TEST_F(UserDefaultsTest, overwritesNothing_whenItCanNeitherReadNorSetAside) {
    if (::geteuid() == 0)
        GTEST_SKIP() << "the administrator may write everywhere";
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
