#include "recorder/WorkFiles.h"

#include "base/Clock.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/Seams.h"
#include "base/SystemLog.h"
#include "base/UserDefaults.h"
#include "storage/Paths.h"
#include "storage/SoundFile.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <span>

namespace {
constexpr std::int64_t soundDataOffset = 4096;
constexpr std::size_t informationRoom = 4080 - 256; // up to the sound chunk

/// Of the sound in a file of `size` bytes, rounded to the nearest second.
std::int64_t wholeSeconds(std::int64_t size, double rate, int channels) {
    return static_cast<std::int64_t>(static_cast<double>(size - soundDataOffset) * 0.5 / rate / channels + 0.5);
}
} // namespace

WorkFiles::WorkFiles(const Seams& seams, VmMechanic& mechanic)
    : m_clock(seams.clock),
      m_volume(seams.volume),
      m_defaults(seams.defaults),
      m_log(seams.log),
      m_notifications(seams.notifications),
      m_mechanic(mechanic),
      m_progress(seams, mechanic),
      m_relay(seams, mechanic) {}

void WorkFiles::noteStart(Date start) {
    const std::string text = m_clock.format(start, "%Y%m%d_%H%M%S");
    m_defaults.set("WriteStartTempFile", text);
    m_defaults.synchronize();
    // Into the file as well: settings that could not be written would give it the start of another one.
    // With the offset from UTC, since an hour of local time may come twice.
    const std::string note = std::string(SoundFileNames::headerString) + text + "~" +
                             formatted("%+d", m_clock.calendarDate(start).utcOffset);
    const auto file = m_mechanic.openTempFile();
    if (file == nullptr ||
        file->writeAt(informationOffset, std::as_bytes(std::span(note.c_str(), note.size() + 1))) != 0)
        m_log.log("VmRecorder: the start of the recording cannot be noted in its file.");
}

std::string WorkFiles::informationText(Date start, Date stop, const Label& label,
                                       std::string_view option) const {
    std::string text = std::string(SoundFileNames::headerString) + m_clock.format(start, "%Y%m%d_%H%M%S~") +
                       m_clock.format(stop, "%H%M%S");
    if (!label.scheduleName.empty())
        return text + label.scheduleName;
    text += std::to_string(label.sampleRate);
    text += label.channels == 1 ? 'M' : 'S';
    text += label.sourceLetter;
    return text.append(option);
}

bool WorkFiles::writeInformation(const std::string& path, std::string text) {
    text.resize(std::min(text.size(), informationRoom - 1));
    const auto file = m_volume.openForUpdating(path);
    return file != nullptr &&
           file->writeAt(informationOffset, std::as_bytes(std::span(text.c_str(), text.size() + 1))) == 0 &&
           file->synchronize() == 0;
}

bool WorkFiles::hasLeftover() const {
    return m_volume.exists(m_mechanic.temporaryFilePath());
}

bool WorkFiles::cutSound(const std::string& path, std::int64_t soundBytes, int channels) {
    const auto file = m_volume.openForUpdating(path);
    return file != nullptr && file->size() >= soundDataOffset + soundBytes &&
           file->truncate(soundDataOffset + soundBytes) == 0 &&
           m_mechanic.setAIFFFileHeader(path, static_cast<unsigned>(channels));
}

bool WorkFiles::complete(const std::string& path, Unfinished& work) {
    if (work.cutTo && cutSound(path, *work.cutTo, work.channels))
        work.cutTo.reset();
    if (!work.information.empty() && writeInformation(path, work.information))
        work.information.clear();
    if (!work.otherName.empty() &&
        (!m_volume.isSameFile(work.otherName, path) || m_volume.remove(work.otherName) == 0))
        work.otherName.clear();
    return !work.cutTo && work.information.empty() && work.otherName.empty();
}

void WorkFiles::retryUnfinished() {
    for (auto each = m_unfinished.begin(); each != m_unfinished.end();) {
        const bool isDone = !m_volume.exists(each->first) || complete(each->first, each->second);
        each = isDone ? m_unfinished.erase(each) : std::next(each);
    }
}

bool WorkFiles::writeInformationWithPath(const std::string& path, Date startDate, Date stopDate,
                                         const Label& label, std::string_view option) {
    if (writeInformation(path, informationText(startDate, stopDate, label, option)))
        return true;
    const std::string message = "VmRecorder: record information write error.";
    m_log.log(message);
    m_notifications.postLogEvent("SomeErrorHappen", message);
    return false;
}

