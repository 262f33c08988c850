// The built program's window, used as a person uses it.
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "support/Sanitizer.h"
#include "system/PrivateDisplay.h"
#include "system/PrivatePulseServer.h"
#include "system/RunningProgram.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <thread>

namespace {
using Point = PrivateDisplay::Point;

constexpr int left = 40; // where the settings put the window
constexpr int top = 30;

/// A place in the window, in pixels from its corner.
Point in(int x, int y) {
    return {left + x, top + y};
}

void pauseFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

/// A person waits until something is to be seen.
bool comes(const std::function<bool()>& what, double seconds = 20.0) {
    for (double waited = 0.0; waited < patience(seconds); waited += 0.1) {
        if (what())
            return true;
        pauseFor(0.1);
    }
    return false;
}

std::vector<std::string> filesIn(const std::string& folder, const std::string& ending) {
    std::vector<std::string> found;
    std::error_code missing;
    for (const auto& entry : std::filesystem::directory_iterator(folder, missing))
        if (const std::string name = entry.path().filename().string(); name.ends_with(ending))
            found.push_back(name);
    return found;
}

std::int64_t bytesOf(const std::string& path) {
    PosixVolume volume;
    const auto opened = SoundFile::openForReading(volume, path);
    EXPECT_EQ(opened.error, SoundFileError::none) << path;
    return opened.file == nullptr ? 0 : opened.file->byteCount();
}

/// Writes words of a hum and the silence between them, 22050 Hz, 16 bit, mono, without a header.
void speakInto(const std::string& path, int seconds) {
    constexpr int rate = 22050;
    std::ofstream file(path, std::ios::binary);
    for (int frame = 0; frame < seconds * rate; ++frame) {
        const double time = static_cast<double>(frame) / rate;
        const double loudness =
            12000.0 * std::max(0.0, std::sin(time * 5.0)) * (0.4 + 0.6 * std::abs(std::sin(time)));
        const auto sample = static_cast<std::int16_t>(loudness * std::sin(time * 1400.0));
        file.write(reinterpret_cast<const char*>(&sample), sizeof sample);
    }
}

class Window : public testing::Test {
protected:
    void SetUp() override {
        for (const std::string& why : {PrivateDisplay::whyNot(), PrivatePulseServer::whyNot()})
            if (!why.empty())
                GTEST_SKIP() << why;
        std::filesystem::create_directories(home() + "/record");
        write({{"MainWindow", "40 30"}, {"DirectoryPath", QString::fromStdString(recordFolder())}});
        server = std::make_unique<PrivatePulseServer>();
        display = std::make_unique<PrivateDisplay>();
    }

    std::string home() const { return folder.path(); }
    std::string recordFolder() const { return home() + "/record"; }
    std::string settingsPath() const { return home() + "/settings.json"; }

    void write(const QJsonObject& settings) const {
        std::ofstream(settingsPath()) << QJsonDocument(settings).toJson().toStdString();
    }
    QJsonObject settings() const {
        std::ifstream file(settingsPath());
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        return QJsonDocument::fromJson(QByteArray::fromStdString(text)).object();
    }

    void start() {
        ChildProcess::Environment environment = server->environment();
        environment.merge(display->environment());
        environment["HOME"] = home();
        environment["LC_ALL"] = "C.UTF-8";
        program = std::make_unique<RunningProgram>(
            std::vector<std::string>{"--settings", settingsPath(), "--folder", recordFolder()}, environment);
        ASSERT_TRUE(comes([this] { return hasSize(352, 262); })) << display->geometry("Velmoratide");
    }

    bool hasSize(int width, int height) const {
        return display->geometry("^Velmoratide$") ==
               "40 30 " + std::to_string(width) + " " + std::to_string(height);
    }
    /// What the sound server plays for the program.
    bool isHeard() const {
        const std::string output = home() + "/sink-inputs";
        ChildProcess({"pactl", "list", "sink-inputs"}, server->environment(), output).wait();
        std::ifstream file(output);
        const std::string text{std::istreambuf_iterator<char>(file), {}};
        return text.find("application.name = \"Velmoratide\"") != std::string::npos;
    }

    void record();
    void play();
    void exportRange();
    void makeTimetableEntry();
    void changePreference();

