// app/window/PlayPictures.h — pictures of the play tab in each state.
#pragma once
#include <string>
#include <utility>
#include <vector>

class QPixmap;

struct PlayPictures {
    /// Names of the states and the tab in each of them, with the palette in force. Main thread only.
    static std::vector<std::pair<std::string, QPixmap>> of(const std::string& language);
};
