#include "audio/hardware/pulse/PulsePortNames.h"

#include <algorithm>
#include <array>
#include <pulse/def.h>
#include <pulse/version.h>
#include <string_view>

namespace {
struct KnownPort {
    std::string_view fragment;
    std::string_view name;
};
constexpr std::array inputFragments{
    KnownPort{"internal-mic", "Internal microphone"},
    KnownPort{"mic-internal", "Internal microphone"},
    KnownPort{"int-mic", "Internal microphone"},
    KnownPort{"linein", "Line In"},
    KnownPort{"line-in", "Line In"},
    KnownPort{"iec958", "Digital In"},
    KnownPort{"spdif", "Digital In"},
    KnownPort{"digital-in", "Digital In"}, // not "digital" alone: there are digital microphones
    KnownPort{"digital in", "Digital In"},
};
constexpr std::array outputFragments{
    KnownPort{"speaker", "Internal speakers"},
    KnownPort{"headphone", "Headphones"},
};

/// The type alone says nothing of a microphone's place: only the name tells an internal one from a jack.
std::string_view nameOfType(unsigned type, AudioDirection direction) {
#if PA_CHECK_VERSION(14, 0, 0)
    if (direction == AudioDirection::input) {
        if (type == PA_DEVICE_PORT_TYPE_LINE)
            return "Line In";
        if (type == PA_DEVICE_PORT_TYPE_SPDIF)
            return "Digital In";
        return {};
    }
    if (type == PA_DEVICE_PORT_TYPE_SPEAKER)
        return "Internal speakers";
    if (type == PA_DEVICE_PORT_TYPE_HEADPHONES)
        return "Headphones";
#else
    static_cast<void>(type);
    static_cast<void>(direction);
#endif
    return {};
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

template <std::size_t count>
std::string_view nameOfFragment(const std::string& name, const std::array<KnownPort, count>& known) {
    for (const KnownPort& port : known)
        if (name.find(port.fragment) != std::string::npos)
            return port.name;
    return {};
}
} // namespace

std::string pulsePortName(const PulsePortDescription& port, AudioDirection direction) {
    const std::string name = lowered(port.name);
    std::string_view known = nameOfType(port.type, direction);
    if (known.empty())
        known = direction == AudioDirection::input ? nameOfFragment(name, inputFragments)
                                                   : nameOfFragment(name, outputFragments);
    if (!known.empty())
        return std::string(known);
    return port.description.empty() ? port.name : port.description;
}
