// The program velmoratide-rehearse, run by a test into a folder of its own.
#pragma once
#include "dutylog/VmDutyLog.h"
#include "storage/PosixVolume.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "support/TemporaryFolder.h"

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <QJsonDocument>
#include <QJsonObject>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <vector>

class RehearsedFolder {
public:
    /// One input that counts at 8000 Hz, one output; always mode at the full rate, mono. `launches` as JSON.
    static std::string scenario(const std::string& launches, const std::string& settings = "",
                                const std::string& others = "",
                                const std::string& signal = R"({"at": 0, "kind": "counter"})") {
        return R"({"timeZone": "Europe/Berlin", "hardware": [
            {"name": "In", "uid": "in", "direction": "input", "channels": 2, "rates": [8000],
             "dataSources": ["Line In"], "signal": [)" +
               signal + R"(]},
            {"name": "Out", "uid": "out", "direction": "output", "channels": 2, "rates": [8000]}],
            "settings": {"SamplingRateNumber": 2)" +
               settings + "}," + others + "\"launches\": [" + launches + "]}";
    }
    /// A launch at 09:00 of an ordinary day.
    static std::string launch(const std::string& events, const std::string& start = "2026-03-02 09:00:00") {
        return R"({"start": ")" + start + R"(", "events": [)" + events + "]}";
    }
    static std::string press(double at, const std::string& button, bool on) {
        std::ostringstream text;
        text << R"({"at": )" << at << R"(, "do": "press", "button": ")" << button << R"(", "on": )"
             << (on ? "true" : "false") << "}";
        return text.str();
    }

    explicit RehearsedFolder(std::string name = "out") : m_name(std::move(name)) {}

    /// Plays `json`; returns the exit status.
    int play(const std::string& json, const std::string& environment = "") {
        std::ofstream(path("scenario.json")) << json;
        return run("'" + path("scenario.json") + "' --out '" + folder() + "'", environment);
    }
    int run(const std::string& arguments, const std::string& environment = "") {
        const std::string command = environment + " timeout 100 " VELMORATIDE_REHEARSE " " + arguments + " >'" +
                                    path("stdout") + "' 2>'" + path("stderr") + "'";
        const int status = std::system(command.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::string path(const std::string& name) const { return m_place.path() + "/" + name; }
    std::string folder() const { return path(m_name); }
    static std::vector<std::string> linesOf(const std::string& file) {
        std::ifstream stream(file);
        std::vector<std::string> lines;
        for (std::string line; std::getline(stream, line);)
            lines.push_back(line);
        return lines;
    }
    static std::string contentsOf(const std::string& file) {
        std::ifstream stream(file, std::ios::binary);
        std::ostringstream text;
        text << stream.rdbuf();
        return text.str();
    }
    std::vector<std::string> errors() const { return linesOf(path("stderr")); }
    std::vector<std::string> output() const { return linesOf(path("stdout")); }
    /// A number of the last line of standard output; -1 if there is none.
    double total(const char* name) const {
        const auto lines = output();
        if (lines.empty())
            return -1.0;
        const auto totals = QJsonDocument::fromJson(QByteArray::fromStdString(lines.back())).object();
        return totals.value(QLatin1String(name)).toDouble(-1.0);
    }
    std::vector<std::string> lines(const std::string& file) const { return linesOf(folder() + "/" + file); }
    /// The objects of a file of JSON lines; with `what`, those whose field "what" says so.
    std::vector<QJsonObject> objects(const std::string& file, const char* what = nullptr) const {
        std::vector<QJsonObject> all;
        for (const std::string& line : lines(file)) {
            const auto document = QJsonDocument::fromJson(QByteArray::fromStdString(line));
            EXPECT_TRUE(document.isObject()) << line;
            const QJsonObject object = document.object();
            if (what == nullptr || object.value(QLatin1String("what")).toString() == QLatin1String(what))
                all.push_back(object);
        }
        return all;
    }
    /// "09:00:05.050 1" for each line of states.jsonl about `what`.
    std::vector<std::string> states(const char* what) const {
        std::vector<std::string> all;
        for (const QJsonObject& state : objects("states.jsonl", what))
            all.push_back(state["at"].toString().mid(11).toStdString() + " " +
                          state["value"].toVariant().toString().toStdString());
        return all;
    }
    /// Names of what was logged as an event, in order.
    std::vector<std::string> events() const {
        std::vector<std::string> all;
        for (const QJsonObject& event : objects("notifications.jsonl"))
            if (event["name"].toString() == QLatin1String("VmLogEventNotification"))
                all.push_back(event["object"].toString().toStdString());
        return all;
    }
    /// All files of a folder but the log book and the pictures.
    std::vector<std::string> recordings(const std::string& recordFolder = "record") const {
        std::vector<std::string> names;
        for (const VolumeEntry& entry : PosixVolume().list(folder() + "/" + recordFolder))
            if (!VmDutyLog::isLogFile(entry.name) && !SoundFileNames::isImageFile(entry.name))
                names.push_back(entry.name);
        return names;
    }
    std::vector<std::int16_t> samples(const std::string& name) const {
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, folder() + "/record/" + name);
        EXPECT_EQ(opened.error, SoundFileError::none) << name;
        if (opened.file == nullptr)
            return {};
        std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        opened.file->readSamples(0, all);
        return all;
    }

private:
    TemporaryFolder m_place;
    const std::string m_name;
};
