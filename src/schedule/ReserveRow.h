// schedule/ReserveRow.h — an entry of the timetable in words.
#pragma once
#include <map>
#include <string>
#include <string_view>

class Texts;
class VmReserverElement;

/// The texts of one table row by the keys of its columns.
using ReserveRow = std::map<std::string, std::string, std::less<>>;

/// How the fields of an entry are said, and read back. Any thread.
namespace ReserveWords {
/// "EveryDay" for 0, else the number.
std::string dayText(int monthOrDay, const Texts& texts);
/// "EveryDay" for 0, the weekday for 1 (Sunday) to 7, else the number.
std::string weekText(int week, const Texts& texts);
/// "%02d:%02d" of seconds since midnight.
std::string timeText(int seconds);
/// "%.3fkHz" of a rate in Hz.
std::string rateText(double rate);

// Each is `otherwise` for a text that says nothing.
int dayFromText(std::string_view text, const Texts& texts, int otherwise);
int weekFromText(std::string_view text, const Texts& texts, int otherwise);
int secondsFromText(std::string_view text, int otherwise);
double rateFromText(std::string_view text, double otherwise);

/// The row of `element`, whose source and rate (Hz) go by `sourceName` and `rate`.
ReserveRow row(const VmReserverElement& element, const Texts& texts, std::string sourceName, double rate);
} // namespace ReserveWords
