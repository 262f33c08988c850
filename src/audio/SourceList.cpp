#include "audio/SourceList.h"

#include "audio/KaCoreAudioDevice.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <functional>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace {
std::vector<std::string> merged(const std::vector<std::string>& names,
                                std::initializer_list<std::string_view> alike, const char* common) {
    std::vector<std::string> result;
    bool found = false;
    for (const std::string& name : names) {
        if (std::find(alike.begin(), alike.end(), name) == alike.end())
            result.push_back(name);
        else if (!std::exchange(found, true))
            result.emplace_back(common);
    }
    return result;
}

std::string lowered(std::string text) {
    for (char& letter : text)
        letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
    return text;
}

int onlyMatch(const std::vector<AudioSource>& sources, const std::function<bool(const AudioSource&)>& matches) {
    const auto first = std::find_if(sources.begin(), sources.end(), matches);
    if (first == sources.end() || std::find_if(first + 1, sources.end(), matches) != sources.end())
        return -1;
    return static_cast<int>(first - sources.begin());
}
} // namespace

std::vector<std::string> representRecordNames(const std::vector<std::string>& names) {
    return merged(names, {"External microphone/Line In", "Sound Input", "Line In"}, "Line In");
}

std::vector<std::string> representPlayNames(const std::vector<std::string>& names) {
    return merged(names, {"Headphones", "Internal speakers"}, "Internal speakers");
}

std::vector<AudioSource> audioSources(KaCoreAudioSystem& system, AudioDirection direction) {
    std::vector<AudioSource> sources;
    int number = 0;
    for (const auto& device : KaCoreAudioDevice::allDevices(system)) {
        const int deviceNumber = number++;
        if (device->channelsForDirection(direction) == 0)
            continue;
        const std::vector<std::string> found = device->dataSourcesForDirection(direction);
        std::vector<std::string> names =
            direction == AudioDirection::input ? representRecordNames(found) : representPlayNames(found);
        if (names.empty())
            names.push_back(device->deviceName());
        for (std::string& name : names)
            sources.push_back({deviceNumber, device->deviceID(), device->deviceName(), std::move(name)});
    }
    return sources;
}

int indexOfAudioSource(const std::vector<AudioSource>& sources, const std::string& wish) {
    int index = -1;
    const auto [end, error] = std::from_chars(wish.data(), wish.data() + wish.size(), index);
    if (error == std::errc() && end == wish.data() + wish.size() && index >= 0 &&
        index < static_cast<int>(sources.size()))
        return index;
    const auto matching = [&](auto text) {
        return onlyMatch(sources, [&](const AudioSource& source) { return text(source); });
    };
    if (const int found = matching([&](const AudioSource& source) { return source.name == wish; }); found >= 0)
        return found;
    if (const int found = matching([&](const AudioSource& source) { return source.deviceName == wish; });
        found >= 0)
        return found;
    const std::string part = lowered(wish);
    return matching([&](const AudioSource& source) {
        return lowered(source.name).find(part) != std::string::npos ||
               lowered(source.deviceName).find(part) != std::string::npos;
    });
}