    TemporaryFolder folder;
    std::unique_ptr<PrivatePulseServer> server;
    std::unique_ptr<PrivateDisplay> display;
    std::unique_ptr<RunningProgram> program;
    std::string recording; // full path
};

void Window::record() {
    display->click(in(52, 200));
    ASSERT_TRUE(comes([this] { return !filesIn(recordFolder(), ".aif").empty(); })) << "nothing is recorded";
    pauseFor(4.0);
    display->keepPicture("2-recording");
    // Nobody ends a duty by closing its window.
    display->press("ctrl+q");
    ASSERT_TRUE(comes([this] { return display->windows(".") > 1; })) << "no word on why the window stays";
    display->keepPicture("3-refusal");
    display->press("Return");
    ASSERT_TRUE(comes([this] { return display->windows(".") == 1; }));
    EXPECT_TRUE(program->process().isRunning());
    display->click(in(52, 200));
    const auto finished = [this] { // while it grows, its name ends as it begins
        for (const std::string& name : filesIn(recordFolder(), ".aif"))
            if (const auto mark = name.find('~');
                mark > 6 && mark != std::string::npos && name.substr(mark - 6, 6) != name.substr(mark + 1, 6))
                recording = recordFolder() + "/" + name;
        return !recording.empty();
    };
    ASSERT_TRUE(comes(finished)) << "the recording gets no name";
    EXPECT_GT(bytesOf(recording), 3 * 22050 * 2);
    display->keepPicture("4-stopped");
}

void Window::play() {
    display->click(in(101, 16));
    ASSERT_TRUE(comes([this] { return hasSize(510, 318); }));
    pauseFor(1.0); // the list is read
    display->click(in(200, 67));
    pauseFor(2.0); // the waveform is drawn
    display->keepPicture("5-found");
    EXPECT_FALSE(isHeard());
    display->click(in(102, 295));
    EXPECT_TRUE(comes([this] { return isHeard(); })) << "nothing is played";
    display->keepPicture("6-playing");
    display->click(in(102, 295));
    EXPECT_TRUE(comes([this] { return !isHeard(); })) << "playing does not stop";
}

void Window::exportRange() {
    display->drag(in(135, 190), in(375, 190));
    pauseFor(0.5);
    display->keepPicture("7-range");
    display->click(in(443, 295));
    ASSERT_TRUE(comes([this] { return display->windows(".") > 1; })) << "no export panel";
    pauseFor(1.0);
    display->keepPicture("8-export");
    const std::string path = home() + "/piece.aif";
    display->press("ctrl+a");
    display->type(path);
    display->press("Return");
    ASSERT_TRUE(comes([this] { return display->windows(".") == 1; })) << "the export panel stays";
    ASSERT_TRUE(comes([&path] { return std::filesystem::exists(path); })) << "nothing was exported";
    // The range was half as long as the picture.
    EXPECT_NEAR(static_cast<double>(bytesOf(path)), static_cast<double>(bytesOf(recording)) / 2.0,
                static_cast<double>(bytesOf(recording)) / 8.0);
    display->keepPicture("9-exported");
}

void Window::makeTimetableEntry() {
    display->click(in(400, 16)); // no window manager gives the keys back to the window
    display->press("ctrl+3");
    ASSERT_TRUE(comes([this] { return hasSize(706, 318); }));
    display->click(in(41, 294));
    display->click(in(664, 294));
    ASSERT_TRUE(comes([this] { return !hasSize(706, 318); })) << "no drawer";
    pauseFor(1.0);
    display->doubleClick(in(860, 44));
    display->press("ctrl+a");
    display->type("Night watch");
    display->press("Tab");
    pauseFor(0.5);
    display->keepPicture("10-timetable");
}

void Window::changePreference() {
    display->click(in(500, 16));
    display->press("ctrl+1");
    ASSERT_TRUE(comes([this] { return hasSize(352, 262); }));
    display->press("ctrl+comma");
    ASSERT_TRUE(comes([this] { return !hasSize(352, 262); })) << "no preferences";
    pauseFor(1.0);
    display->doubleClick(in(590, 211));
    display->press("ctrl+a");
    display->type("7");
    display->press("Tab");
    pauseFor(0.5);
    display->keepPicture("11-preferences");
    display->click(in(673, 459));
    EXPECT_TRUE(comes([this] { return hasSize(352, 262); })) << "the preferences stay open";
    display->keepPicture("12-applied");
}
} // namespace

TEST_F(Window, isUsedThroughAWholeDuty) {
    speakInto(home() + "/voice.raw", 120);
    ChildProcess voice({"paplay", "--raw", "--rate=22050", "--channels=1", "--format=s16le", "--device=duty",
                        home() + "/voice.raw"},
                       server->environment());
    start();
    display->keepPicture("1-started");
    record();
    play();
    exportRange();
    makeTimetableEntry();
    changePreference();
    display->press("ctrl+q");
    EXPECT_EQ(program->wait(), 0);
    const QJsonObject stored = settings();
    EXPECT_EQ(stored["MainWindow"].toString(), "40 30");
    EXPECT_EQ(stored["AutoStopDelayTime"].toDouble(), 7.0);
    ASSERT_EQ(stored["TimerList"].toArray().size(), 2); // the one of a fresh list, and the new one
    EXPECT_TRUE(QJsonDocument(stored["TimerList"].toArray()[1].toArray()).toJson().contains("Night watch"));
    EXPECT_EQ(filesIn(recordFolder(), ".aif").size(), 1U);
    EXPECT_TRUE(std::filesystem::exists(recording));
}

TEST_F(Window, finishesTheFile_whenASignalEndsTheSession) {
    start();
    display->click(in(52, 200));
    ASSERT_TRUE(comes([this] { return !filesIn(recordFolder(), ".aif").empty(); })) << "nothing is recorded";
    pauseFor(3.0);
    display->press("ctrl+q"); // a question that is open must not hold the end up
    ASSERT_TRUE(comes([this] { return display->windows(".") > 1; }));
    program->process().signal(SIGHUP);
    EXPECT_EQ(program->wait(), 0);
    const std::vector<std::string> files = filesIn(recordFolder(), ".aif");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_GT(bytesOf(recordFolder() + "/" + files[0]), 2 * 22050 * 2);
    EXPECT_TRUE(settings()["RecordSwitch"].toBool()) << "the next session does not go on";
}