std::string WorkFiles::moveToFinalName(Date start, Date stop, const Label& label) {
    const std::string folder = m_mechanic.recordFolder();
    const std::string name = SoundFileNames::finalName(
        SoundFileNames::whichHeaderString(label.hidden), m_clock.format(start, "%Y%m%d_%H%M%S"),
        m_clock.format(stop, "%H%M%S"), SoundFileNames::soundExtension);
    int error = EEXIST;
    std::string path;
    while (error == EEXIST) { // again when somebody else took the name meanwhile
        path = folder + "/" + SoundFileNames::freeName(name, [&](const std::string& taken) {
                   return m_volume.exists(folder + "/" + taken);
               });
        error = m_volume.renameWithoutReplacing(m_mechanic.temporaryFilePath(), path);
    }
    if (error == 0) {
        if (m_volume.synchronizeFolder(folder) != 0)
            m_log.log("VmRecorder: record folder cannot be synchronized: " + folder);
        return path;
    }
    const std::string message = "VmRecorder: record file rename error.";
    m_log.log(message);
    m_notifications.postLogEvent("SomeErrorHappen", message);
    return {};
}

void WorkFiles::removeEmpty(const std::string& temporary) {
    const int error = m_volume.remove(temporary);
    const std::string message = error == 0 ? "VmRecorder: a recording without sound is removed."
                                           : "VmRecorder: a recording without sound cannot be removed.";
    m_log.log(message);
    m_notifications.postLogEvent(error == 0 ? "SomeReportHappen" : "SomeErrorHappen", message);
}

std::string WorkFiles::finish(Date start, Date stop, const Label& label, std::optional<std::int64_t> cutTo) {
    const std::string temporary = m_mechanic.temporaryFilePath();
    Unfinished work{cutTo, label.channels, {}, m_progress.path()};
    m_progress.deleteProgressSoundFile();
    m_progress.unlock(temporary);
    if (!m_volume.isSameFile(work.otherName, temporary))
        work.otherName.clear();
    // What a failed write left behind the last good block goes to the next recording.
    if (work.cutTo && cutSound(temporary, *work.cutTo, label.channels))
        work.cutTo.reset();
    if (m_volume.fileSize(temporary).value_or(soundDataOffset + 1) <= soundDataOffset) {
        removeEmpty(temporary);
        return {};
    }
    // Before the new name: a crash in between then costs nothing of it.
    if (!writeInformationWithPath(temporary, start, stop, label, ""))
        work.information = informationText(start, stop, label, "");
    const std::string path = moveToFinalName(start, stop, label);
    if (!path.empty() && (work.cutTo || !work.information.empty() || !work.otherName.empty()))
        m_unfinished[path] = work;
    return path;
}

std::string WorkFiles::startNotedInTempFile() const {
    std::array<char, 64> bytes{};
    const auto file = m_volume.openForReading(m_mechanic.temporaryFilePath());
    if (file == nullptr || file->readAt(informationOffset, std::as_writable_bytes(std::span(bytes))) < 64)
        return {};
    const std::string_view text(bytes.data(), strnlen(bytes.data(), bytes.size()));
    const std::string_view header = SoundFileNames::headerString;
    return text.starts_with(header) ? std::string(text.substr(header.size())) : std::string();
}

bool WorkFiles::startOfTempFile(Date& start) const {
    return startFromText(startNotedInTempFile(), start) ||
           startFromText(m_defaults.stringForKey("WriteStartTempFile") + "~", start);
}

bool WorkFiles::startFromText(const std::string& text, Date& start) const {
    constexpr std::string_view shape = "dddddddd_dddddd~";
    if (text.size() < shape.size())
        return false;
    for (std::size_t i = 0; i < shape.size(); ++i)
        if (shape[i] == 'd' ? (text[i] < '0' || text[i] > '9') : text[i] != shape[i])
            return false;
    CalendarDate local;
    int offset = 0;
    const int fields = std::sscanf(text.c_str(), "%4d%2d%2d_%2d%2d%2d~%d", &local.year, &local.month,
                                   &local.day, &local.hour, &local.minute, &local.second, &offset);
    start = m_clock.dateFromLocal(local);
    // A date that is none carries over into another one.
    if (local.year < 1970 || m_clock.format(start, "%Y%m%d_%H%M%S~") != text.substr(0, shape.size()))
        return false;
    const bool hasOffset = fields == 7 && (text[shape.size()] == '+' || text[shape.size()] == '-');
    const double second = m_clock.calendarDate(start).utcOffset - offset;
    if (hasOffset && std::abs(second) <= 7200.0) // the later one of two equal times
        start = start.addingSeconds(second);
    return true;
}

