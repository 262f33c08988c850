// schedule/ReserveChoices.h — what the pop-ups for an entry of the timetable offer.
#pragma once
#include <string>
#include <vector>

class Texts;

/// The items in the order of the values. Any thread.
namespace ReserveChoices {
std::vector<std::string> months(const Texts& texts); ///< every, 1 to 12
std::vector<std::string> days(const Texts& texts);   ///< every, 1 to 31
std::vector<std::string> weeks(const Texts& texts);  ///< every, Sunday to Saturday
std::vector<std::string> hours();                    ///< 00 to 24, the midnight that ends the day
std::vector<std::string> minutes();                  ///< 00 to 55 in steps of 5
std::vector<std::string> channels(const Texts& texts);
std::vector<std::string> modes(const Texts& texts);
} // namespace ReserveChoices
