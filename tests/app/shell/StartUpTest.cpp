// What the application does when it starts, and what it stores when it ends.
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "schedule/VmReserveList.h"
#include "schedule/VmReserver.h"
#include "ShellDesk.h"

namespace {
using Strings = std::vector<std::string>;

int place(const Strings& events, const std::string& event) {
    for (std::size_t index = 0; index < events.size(); ++index)
        if (events[index].starts_with(event))
            return static_cast<int>(index);
    return -1;
}
} // namespace

TEST(StartUp, showsTheWindowWithTheRecordTab) {
    ShellDesk shell;
    shell.desk.makeControllers();
    EXPECT_FALSE(shell.window().isVisible());
    shell.launch();
    EXPECT_TRUE(shell.window().isVisible());
    EXPECT_EQ(shell.tabs().selected(), 0);
    EXPECT_EQ(shell.size(), std::pair(352, 262));
    EXPECT_EQ(shell.alerts(), Strings{});
}

TEST(StartUp, registersItsSettings) {
    ShellDesk shell;
    EXPECT_EQ(shell.desk.defaults.registeredDefault("AuthorizationRequired"), QJsonValue(false));
    EXPECT_EQ(shell.desk.defaults.registeredDefault("WindowOpacity"), QJsonValue(1.0));
}

TEST(StartUp, takesOverGateOpacityAndPlace) {
    ShellDesk shell({{"AuthorizationRequired", true}, {"WindowOpacity", 0.5}, {"MainWindow", "70 90"}});
    shell.launch();
    EXPECT_TRUE(shell.controler().authorization());
    EXPECT_TRUE(shell.controler().authorizationButton().isOn());
    EXPECT_FLOAT_EQ(shell.controler().opacity(), 0.5F);
    EXPECT_FLOAT_EQ(shell.window().opacity(), 0.5F);
    EXPECT_EQ(shell.window().frame(), "70 90");
}

TEST(StartUp, runsTheInputAndTellsTheTables) {
    ShellDesk shell;
    shell.launch();
    EXPECT_TRUE(shell.recorder().recordButton().enabled());
    EXPECT_NE(shell.controler().recordTable().source(), nullptr);
    EXPECT_NE(shell.controler().keepTable().source(), nullptr);
    EXPECT_EQ(shell.events, Strings{"DutyStart"});
}

TEST(StartUp, asksToTerminate_whenThereIsNoDevice_butDoesTheRest) {
    ShellDesk shell({}, {});
    shell.launch();
    EXPECT_TRUE(shell.controler().devicer().awakeError());
    EXPECT_TRUE(shell.desk.runLoop.hasQuit());
    EXPECT_TRUE(shell.happened("DutyStart"));
    EXPECT_TRUE(shell.window().isVisible());
}

TEST(StartUp, opensTheLogBook_thenGoesOnWithWhatWasGoingOn) {
    ShellDesk shell(fullRateStereo);
    shell.launch();
    shell.recorder().recordButton().press(true);
    shell.desk.runFor(8.0);
    shell.desk.controler.reset(); // a crash: the file is left as it is
    shell.events.clear();
    shell.launch();
    EXPECT_EQ(place(shell.events, "DutyStart"), 0);
    EXPECT_TRUE(shell.recorder().recordButton().isOn());
    EXPECT_GT(place(shell.events, "RecordingStart"), 0);
}

TEST(StartUp, beginsToRecord_whenAutoStartIsOn_andLeavesTheTimetableAlone) {
    ShellDesk shell({{"AutoRecordStartup", true}, {"ReserveAutoStartup", true}});
    shell.launch();
    EXPECT_TRUE(shell.recorder().recordButton().isOn());
    EXPECT_FALSE(shell.recorder().reserveButton().isOn());
}

TEST(StartUp, switchesTheTimetableOn_whenOnlyItsAutoStartIsOn) {
    ShellDesk shell({{"AutoRecordStartup", false}, {"ReserveAutoStartup", true}});
    shell.desk.makeControllers();
    shell.controler().reserver().actInsertTimer();
    shell.launch();
    EXPECT_FALSE(shell.recorder().recordButton().isOn());
    EXPECT_TRUE(shell.recorder().reserveButton().isOn());
}

TEST(StartUp, startsNothing_whenNoAutoStartIsOn) {
    ShellDesk shell;
    shell.launch();
    EXPECT_FALSE(shell.recorder().recordButton().isOn());
    EXPECT_FALSE(shell.recorder().reserveButton().isOn());
}

TEST(Ending, postsDutyFinishAndStoresTheShellsSettings) {
    ShellDesk shell;
    shell.launch();
    shell.controler().authorizationButton().press(true);
    shell.controler().setOpacity(0.75F);
    shell.window().setFrame("12 34");
    shell.controler().applicationWillTerminate();
    EXPECT_EQ(shell.events, (Strings{"DutyStart", "DutyFinish"}));
    EXPECT_TRUE(shell.logged("---applicationWillTerminate---"));
    const UserDefaults read(shell.desk.folder + "/settings.json", shell.desk.log);
    EXPECT_TRUE(read.boolForKey("AuthorizationRequired"));
    EXPECT_NEAR(read.doubleForKey("WindowOpacity"), 0.75, 1e-6);
    EXPECT_EQ(read.stringForKey("MainWindow"), "12 34");
}

TEST(Ending, storesTheSettingsOfTheOtherControllers) {
    ShellDesk shell;
    shell.launch();
    shell.recorder().setAutoStartup(true);
    shell.controler().reserver().setReserveAutoStartup(true);
    shell.controler().saveUserDefaults();
    const UserDefaults read(shell.desk.folder + "/settings.json", shell.desk.log);
    EXPECT_TRUE(read.boolForKey("AutoRecordStartup"));
    EXPECT_TRUE(read.boolForKey("ReserveAutoStartup"));
}

TEST(Ending, finishesTheFileOnce_whenTheSessionEndsBeforeTheProgram) {
    ShellDesk shell(fullRateStereo);
    shell.launch();
    shell.recorder().recordButton().press(true);
    shell.desk.runFor(8.0);
    shell.recorder().finishForTermination();
    ASSERT_EQ(shell.recordings().size(), 1U);
    const std::size_t length = shell.samples(shell.recordings()[0]).size();
    EXPECT_GT(length, 2U * 44100 * 7);
    shell.desk.runFor(0.5);
    shell.desk.terminate();
    ASSERT_EQ(shell.recordings().size(), 1U);
    EXPECT_EQ(shell.samples(shell.recordings()[0]).size(), length);
    EXPECT_TRUE(shell.stored("RecordSwitch").toBool()) << "the next session does not go on";
}

TEST(Ending, finishesTheFileThatIsOpen) {
    ShellDesk shell(fullRateStereo);
    shell.launch();
    shell.recorder().recordButton().press(true);
    shell.desk.runFor(8.0);
    shell.desk.terminate();
    ASSERT_EQ(shell.recordings().size(), 1U);
    EXPECT_GT(shell.samples(shell.recordings()[0]).size(), 2U * 44100 * 7);
    std::erase(shell.events, ""); // what is told besides log events
    EXPECT_EQ(shell.events.back(), "DutyFinish");
}
