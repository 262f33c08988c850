// The four tabs, the gate before three of them, and the switch of the gate.
#include "app/VmPrefer.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "schedule/VmReserver.h"
#include "ShellDesk.h"

namespace {
struct TabSwitch : testing::Test {
    ShellDesk shell;
    TabSwitch() { shell.launch(); }
};
struct GatedTabSwitch : testing::Test {
    ShellDesk shell{gateOn};
    GatedTabSwitch() { shell.launch(); }
};
} // namespace

TEST_F(TabSwitch, givesEachTabItsSize) {
    const std::pair<int, int> sizes[] = {{352, 262}, {510, 318}, {706, 318}, {376, 318}};
    for (const int tab : {1, 2, 3, 0}) {
        shell.tabs().choose(tab);
        EXPECT_EQ(shell.tabs().selected(), tab);
        EXPECT_EQ(shell.size(), sizes[tab]);
    }
}

TEST_F(TabSwitch, offersTheGatesSwitchOnTheRecordTabOnly) {
    for (const int tab : {1, 2, 3}) {
        shell.tabs().choose(tab);
        EXPECT_FALSE(shell.controler().authorizationButton().enabled());
    }
    shell.tabs().choose(0);
    EXPECT_TRUE(shell.controler().authorizationButton().enabled());
}

TEST_F(TabSwitch, doesNothing_withAnyOtherIndex) {
    shell.controler().tabViewDidSelectTabViewItem(2);
    shell.controler().tabViewDidSelectTabViewItem(4);
    shell.controler().tabViewDidSelectTabViewItem(-1);
    EXPECT_EQ(shell.size(), std::pair(706, 318));
    EXPECT_FALSE(shell.controler().authorizationButton().enabled());
}

TEST_F(TabSwitch, endsPlaying_whenThePlayTabIsLeft) {
    shell.recorder().recordButton().press(true);
    shell.desk.runFor(8.0);
    shell.recorder().recordButton().press(false);
    shell.desk.runFor(2.0);
    shell.tabs().choose(1);
    for (int wait = 0; wait < 100 && shell.controler().recordTable().numberOfRows() == 0; ++wait)
        shell.desk.runFor(0.1);
    shell.controler().player().initDataSource();
    ASSERT_EQ(shell.controler().recordTable().numberOfRows(), 1);
    shell.controler().recordTable().chooseRow(0);
    shell.controler().player().playButton().press(true);
    EXPECT_TRUE(shell.controler().player().playButton().isOn());
    shell.tabs().choose(2);
    EXPECT_FALSE(shell.controler().player().playButton().isOn());
}

TEST_F(TabSwitch, drawsTheLevelAnew_whenTheRecordTabOrItsWindowComesToTheFront) {
    int drawn = 0;
    shell.controler().meter().lamps().observe([&drawn] { ++drawn; });
    shell.controler().applicationDidBecomeActive();
    EXPECT_EQ(drawn, 1);
    shell.tabs().choose(2);
    shell.controler().applicationDidBecomeActive();
    EXPECT_EQ(drawn, 1);
    shell.tabs().choose(0);
    EXPECT_EQ(drawn, 2);
}

TEST_F(TabSwitch, asksNobody_whileTheGateIsOff) {
    for (const int tab : {1, 2, 3, 0})
        shell.tabs().choose(tab);
    EXPECT_EQ(shell.desk.administratorRight.asked(), 0);
}

TEST_F(GatedTabSwitch, staysOnTheRecordTab_whenRefused) {
    for (const int tab : {1, 2, 3}) {
        shell.tabs().choose(tab);
        EXPECT_EQ(shell.tabs().selected(), 0);
        EXPECT_EQ(shell.size(), std::pair(352, 262));
        EXPECT_TRUE(shell.controler().authorizationButton().enabled());
    }
    EXPECT_EQ(shell.desk.administratorRight.asked(), 3);
    EXPECT_TRUE(shell.alerts().empty());
}

