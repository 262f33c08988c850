// A launched application with two recordings, one of them selected on the play tab.
#pragma once
#include "library/RecordedFiles.h"
#include "library/VmPlayer.h"
#include "library/VmPlayList.h"
#include "library/VmWaveView.h"
#include "support/DeskOfATest.h"

inline constexpr char earlyName[] = "_Velmoratide_20071023_235950~000010.aif";
inline constexpr char name[] = "_Velmoratide_20071024_093000~094000.aif"; // ten minutes
using Names = std::vector<std::string>;

/// The work on the selected recording, in a launched application on virtual time.
class SelectedRecordingTest : public testing::Test {
protected:
    SelectedRecordingTest() {
        desk.desk.texts = Texts::forLanguage("en");
        desk.desk.launch();
        table = &desk.desk.controler->recordTable();
        player = &desk.desk.controler->player();
        list = &player->dataSource();
        work = &player->files();
        player->waveView().setBounds(QSize(600, 80));
        files.record(earlyName, 100);
        files.record(name, 3000, 22050.0, 2);
        desk.desk.controler->mainTab().choose(1);
        run();
        select(name);
        run();
        desk.events.clear();
    }
    VmPlayer& controls() const { return *player; }
    /// 20 bytes of sound for a point.
    void mark(unsigned location, unsigned length) const {
        player->waveView().setSelectedRange({location, length});
    }
    void play() {
        player->playButton().press(true);
        run();
        ASSERT_TRUE(player->playbacking());
    }
    void run(double seconds = 0.05) { desk.desk.runFor(seconds); }
    /// Starts a recording, and selects it after `seconds`; its row.
    int recordFor(double seconds) {
        desk.recorder().recordButton().press(true);
        run(seconds);
        const auto row = std::ranges::find_if(list->playList(), &RecordRow::inProgress);
        EXPECT_NE(row, list->playList().end());
        const int number = static_cast<int>(row - list->playList().begin());
        select(list->fileNameAtRow(number));
        return number;
    }
    void select(const std::string& which) { table->chooseRow(list->rowOfFileName(which)); }
    /// The keys of the last alert, or nothing.
    std::string alert() const {
        const auto shown = desk.desk.alert.shown();
        if (shown.empty())
            return {};
        const AlertRequest& request = shown.back().request;
        return request.messageKey + " " + request.informativeKey + " " + request.defaultKey +
               (request.alternateKey.empty() ? "" : " " + request.alternateKey);
    }
    std::string enabled() {
        std::string text;
        for (const auto& [letter, button] : {std::pair{'L', &controls().lockButton()},
                                             {'N', &controls().noteButton()},
                                             {'D', &controls().deleteButton()},
                                             {'E', &controls().copyButton()}})
            text += button->enabled() ? letter : '-';
        return text;
    }
    /// Presses the export button and names `path`.
    void exportTo(const std::string& path, std::vector<bool> options = {false, false}) {
        desk.desk.savePanel.answerNext(path, std::move(options));
        controls().copyButton().press(true);
        run();
    }
    void note(const std::string& text) {
        controls().noteButton().press(true);
        table->endEditing(text);
        run();
    }
    std::string out(const std::string& path) const { return outside / path; }

    Desk desk{{{"SamplingRateNumber", 2}, {"ChannelsNumber", 2}, {"VerifyDelete", true}}};
    RecordedFiles files{desk.desk.recordFolder()};
    RecordedFiles outside{desk.folder.path() + "/out"};
    VmTableView* table = nullptr;
    VmPlayer* player = nullptr;
    VmPlayList* list = nullptr;
    VmPlayerFiles* work = nullptr;
};
