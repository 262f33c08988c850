#include "recorder/RecordingMender.h"

#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/Seams.h"
#include "base/SystemLog.h"
#include "storage/AiffHeader.h"
#include "storage/BigEndian.h"
#include "storage/Paths.h"
#include "storage/RecordingName.h"
#include "storage/SoundFileNames.h"
#include "storage/VmMechanic.h"
#include "storage/Volume.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>

namespace {
constexpr std::size_t startLength = std::string_view("_Velmoratide_20071024_093000~").size();
/// Of start and end: where a person's note follows in the information.
constexpr std::size_t spanLength = startLength + std::string_view("101500").size();
static_assert(AiffHeader::recordInformationAt + spanLength == AiffHeader::noteAt);

/// Whether `information` is what a recording bears before it is finished: its start and an offset from UTC.
bool isInterim(const std::string& information) {
    return information.size() > startLength && information.starts_with(SoundFileNames::headerString) &&
           information[startLength - 1] == '~' &&
           (information[startLength] == '+' || information[startLength] == '-');
}

bool isRecording(const VolumeEntry& entry) {
    return !entry.isFolder && !entry.isLink && entry.name.starts_with(SoundFileNames::headerString) &&
           entry.name.ends_with(".aif") && entry.name.size() > startLength;
}

std::uint32_t wordAt(VolumeFile& file, std::int64_t at) {
    std::array<std::byte, 4> word{};
    return file.readAt(at, word) == 4 ? BigEndian::get32(word.data()) : 0;
}

bool fits(VolumeFile& file, const AiffHeader& header, std::int64_t size) {
    const std::int64_t frames = (size - AiffHeader::soundAt) / header.bytesPerFrame();
    return wordAt(file, AiffHeader::formSizeAt) == size - 8 && wordAt(file, AiffHeader::framesAt) == frames &&
           wordAt(file, AiffHeader::soundSizeAt) == size - 4088;
}
} // namespace

RecordingMender::RecordingMender(const Seams& seams, VmMechanic& mechanic)
    : m_volume(seams.volume), m_log(seams.log), m_notifications(seams.notifications), m_mechanic(mechanic) {}

std::string RecordingMender::pathOf(const std::string& name) const {
    return Paths::inFolder(m_mechanic.recordFolder(), name);
}

void RecordingMender::report(std::string_view event, const std::string& text) const {
    m_log.log(text);
    m_notifications.postLogEvent(event, text);
}

void RecordingMender::mendNewest(char sourceLetter) {
    std::vector<std::string> names;
    errno = 0;
    for (const VolumeEntry& entry : m_volume.list(m_mechanic.recordFolder()))
        if (isRecording(entry))
            names.push_back(entry.name);
    if (errno != 0)
        m_log.log("VmRecorder: the newest recordings cannot be looked at.");
    const std::size_t count = std::min(newest, names.size());
    std::ranges::partial_sort(names, names.begin() + static_cast<std::ptrdiff_t>(count), std::greater<>());
    names.resize(count); // their names begin with their dates
    for (std::size_t i = 1; i < names.size(); ++i)
        for (std::size_t later = 0; later < i; ++later)
            if (names[i].compare(0, startLength, names[later], 0, startLength) == 0 &&
                m_volume.isSameFile(pathOf(names[i]), pathOf(names[later])))
                removeSecondName(names[i], names[later]);
    for (const std::string& name : names)
        mendHeader(name);
    for (const std::string& name : names)
        mendInformation(name, sourceLetter);
}

std::string RecordingMender::informationBytes(const std::string& name) const {
    std::array<char, 64> bytes{};
    const auto file = m_volume.openForReading(pathOf(name));
    if (file == nullptr ||
        file->readAt(AiffHeader::recordInformationAt, std::as_writable_bytes(std::span(bytes))) < 64)
        return {};
    return {bytes.data(), bytes.size()};
}

void RecordingMender::removeSecondName(const std::string& name, const std::string& other) {
    // The information tells the end; where that could not be written, the later name comes nearest to it.
    const std::string whole = name.substr(0, name.size() - std::string_view(".aif").size());
    const std::string& second = information(name).starts_with(whole) ? other : name;
    if (!m_volume.exists(pathOf(name)) || !m_volume.exists(pathOf(other)))
        return;
    if (m_volume.isLocked(pathOf(second)))
        m_volume.setLocked(pathOf(second), false);
    if (m_volume.remove(pathOf(second)) != 0)
        m_log.log("VmRecorder: progress sound file cannot be removed: " + pathOf(second));
    else
        report("SomeReportHappen", "VmRecorder: second name of a recording is removed: " + second);
}

void RecordingMender::mendHeader(const std::string& name) {
    const std::string path = pathOf(name);
    AiffHeader header;
    std::int64_t excess = 0;
    if (const auto file = m_volume.openForReading(path); file == nullptr ||
                                                         header.read(*file) != SoundFileError::none ||
                                                         !header.ownLayout || fits(*file, header, file->size()))
        return;
    else
        excess = (file->size() - AiffHeader::soundAt) % header.bytesPerFrame();
    if (m_volume.isLocked(path))
        return;
    if (excess > 0) // half a frame was on its way
        if (const auto file = m_volume.openForUpdating(path); file != nullptr)
            file->truncate(file->size() - excess);
    if (m_mechanic.setAIFFFileHeader(path, header.channels))
        report("SomeReportHappen", "VmRecorder: the header of a recording is repaired: " + name);
}

void RecordingMender::mendInformation(const std::string& name, char sourceLetter) {
    const std::string bytes = informationBytes(name);
    const std::string interim = bytes.c_str();
    const std::string whole = name.substr(0, spanLength);
    AiffHeader header;
    if (!isInterim(interim) || !RecordingName::of(whole + ".aif") || m_volume.isLocked(pathOf(name)))
        return;
    const auto file = m_volume.openForUpdating(pathOf(name));
    if (file == nullptr || header.read(*file) != SoundFileError::none || !header.ownLayout)
        return;
    const std::string form =
        formatted("%d%c%c*", static_cast<int>(header.rate), header.channels == 1 ? 'M' : 'S', sourceLetter);
    const bool isNoted = interim.size() < spanLength && bytes[spanLength] != '\0'; // by a person: it stays
    const std::string text = isNoted ? whole : whole + form + std::string(1, '\0');
    if (file->writeAt(AiffHeader::recordInformationAt, std::as_bytes(std::span(text))) != 0)
        report("SomeErrorHappen", "VmRecorder: record information write error.");
    else
        report("SomeReportHappen", "VmRecorder: the information of a recording is completed: " + name);
}
