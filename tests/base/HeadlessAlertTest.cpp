#include "base/HeadlessAlert.h"

#include "base/SystemLog.h"
#include "base/Texts.h"

#include <gtest/gtest.h>
#include <vector>

namespace {
class Lines final : public SystemLog {
public:
    void log(std::string_view line) override { all.emplace_back(line); }
    std::vector<std::string> all;
};

struct HeadlessAlertTest : testing::Test {
    Lines lines;
    Texts texts{std::map<std::string, std::string, std::less<>>{
        {"Caution", "Stop now?"}, {"Info", "Sound\nis lost."}, {"Stop", "Stop"}, {"Cancel", "No"}}};
    HeadlessAlert alert{lines, texts};
};
} // namespace

TEST_F(HeadlessAlertTest, answersTheDefault_whenThereIsNothingElse) {
    EXPECT_EQ(alert.ask({"Caution", "Info", "Stop"}), AlertAnswer::defaultButton);
}

TEST_F(HeadlessAlertTest, cancels_whereItCan) {
    EXPECT_EQ(alert.ask({"Caution", "Info", "Stop", "Cancel"}), AlertAnswer::alternateButton);
    EXPECT_EQ(alert.ask({"Caution", "Info", "Stop", "Later", "Cancel"}), AlertAnswer::otherButton);
    EXPECT_EQ(alert.ask({"Caution", "Info", "Later", "Cancel", "Stop"}), AlertAnswer::alternateButton);
}

TEST_F(HeadlessAlertTest, logsQuestionAndAnswerInOneLine) {
    alert.ask({"Caution", "Info", "Stop", "Cancel"});
    EXPECT_EQ(lines.all, std::vector<std::string>{"HeadlessAlert: Stop now? Sound is lost. -> No"});
}

TEST_F(HeadlessAlertTest, logsWhatItTells) {
    alert.tell({"Caution", "", "Stop"});
    EXPECT_EQ(lines.all, std::vector<std::string>{"HeadlessAlert: Stop now?"});
}
