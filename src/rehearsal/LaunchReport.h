// rehearsal/LaunchReport.h — what one launch tells about itself when it is over.
#pragma once
#include "rehearsal/FrameAccount.h"
#include "rehearsal/VolumeRoom.h"

#include <optional>
#include <string>
#include <string_view>

struct LaunchReport {
    double simulatedSeconds = 0.0; ///< of host time
    FrameAccount::Counts counts;
    VolumeRoom room;    ///< as it was set last
    std::string misuse; ///< an event that makes no sense when it comes, as "place: why"
    std::string fault;  ///< what of the rehearsal itself did not work; both are empty when all did

    /// As text that `fromText` reads back exactly.
    std::string toText() const;
    static std::optional<LaunchReport> fromText(std::string_view text);
};
