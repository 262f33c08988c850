// The session, or the display, of the built program's window ends while it records.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "system/PrivateDisplay.h"
#include "system/RunningProgram.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <thread>

namespace {
using Names = std::vector<std::string>;

void pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

bool comes(const std::function<bool()>& what, double seconds = 20.0) {
    for (double waited = 0.0; waited < seconds; waited += 0.1) {
        if (what())
            return true;
        pauseFor(0.1);
    }
    return false;
}

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The recordings in `folder`, in order: finished ones, or also the one in progress, which is a link to a work
/// file.
Names recordings(const std::string& folder, bool finished) {
    Names found;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
        if (entry.path().filename().string().ends_with(".aif") &&
            (!finished || entry.hard_link_count(missing) == 1))
            found.push_back(entry.path().string());
    std::sort(found.begin(), found.end());
    return found;
}

double secondsOf(const std::string& path) {
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    return opened.file == nullptr ? 0.0 : static_cast<double>(opened.file->frames()) / opened.file->rate();
}

/// A demonstration in a window of its own.
class WindowEnd : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = PrivateDisplay::whyNot(); !why.empty())
            GTEST_SKIP() << why;
        display = std::make_unique<PrivateDisplay>();
    }
    /// A point in the first window with that title: a part of its width, and pixels from its upper edge, or
    /// from its lower one if they are negative. Some windows are as large as a font wants them.
    PrivateDisplay::Point in(const std::string& title, double across, int down) const {
        int left = 0;
        int top = 0;
        int width = 0;
        int height = 0;
        EXPECT_EQ(std::sscanf(display->geometry(title).c_str(), "%d %d %d %d", &left, &top, &width, &height), 4)
            << title;
        return {left + static_cast<int>(across * width), down < 0 ? top + height + down : top + down};
    }
    std::unique_ptr<PrivateDisplay> display;
};

/// The program is the client of a real session manager, which starts it.
class SessionManagerEnd : public WindowEnd {
protected:
    void SetUp() override {
        for (const char* tool : {"xsm", "iceauth"})
            if (!ChildProcess::isInstalled(tool))
                GTEST_SKIP() << tool << " is not installed";
        WindowEnd::SetUp();
        if (IsSkipped())
            return;
        std::filesystem::create_directory(home() + "/runtime");
        std::filesystem::permissions(home() + "/runtime", std::filesystem::perms::owner_all);
        std::ofstream(home() + "/settings.json") << R"({"MainWindow": "600 300"})";
        std::ofstream(home() + "/.xsmstartup")
            << VELMORATIDE_PROGRAM " --demo --settings " << home() << "/settings.json --folder " << folder()
            << " --set AutoRecordStartup=yes\n";
    }
    std::string home() const { return m_folder.path(); }
    std::string folder() const { return home() + "/record"; }

    ChildProcess::Environment environment() const {
        ChildProcess::Environment all = display->environment();
        all.merge(ChildProcess::Environment{{"HOME", home()},
                                            {"SM_SAVE_DIR", home()},
                                            {"XDG_RUNTIME_DIR", home() + "/runtime"},
                                            {"LC_ALL", "C.UTF-8"},
                                            {"DBUS_SYSTEM_BUS_ADDRESS", "unix:path=/no-bus"}});
        return all;
    }
    void logIn() {
        manager = std::make_unique<ChildProcess>(Names{"xsm"}, environment(), home() + "/manager.log");
        ASSERT_TRUE(comes([this] { return display->windows("^Velmoratide$") == 1; })) << log();
    }
    std::string log() const { return textOf(home() + "/manager.log"); }

