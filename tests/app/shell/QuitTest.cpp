// The ways to quit, and the pages that are opened from the window.
#include "schedule/VmReserver.h"
#include "ShellDesk.h"

namespace {
using Strings = std::vector<std::string>;
using Reply = VmControler::TerminateReply;

struct Quit : testing::Test {
    ShellDesk shell;
    Quit() { shell.launch(); }
};
} // namespace

TEST_F(Quit, isGrantedAtOnce_whenNothingIsGoingOn) {
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::now);
    EXPECT_EQ(shell.alerts(), Strings{});
    EXPECT_EQ(shell.desk.administratorRight.asked(), 0);
}

TEST_F(Quit, isRefused_whileTheRecordSwitchIsOn) {
    shell.recorder().recordButton().press(true);
    shell.desk.runFor(5.0);
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::cancel);
    EXPECT_EQ(shell.alerts(), Strings{"UnableExit/StopRecording/Understand"});
    shell.recorder().recordButton().press(false);
    shell.desk.runFor(2.0);
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::now);
}

TEST_F(Quit, isRefused_whileTheTimetableIsOn) {
    shell.controler().reserver().actInsertTimer();
    shell.recorder().reserveButton().setEnabled(true);
    shell.recorder().reserveButton().press(true);
    ASSERT_TRUE(shell.recorder().reserveButton().isOn());
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::cancel);
    EXPECT_EQ(shell.alerts(), Strings{"UnableExit/StopRecording/Understand"});
}

TEST_F(Quit, leavesDotFilesAlone_whenNothingIsCompressed) {
    shell.makeFile("record/.hidden");
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::now);
    shell.controler().applicationWillTerminate();
    EXPECT_TRUE(shell.hasFile("record/.hidden"));
}

TEST(GatedQuit, isRefusedWithoutAWord_whenTheGateRefuses) {
    ShellDesk shell(gateOn);
    shell.launch();
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::cancel);
    EXPECT_EQ(shell.alerts(), Strings{});
    shell.desk.administratorRight.setGranted(true);
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::now);
}

TEST(GatedQuit, asksForTheRightOnlyWhenNothingElseForbidsIt) {
    ShellDesk shell({{"AuthorizationRequired", true}, {"AutoRecordStartup", true}});
    shell.launch();
    ASSERT_TRUE(shell.recorder().recordButton().isOn());
    const int asked = shell.desk.administratorRight.asked();
    EXPECT_EQ(shell.controler().applicationShouldTerminate(), Reply::cancel);
    EXPECT_EQ(shell.desk.administratorRight.asked(), asked);
    EXPECT_EQ(shell.alerts(), Strings{"UnableExit/StopRecording/Understand"});
}

TEST_F(Quit, pagesAreOpenedAfterAQuestion) {
    shell.controler().actVersionButton();
    shell.controler().actCopyrightButton();
    EXPECT_EQ(shell.alerts(), (Strings{"SupportPage/NeedInternet/Go", "SendMessage/NeedInetToSend/Send"}));
    ASSERT_EQ(shell.desk.workspace.opened().size(), 2U);
    EXPECT_TRUE(shell.desk.workspace.opened()[0].ends_with("/support.html"));
    EXPECT_TRUE(shell.desk.workspace.opened()[1].ends_with("/feedback.html"));
}

TEST_F(Quit, pagesStayClosed_whenThePersonCancels) {
    shell.desk.alert.answerNext("SupportPage", AlertAnswer::alternateButton);
    shell.controler().actVersionButton();
    shell.desk.alert.answerNext("SendMessage", AlertAnswer::alternateButton);
    shell.controler().actCopyrightButton();
    EXPECT_TRUE(shell.desk.workspace.opened().empty());
}

TEST_F(Quit, saysThatAPageCannotBeOpened) {
    shell.desk.workspace.setWorking(false);
    shell.controler().openHelp("index.html");
    EXPECT_EQ(shell.alerts(), Strings{"HelpMissing/HelpMissingInfo/Understand"});
}
