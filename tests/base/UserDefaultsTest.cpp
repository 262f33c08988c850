#include "base/UserDefaults.h"

#include "base/SettingsFolder.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <limits>
#include <thread>

namespace {
namespace files = std::filesystem;

using UserDefaultsTest = SettingsFolder;
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

TEST_F(UserDefaultsTest, writesTheVersionOfItsFormat) {
    UserDefaults defaults(path, lines);
    defaults.set("Number", 1);
    ASSERT_TRUE(defaults.synchronize());
    EXPECT_EQ(objectOf(contents(path)), (QJsonObject{{"Number", 1}, {"SettingsVersion", 1}}));
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