    /// Chooses "With Checkpoint" of the menu "Shutdown", and answers what is asked.
    void logOut() {
        for (int attempt = 0; attempt < 5 && display->windows("^Shutdown$") == 0; ++attempt) {
            const PrivateDisplay::Point menu = in("^xsm", 0.75, -14);
            display->drag(menu, {menu.x + 5, menu.y + 22});
            comes([this] { return display->windows("^Shutdown$") == 1; }, 5.0);
        }
        ASSERT_EQ(display->windows("^Shutdown$"), 1) << "no question";
        for (int attempt = 0; attempt < 5 && display->windows("^Shutdown$") == 1; ++attempt) {
            pauseFor(0.5);
            display->click(in("^Shutdown$", 0.12, -14));
            comes([this] { return display->windows("^Shutdown$") == 0; }, 5.0);
        }
    }
    /// Stores the session under the name "duty", and goes on.
    void storeSession() {
        display->click(in("^xsm", 0.25, -14));
        ASSERT_TRUE(comes([this] { return display->windows("^Checkpoint$") == 1; })) << "no question";
        pauseFor(0.5);
        for (int attempt = 0; attempt < 5 && display->windows("^Checkpoint$") == 1; ++attempt) {
            display->click(in("^Checkpoint$", 0.55, 12));
            display->press("ctrl+a"); // to the begin
            display->press("ctrl+k"); // nothing from there on
            display->type("duty");
            pauseFor(0.3);
            display->click(in("^Checkpoint$", 0.12, -14));
            comes([this] { return display->windows("^Checkpoint$") == 0; }, 5.0);
        }
    }
    /// How the stored session is to start the program.
    Names restartCommand() const {
        std::ifstream file(home() + "/.XSM-duty");
        Names command;
        bool isIn = false;
        for (std::string line; std::getline(file, line);) {
            if (isIn && line.starts_with('\t'))
                command.push_back(line.substr(1));
            isIn = line == "RestartCommand" || (isIn && (command.empty() || line.starts_with('\t')));
        }
        return command;
    }

    std::unique_ptr<ChildProcess> manager;

private:
    TemporaryFolder m_folder;
};
} // namespace

TEST_F(WindowEnd, finishesTheFile_whenTheDisplayDies) {
    ChildProcess::Environment environment = display->environment();
    // It ends at once, beside threads that nobody joins any more.
    if (const char* const options = std::getenv("TSAN_OPTIONS"))
        environment["TSAN_OPTIONS"] = std::string(options) + ":report_thread_leaks=0";
    RunningProgram program({"--demo", "--set", "RecordSwitch=yes"}, environment);
    ASSERT_TRUE(comes([&] { return !recordings(program.recordFolder(), false).empty(); }));
    pauseFor(3.0);
    EXPECT_TRUE(recordings(program.recordFolder(), true).empty());
    display->end();
    EXPECT_EQ(program.wait(), 1);
    const Names files = recordings(program.recordFolder(), true);
    ASSERT_EQ(files.size(), 1U);
    EXPECT_GT(secondsOf(files[0]), 2.5) << "what was not on the disk yet is lost";
    EXPECT_FALSE(std::filesystem::exists(program.recordFolder() + "/.VelmoratideTempFile"));
    EXPECT_NE(textOf(program.recordFolder() + "/VelmoratideLog.txt").find("DUTY FINISH"), std::string::npos);
    const Names errors = program.errorLines();
    EXPECT_TRUE(std::ranges::any_of(errors, [](const std::string& line) {
        return line.ends_with("the display is gone; the duty ends here.");
    }));
}

TEST_F(WindowEnd, isHiddenUntilTheCompressionIsDone_whenAPersonQuitsMeanwhile) {
    const TemporaryFolder place;
    const std::string kept = place.path() + "/_Velmoratide_20260301_093000~101500.aif";
    std::ofstream(kept, std::ios::binary) << std::string(100000, 'x');
    const std::string compressor = place.path() + "/compressor";
    std::ofstream(compressor) << "#!/bin/sh\nwhile [ ! -e " << place.path()
                              << "/go ]; do sleep 0.1; done\nexec gzip -f $2\n";
    std::filesystem::permissions(compressor, std::filesystem::perms::owner_all);
    std::ofstream(place.path() + "/settings.json")
        << R"({"MainWindow": "900 500", "KeepOperation": true, "KeepFileKeepFolder": ")" << place.path()
        << R"(", "CommandPathString": ")" << compressor << R"("})";
    RunningProgram program({"--demo", "--settings", place.path() + "/settings.json"}, display->environment());
    ASSERT_TRUE(comes([&] { return display->windows("^Velmoratide$") == 1; }));
    pauseFor(1.0);
    display->click(in("^Velmoratide$", 0.5, 20));
    display->press("ctrl+l");
    ASSERT_TRUE(comes([&] { return display->windows("^Log Book$") == 1; }));
    display->click(in("^Velmoratide$", 0.5, 20)); // the keys are the main window's again
    display->press("ctrl+q");
    ASSERT_TRUE(comes([&] { return display->windows("^Velmoratide$") == 2; })) << "nobody is asked";
    pauseFor(0.5);
    display->press("Return");
    EXPECT_TRUE(comes([&] { return display->windows(".") == 0; })) << "it is not hidden";
    pauseFor(1.0);
    EXPECT_TRUE(program.process().isRunning()) << "it does not wait";
    std::ofstream(place.path() + "/go") << "go";
    EXPECT_EQ(program.wait(), 0);
    EXPECT_TRUE(std::filesystem::exists(kept + ".gz"));
    const Names errors = program.errorLines();
    for (const char* word :
         {"standing by complete keeping.", "---dataKeepCompletedHandler---", "---applicationWillTerminate---"})
        EXPECT_TRUE(std::ranges::any_of(errors, [&](const std::string& line) { return line.ends_with(word); }))
            << word;
}