TEST_F(GatedTabSwitch, fallsBackToTheRecordTab_whenRefusedOnAnotherTab) {
    shell.desk.administratorRight.setGranted(true);
    shell.tabs().choose(2);
    EXPECT_EQ(shell.size(), std::pair(706, 318));
    shell.desk.administratorRight.setGranted(false);
    shell.tabs().choose(1);
    EXPECT_EQ(shell.tabs().selected(), 0);
    EXPECT_EQ(shell.size(), std::pair(352, 262));
    EXPECT_TRUE(shell.controler().authorizationButton().enabled());
}

TEST_F(GatedTabSwitch, leavesTheRecordTabSelectedAt352x262_whenThePlayTabsPasswordDialogIsCancelled) {
    std::vector<int> shown;
    shell.tabs().observe([&] { shown.push_back(shell.tabs().selected()); });
    shell.desk.administratorRight.setGranted(false);
    shell.tabs().choose(1);
    EXPECT_EQ(shell.tabs().selected(), 0);
    EXPECT_EQ(shell.size(), std::pair(352, 262));
    EXPECT_TRUE(std::ranges::all_of(shown, [](int tab) { return tab == 0; })) << "seen before it was allowed";
    EXPECT_EQ(shell.desk.administratorRight.asked(), 1);
    EXPECT_TRUE(shell.alerts().empty());
}

TEST_F(GatedTabSwitch, opensEachTab_whenGranted_andTheRecordTabWithoutAQuestion) {
    shell.desk.administratorRight.setGranted(true);
    shell.tabs().choose(3);
    EXPECT_EQ(shell.size(), std::pair(376, 318));
    shell.tabs().choose(0);
    EXPECT_EQ(shell.size(), std::pair(352, 262));
    EXPECT_EQ(shell.desk.administratorRight.asked(), 1);
}

TEST_F(TabSwitch, turnsTheGateOnWithoutAPassword_andOffOnlyWithTheRight) {
    Button& gate = shell.controler().authorizationButton();
    gate.press(true);
    EXPECT_TRUE(shell.controler().authorization());
    EXPECT_EQ(shell.desk.administratorRight.asked(), 0);
    gate.press(false);
    EXPECT_TRUE(gate.isOn());
    EXPECT_TRUE(shell.controler().authorization());
    EXPECT_EQ(shell.desk.administratorRight.asked(), 1);
    shell.desk.administratorRight.setGranted(true);
    gate.press(false);
    EXPECT_FALSE(gate.isOn());
    EXPECT_FALSE(shell.controler().authorization());
}

TEST_F(GatedTabSwitch, isGrantedWithoutAHelper) {
    shell.desk.administratorRight.setGranted(true);
    EXPECT_EQ(shell.controler().VmAuthorization(), 0);
    shell.desk.administratorRight.setGranted(false);
    EXPECT_EQ(shell.controler().VmAuthorization(), -1);
}

TEST_F(GatedTabSwitch, setsTheButtonsBack_whenRefused) {
    VmRecorder& recorder = shell.recorder();
    const bool hour = recorder.hourButton().isOn();
    recorder.monitorButton().press(true);
    recorder.hourButton().press(!hour);
    recorder.markerButton().press(true);
    shell.controler().prefer().preferButton.press(true);
    EXPECT_FALSE(recorder.monitorButton().isOn());
    EXPECT_EQ(recorder.hourButton().isOn(), hour);
    EXPECT_FALSE(recorder.markerButton().isOn());
    EXPECT_FALSE(shell.controler().prefer().drawer.isOpen());
    EXPECT_EQ(shell.desk.administratorRight.asked(), 4);
}

TEST_F(GatedTabSwitch, letsAnybodyBeginToRecord_butNotEnd) {
    VmRecorder& recorder = shell.recorder();
    recorder.recordButton().press(true);
    EXPECT_TRUE(recorder.recordButton().isOn());
    EXPECT_EQ(shell.desk.administratorRight.asked(), 0);
    recorder.recordButton().press(false);
    EXPECT_TRUE(recorder.recordButton().isOn());
    EXPECT_EQ(shell.desk.administratorRight.asked(), 1);
}
