// What a person hears of settings that cannot be read or stored.
#include "ShellDesk.h"

namespace {
using Strings = std::vector<std::string>;

struct SettingsFault : testing::Test {
    TemporaryFolder folder;
    std::string path = folder.path() + "/settings.json";
    std::unique_ptr<RehearsalDesk> desk;
    Strings errors;
    NotificationCenter::Observation watch;

    void launch() {
        desk = std::make_unique<RehearsalDesk>(folder.path(), QTimeZone("Asia/Tokyo"), morning,
                                               std::vector<SimulatedDevice>{countingInput(), deskOutput()});
        watch = desk->notifications.observe(VmLogEventNotification, [this](const Notification& notification) {
            if (notification.object == "SomeErrorHappen")
                errors.push_back(notification.userInfo.at(std::string(ErrorMessageString)));
        });
        desk->launch();
        desk->runFor(1.0);
    }
    /// In the system log and in the log book, as it was posted.
    void expectItIsWritten(const std::string& error) const {
        const auto lines = desk->log.lines();
        EXPECT_EQ(std::ranges::count(lines, error), 1) << error;
        std::ifstream file(desk->recordFolder() + "/VelmoratideLog.txt");
        const std::string book{std::istreambuf_iterator<char>(file), {}};
        EXPECT_NE(book.find(" ERROR HAPPEN\n\t" + error + "\t\n\n"), std::string::npos) << book;
    }
    Strings alerts() const {
        Strings keys;
        for (const auto& shown : desk->alert.shown())
            keys.push_back(shown.request.messageKey + "/" + shown.request.informativeKey);
        return keys;
    }
};
} // namespace

TEST_F(SettingsFault, isToldAtTheLaunch_whenTheyCannotBeRead) {
    std::ofstream(path) << "torn";
    launch();
    ASSERT_EQ(errors.size(), 1U);
    EXPECT_TRUE(errors[0].starts_with("UserDefaults: settings file " + path + " cannot be read ("));
    expectItIsWritten(errors[0]);
    EXPECT_EQ(alerts(), Strings{"SettingsUnreadable/SettingsUnreadableInfo"});
}

TEST_F(SettingsFault, isToldOnceInTheLogBook_whenTheyCannotBeStored) {
    std::ofstream(path) << "{}";
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    launch();
    desk->runFor(700.0); // the patrol stores them, too
    EXPECT_EQ(errors, Strings{"UserDefaults: settings file " + path + " cannot be written (it is read-only)."});
    expectItIsWritten(errors.at(0));
    EXPECT_EQ(alerts(), Strings{});
}

TEST_F(SettingsFault, isNotHeardAfterTheEnd) {
    launch();
    desk->terminate();
    std::filesystem::remove(path);
    std::filesystem::create_directory(path);
    desk->defaults.set("RecordMode", 1);
    EXPECT_FALSE(desk->defaults.synchronize());
    desk->runFor(1.0);
    EXPECT_EQ(errors, Strings{});
}