void WorkFiles::putAside(const std::string& path, const std::string& what) {
    const std::string stem =
        m_mechanic.recordFolder() + "/VelmoratideUnreadable_" + m_clock.format(m_clock.now(), "%Y%m%d_%H%M%S");
    std::string aside = stem + ".data";
    for (int number = 2; m_volume.exists(aside); ++number)
        aside = stem + "-" + std::to_string(number) + ".data";
    const bool moved = m_volume.renameWithoutReplacing(path, aside) == 0;
    const std::string message =
        "VmRecorder: " + what + (moved ? ", it is kept as " + aside : std::string(", nor moved aside")) + ".";
    m_log.log(message);
    m_notifications.postLogEvent("SomeErrorHappen", message);
}

void WorkFiles::removeOtherNames() {
    m_progress.deleteProgressSoundFile();
    m_progress.unlock(m_mechanic.temporaryFilePath());
    // A crash between the renaming of the progress file and the note of it leaves a name that nobody knows.
    const std::string temporary = m_mechanic.temporaryFilePath();
    for (const VolumeEntry& entry : m_volume.list(m_mechanic.recordFolder())) {
        const std::string path = Paths::inFolder(m_mechanic.recordFolder(), entry.name);
        if (path == temporary || !SoundFileNames::isSoundFile(entry.name) ||
            !m_volume.isSameFile(path, temporary))
            continue;
        if (m_volume.remove(path) != 0)
            m_log.log("VmRecorder: progress sound file cannot be removed: " + path);
    }
}

void WorkFiles::discardTempFile() {
    const std::string temporary = m_mechanic.temporaryFilePath();
    if (m_volume.remove(temporary) == 0)
        return;
    // Without sound it is removed later.
    const auto file = m_volume.openForUpdating(temporary);
    if (file == nullptr || file->truncate(soundDataOffset) != 0)
        m_log.log("VmRecorder: a recording that could not begin cannot be removed.");
}

void WorkFiles::rescueRelayFile() {
    const std::string path = m_mechanic.relayFilePath();
    const auto size = m_volume.fileSize(path);
    if (!size)
        return;
    if (*size <= VmMechanic::freshRelaySize)
        m_mechanic.deleteRelayFile();
    else
        putAside(path, "sound between two recordings cannot be placed");
}

Date WorkFiles::leftoverEndDate() const {
    const auto size = m_volume.fileSize(m_mechanic.temporaryFilePath());
    Date start;
    if (!size || *size <= soundDataOffset || !startOfTempFile(start))
        return {};
    const auto opened = SoundFile::openForReading(m_volume, m_mechanic.temporaryFilePath());
    if (opened.file == nullptr)
        return {};
    const double rate = opened.file->rate();
    return start.addingSeconds(
        static_cast<double>(wholeSeconds(*size, rate, static_cast<int>(opened.file->channels()))));
}

bool WorkFiles::isOwnHeader(const std::string& path, std::int64_t size) const {
    if (size == 0)
        return true;
    std::array<char, 4> begin{};
    const auto file = m_volume.openForReading(path);
    return file != nullptr && file->readAt(0, std::as_writable_bytes(std::span(begin))) == 4 &&
           std::string_view(begin.data(), begin.size()) == "FORM";
}

std::string WorkFiles::rescueTempFile(const Label& label) {
    const std::string temporary = m_mechanic.temporaryFilePath();
    const auto size = m_volume.fileSize(temporary);
    if (!size)
        return {};
    removeOtherNames();
    if (*size <= soundDataOffset) {
        if (isOwnHeader(temporary, *size))
            removeEmpty(temporary);
        else
            putAside(temporary, "last recording file cannot be read");
        return {};
    }
    // The file knows its own form better than settings that may have changed since.
    int channels = label.channels;
    double rate = label.sampleRate;
    if (const auto file = m_mechanic.openAIFFFileWithPath(temporary); file != nullptr) {
        channels = static_cast<int>(m_mechanic.audioFormatInput().mChannelsPerFrame);
        rate = m_mechanic.audioFormatInput().mSampleRate;
    }
    if (!m_mechanic.setAIFFFileHeader(temporary, static_cast<unsigned>(channels))) {
        putAside(temporary, "last recording file cannot be read");
        return {};
    }
    const std::int64_t seconds = wholeSeconds(*size, rate, channels);
    Date start;
    if (!startOfTempFile(start))
        start = m_clock.now().addingSeconds(-static_cast<double>(seconds));
    const Date stop = start.addingSeconds(static_cast<double>(seconds));
    Label rescued = label;
    rescued.sampleRate = static_cast<int>(rate);
    rescued.channels = channels;
    rescued.scheduleName.clear();
    writeInformationWithPath(temporary, start, stop, rescued, "*");
    const std::string path = moveToFinalName(start, stop, rescued);
    if (path.empty())
        return {};
    m_lastCrashDate = stop;
    m_notifications.postLogEvent("SomeReportHappen", "VmRecorder: last recording file is rescued.");
    return path;
}