TEST_F(WindowEnd, tellsAPersonThatAnotherRecorderRuns_andEnds) {
    RunningProgram first({"--demo"}, display->environment());
    ASSERT_TRUE(comes([&] { return display->windows("^Velmoratide$") == 1; }));
    RunningProgram second({"--demo", "--settings", first.settingsPath()}, display->environment());
    ASSERT_TRUE(comes([&] { return display->windows("^Velmoratide$") == 2; }))
        << "nobody without a terminal learns why";
    EXPECT_TRUE(second.process().isRunning());
    pauseFor(0.5);
    display->press("Return");
    EXPECT_EQ(second.wait(), 1);
    EXPECT_NE(second.errorLines().back().find("another recorder"), std::string::npos);
    RunningProgram third({"--demo", "--settings", first.settingsPath()}, display->environment());
    ASSERT_TRUE(comes([&] { return display->windows("^Velmoratide$") == 2; }));
    third.process().signal(SIGTERM);
    EXPECT_EQ(third.wait(), 1) << "the question holds up who ends the program";
    EXPECT_TRUE(first.process().isRunning());
}

TEST_F(SessionManagerEnd, storesTheSessionAndGoesOn_finishesTheFileWhenItEnds_andIsStartedInTheNext) {
    logIn();
    ASSERT_TRUE(comes([this] { return !recordings(folder(), false).empty(); })) << log();
    pauseFor(3.0);
    storeSession();
    ASSERT_TRUE(comes([this] { return recordings(folder(), true).size() == 1; })) << "nothing is stored";
    EXPECT_TRUE(comes([this] { return recordings(folder(), false).size() == 2; })) << "the duty has ended";
    EXPECT_GT(secondsOf(recordings(folder(), true)[0]), 2.5);
    pauseFor(2.0);
    EXPECT_EQ(display->windows("^Velmoratide$"), 1);
    logOut();
    manager->wait();
    // The manager has waited for this one; what came after it is finished while the program ends.
    ASSERT_GE(recordings(folder(), true).size(), 2U) << log();
    EXPECT_GT(secondsOf(recordings(folder(), true)[1]), 1.5);
    EXPECT_TRUE(comes([this] { return log().find("---applicationWillTerminate---") != std::string::npos; }));
    EXPECT_TRUE(comes([this] { return recordings(folder(), true) == recordings(folder(), false); }));
    EXPECT_FALSE(std::filesystem::exists(folder() + "/.VelmoratideTempFile"));
    EXPECT_NE(textOf(home() + "/settings.json").find(R"("RecordSwitch": true)"), std::string::npos);

    // Not through the manager, which takes commands of a modest length only.
    const Names command = restartCommand();
    ASSERT_GT(command.size(), 2U) << textOf(home() + "/.XSM-duty");
    EXPECT_EQ(command[command.size() - 2], "-session");
    const std::size_t finished = recordings(folder(), true).size();
    pauseFor(1.0); // files are named by the second
    const ChildProcess next(command, environment(), home() + "/next.log");
    EXPECT_TRUE(comes([&] { return recordings(folder(), false).size() == finished + 1; }))
        << "the next session does not go on: " << textOf(home() + "/next.log");
}
