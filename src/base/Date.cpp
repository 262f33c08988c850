#include "base/Date.h"

#include <cmath>

Date Date::addingSeconds(double seconds) const {
    return {microseconds + std::llround(seconds * 1e6)};
}
