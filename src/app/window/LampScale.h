// app/window/LampScale.h — where the lamps and the start level stand; the meter and the slider share it.
#pragma once
#include "base/Controls.h"

/// Heights in pixels from the top of the meter and of the slider, which are equally tall.
namespace LampScale {
inline constexpr int pitch = 9; ///< from one lamp to the next
inline constexpr int lampHeight = 7;
inline constexpr int above = 4;
inline constexpr int below = 11; ///< room for the start level 0, under the lowest lamp
inline constexpr int height = above + LampColumn::count * pitch + below;

/// Top edge of lamp `index`, 0 being the lowest.
constexpr int lampTop(int index) {
    return above + (LampColumn::count - 1 - index) * pitch + (pitch - lampHeight) / 2;
}
/// The middle of the lamp that is lit last when the level is `level`; below all lamps for 0.
constexpr int middleOfLevel(int level) {
    return above + (LampColumn::count - level) * pitch + pitch / 2;
}
/// The level whose middle is nearest to `y`.
constexpr int levelAt(int y) {
    const int level = LampColumn::count - (y < above ? 0 : (y - above) / pitch);
    return level < 0 ? 0 : level;
}
} // namespace LampScale
