// The whole application at a simulated desk, in a folder of its own.
#pragma once
#include "app/VmControler.h"
#include "audio/VmDevice.h"
#include "dutylog/VmDutyLog.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RehearsalDesk.h"
#include "storage/SoundFile.h"
#include "storage/VmMechanic.h"
#include "support/TemporaryFolder.h"

#include <algorithm>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <vector>

inline SimulatedDevice countingInput() {
    SimulatedDevice device;
    device.name = "Desk input";
    device.uid = "desk-in";
    device.dataSources = {"Internal microphone", "Line In"};
    device.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::counter}};
    return device;
}

inline SimulatedDevice deskOutput() {
    SimulatedDevice device;
    device.name = "Desk output";
    device.uid = "desk-out";
    device.direction = SimulatedDevice::Direction::output;
    return device;
}

inline const std::vector<RehearsalDesk::Setting> fullRateStereo = {{"SamplingRateNumber", 2},
                                                                   {"ChannelsNumber", 2}};
inline const CalendarDate morning{.year = 2007, .month = 10, .day = 24, .hour = 9, .minute = 30};

/// A desk in a folder of its own.
class Desk {
public:
    explicit Desk(const std::vector<RehearsalDesk::Setting>& settings = fullRateStereo,
                  std::vector<SimulatedDevice> devices = {countingInput(), deskOutput()},
                  const CalendarDate& start = morning)
        : desk(folder.path(), QTimeZone("Asia/Tokyo"), start, std::move(devices), settings) {
        watch = desk.notifications.observe({}, [this](const Notification& notification) {
            const auto message = notification.userInfo.find(std::string(ErrorMessageString));
            events.push_back(notification.object +
                             (message == notification.userInfo.end() ? "" : ": " + message->second));
        });
    }
    VmRecorder& recorder() { return desk.controler->recorder(); }
    /// All files of the record folder but the log book and the waveform pictures.
    std::vector<std::string> recordings() const {
        std::vector<std::string> names;
        for (const VolumeEntry& entry : PosixVolume().list(desk.recordFolder()))
            if (!VmDutyLog::isLogFile(entry.name) && !VmMechanic::isImageFile(entry.name))
                names.push_back(entry.name);
        return names;
    }
    std::vector<std::int16_t> samples(const std::string& name) const {
        PosixVolume volume;
        const auto opened = SoundFile::openForReading(volume, desk.recordFolder() + "/" + name);
        EXPECT_EQ(opened.error, SoundFileError::none) << name;
        std::vector<std::int16_t> all(static_cast<std::size_t>(opened.file->byteCount()) / 2);
        opened.file->readSamples(0, all);
        return all;
    }
    std::string information(const std::string& name) const { return textAt(256, name); }
    std::string note(const std::string& name) const { return textAt(291, name); }
    bool logged(const std::string& line) const {
        const auto lines = desk.log.lines();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }
    bool happened(const std::string& event) const {
        return std::any_of(events.begin(), events.end(), [&event](const std::string& each) {
            return each == event || each.starts_with(event + ": ");
        });
    }

private:
    std::string textAt(std::int64_t offset, const std::string& name) const {
        std::ifstream file(desk.recordFolder() + "/" + name, std::ios::binary);
        file.seekg(offset);
        std::string text;
        std::getline(file, text, '\0');
        return text;
    }

public:
    TemporaryFolder folder;
    RehearsalDesk desk;
    std::vector<std::string> events;
    NotificationCenter::Observation watch;
};
