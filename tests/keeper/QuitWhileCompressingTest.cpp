// The ways to quit while a compressor runs.
#include "app/MainWindowModel.h"
#include "keeper/KeepingDesk.h"

namespace {
using Reply = VmControler::TerminateReply;

/// A kept recording is about to be compressed, and a hidden file lies in either folder.
class QuittingDuty : public KeepingDesk {
public:
    QuittingDuty() {
        desk.launch();
        desk.runFor(1.0);
        desk.controler->setTerminateReplyHandler([this] { ++replies; });
        for (const std::string& file : hidden())
            write(file, "half");
    }
    /// Calls `act` while the compression is under way, and then lets it end.
    void whileCompressing(const std::function<void()>& act) {
        write(kept(morningName), std::string(100000, 'x'));
        useCompressor("exec gzip -f \"$1\"");
        desk.runLoop.post([this, &act] {
            EXPECT_TRUE(keeper().isCompressing());
            act();
        });
        desk.runFor(1.0);
        EXPECT_FALSE(keeper().isCompressing());
        EXPECT_TRUE(exists(kept(morningName) + ".gz"));
    }
    Reply request(AlertAnswer answer) {
        desk.alert.answerNext("CompressingCaution", answer);
        return desk.controler->applicationShouldTerminate();
    }
    std::vector<std::string> hidden() const {
        return {recorded(".Velmoratide_half"), kept(".Velmoratide_half")};
    }
    bool hasHidden() const { return exists(hidden()[0]) && exists(hidden()[1]); }
    bool hasNoHidden() const { return !exists(hidden()[0]) && !exists(hidden()[1]); }
    bool isVisible() { return desk.controler->mainWindow().isVisible(); }
    int replies = 0;
};
} // namespace

TEST(QuitWhileCompressing, asksWithThreeAnswers) {
    QuittingDuty duty;
    duty.whileCompressing([&] { duty.request(AlertAnswer::alternateButton); });
    const auto shown = duty.desk.alert.shown();
    ASSERT_EQ(shown.size(), 1U);
    EXPECT_EQ(shown[0].request.messageKey, "CompressingCaution");
    EXPECT_EQ(shown[0].request.informativeKey, "CompressingCautionInfo");
    EXPECT_EQ(shown[0].request.defaultKey, "StopAfterCompress");
    EXPECT_EQ(shown[0].request.alternateKey, "Cancel");
    EXPECT_EQ(shown[0].request.otherKey, "ApplicationStop");
}

TEST(QuitWhileCompressing, goesOn_whenItIsCancelled) {
    QuittingDuty duty;
    duty.whileCompressing([&] { EXPECT_EQ(duty.request(AlertAnswer::alternateButton), Reply::cancel); });
    EXPECT_TRUE(duty.isVisible());
    EXPECT_EQ(duty.replies, 0);
    EXPECT_TRUE(duty.hasHidden());
}

TEST(QuitWhileCompressing, hidesTheWindow_andQuitsAtTheEndOfTheCompression) {
    QuittingDuty duty;
    duty.whileCompressing([&] {
        EXPECT_EQ(duty.request(AlertAnswer::defaultButton), Reply::later);
        EXPECT_FALSE(duty.isVisible());
        EXPECT_EQ(duty.replies, 0);
    });
    EXPECT_EQ(duty.lines("standing by complete keeping."), 1U);
    EXPECT_EQ(duty.posts("DataKeepCompleteNotification").size(), 1U);
    EXPECT_EQ(duty.replies, 1);
    EXPECT_TRUE(duty.hasHidden());
}

TEST(QuitWhileCompressing, quitsAtOnce_withoutHiddenFiles_whenItIsStopped) {
    QuittingDuty duty;
    duty.whileCompressing([&] {
        EXPECT_EQ(duty.request(AlertAnswer::otherButton), Reply::now);
        EXPECT_TRUE(duty.hasNoHidden());
    });
    EXPECT_EQ(duty.replies, 0);
}

TEST(QuitWhileCompressing, completesTheWaitingQuitFirst_whenASecondRequestStopsIt) {
    QuittingDuty duty;
    duty.whileCompressing([&] {
        EXPECT_EQ(duty.request(AlertAnswer::defaultButton), Reply::later);
        EXPECT_EQ(duty.request(AlertAnswer::otherButton), Reply::now);
        EXPECT_EQ(duty.replies, 1);
        EXPECT_TRUE(duty.hasNoHidden());
    });
    EXPECT_EQ(duty.replies, 1) << "not again at the end of the compression";
}

TEST(QuitWhileCompressing, waitsOn_whenASecondRequestIsCancelledOrWaitsToo) {
    for (const AlertAnswer second : {AlertAnswer::alternateButton, AlertAnswer::defaultButton}) {
        QuittingDuty duty;
        duty.whileCompressing([&] {
            EXPECT_EQ(duty.request(AlertAnswer::defaultButton), Reply::later);
            duty.request(second);
            EXPECT_EQ(duty.replies, 0);
        });
        EXPECT_EQ(duty.replies, 1);
        EXPECT_FALSE(duty.isVisible());
    }
}

TEST(QuitWhileCompressing, neverDeletesHiddenFiles_whileNothingIsCompressed) {
    QuittingDuty duty;
    EXPECT_EQ(duty.desk.controler->applicationShouldTerminate(), Reply::now);
    EXPECT_TRUE(duty.desk.alert.shown().empty());
    EXPECT_TRUE(duty.hasHidden());
}

TEST(QuitWhileCompressing, leavesTheRecordingForTheNextLaunch_whenTheProgramEndsMeanwhile) {
    QuittingDuty duty;
    duty.write(duty.kept(morningName), "sound");
    duty.useCompressor("rm \"$1\"");
    duty.desk.runLoop.post([&] {
        EXPECT_EQ(duty.request(AlertAnswer::otherButton), Reply::now);
        duty.desk.terminate();
    });
    duty.desk.runFor(1.0);
    EXPECT_EQ(KeepingDesk::textOf(duty.kept(morningName)), "sound");
}
