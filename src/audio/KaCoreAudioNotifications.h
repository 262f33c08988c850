// audio/KaCoreAudioNotifications.h — what the sound system's changes are called.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>

/// Devices came or went.
inline constexpr std::string_view KaCoreAudioHardwareDeviceListDidChangeNotification =
    "KaCoreAudioHardwareDeviceListDidChangeNotification";
/// Another device, or none, is the one that the sound system uses where none is named.
inline constexpr std::string_view KaCoreAudioHardwareDefaultInputDeviceDidChangeNotification =
    "KaCoreAudioHardwareDefaultInputDeviceDidChangeNotification";
inline constexpr std::string_view KaCoreAudioHardwareDefaultOutputDeviceDidChangeNotification =
    "KaCoreAudioHardwareDefaultOutputDeviceDidChangeNotification";
inline constexpr std::string_view KaCoreAudioHardwareDefaultSystemOutputDeviceDidChangeNotification =
    "KaCoreAudioHardwareDefaultSystemOutputDeviceDidChangeNotification";
/// A device's property changed: "DeviceID" and "Channel" are numbers, "Direction" is 1 for input, "PropertyID"
/// is a property's four characters.
inline constexpr std::string_view KaCoreAudioDeviceNotification = "_KaCoreAudioDeviceNotification";

/// A stream's property changed: "StreamID" and "Channel" are numbers, "PropertyID" is as above.
inline constexpr std::string_view KaCoreAudioStreamNotification = "_KaCoreAudioStreamNotification";

using AudioPropertyID = std::uint32_t;

constexpr AudioPropertyID audioDevicePropertyDeviceIsAlive = 0x6C69766E;     // 'livn'
constexpr AudioPropertyID audioDevicePropertyOverload = 0x6F766572;          // 'over'
constexpr AudioPropertyID audioDevicePropertyDataSource = 0x73737263;        // 'ssrc'
constexpr AudioPropertyID audioDevicePropertyNominalSampleRate = 0x6E737274; // 'nsrt'
constexpr AudioPropertyID audioDevicePropertyBufferFrameSize = 0x6673697A;   // 'fsiz'
constexpr AudioPropertyID audioDevicePropertyStreamFormat = 0x73666D74;      // 'sfmt'

inline std::string textOfPropertyID(AudioPropertyID property) {
    return {static_cast<char>(property >> 24), static_cast<char>(property >> 16 & 0xFF),
            static_cast<char>(property >> 8 & 0xFF), static_cast<char>(property & 0xFF)};
}
