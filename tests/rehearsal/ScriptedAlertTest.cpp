#include "rehearsal/ScriptedAlert.h"

#include <gtest/gtest.h>
#include <thread>

TEST(ScriptedAlert, answersTheDefaultButton_whenNothingIsScripted) {
    ScriptedAlert alert;
    EXPECT_EQ(alert.ask({"Caution", "Info", "Stop", "Cancel"}), AlertAnswer::defaultButton);
}

TEST(ScriptedAlert, answersOnceAsScripted_forThatMessageOnly) {
    ScriptedAlert alert;
    alert.answerNext("Caution", AlertAnswer::otherButton);
    EXPECT_EQ(alert.ask({"Else", "", "Stop"}), AlertAnswer::defaultButton);
    EXPECT_EQ(alert.ask({"Caution", "", "Stop"}), AlertAnswer::otherButton);
    EXPECT_EQ(alert.ask({"Caution", "", "Stop"}), AlertAnswer::defaultButton);
}

TEST(ScriptedAlert, remembersWhatItShowedAndAnswered) {
    ScriptedAlert alert;
    alert.answerNext("Caution", AlertAnswer::alternateButton);
    alert.ask({"Caution", "Info", "Stop", "Cancel"});
    alert.tell({"Told", "", "OK"});
    const auto shown = alert.shown();
    ASSERT_EQ(shown.size(), 2U);
    EXPECT_EQ(shown[0].request.messageKey, "Caution");
    EXPECT_EQ(shown[0].request.informativeKey, "Info");
    EXPECT_EQ(shown[0].answer, AlertAnswer::alternateButton);
    EXPECT_EQ(shown[1].request.messageKey, "Told");
}

TEST(ScriptedAlert, callsItsListenerWithEachAlert_whichMayScriptTheNext) {
    ScriptedAlert alert;
    std::vector<std::string> heard;
    alert.setListener([&](const ScriptedAlert::Shown& shown) {
        heard.push_back(shown.request.messageKey);
        alert.answerNext("Next", AlertAnswer::otherButton);
    });
    alert.ask({"First", "", "OK"});
    EXPECT_EQ(alert.ask({"Next", "", "OK"}), AlertAnswer::otherButton);
    EXPECT_EQ(heard, (std::vector<std::string>{"First", "Next"}));
}

TEST(ScriptedAlert, isToldFromAnotherThread_whileItIsScripted) {
    ScriptedAlert alert;
    std::thread teller([&alert] {
        for (int number = 0; number < 1000; ++number)
            alert.tell({"Told", "", "OK"});
    });
    for (int number = 0; number < 1000; ++number)
        alert.answerNext("Asked", AlertAnswer::otherButton);
    teller.join();
    EXPECT_EQ(alert.shown().size(), 1000U);
    EXPECT_EQ(alert.ask({"Asked", "", "OK"}), AlertAnswer::otherButton);
}
