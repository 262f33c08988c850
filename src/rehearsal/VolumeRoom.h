// rehearsal/VolumeRoom.h — how much fits on the volume of a rehearsal.
#pragma once

/// There were `freeBytes` free when the files took `usedBytes`: what they take more is missing from it.
struct VolumeRoom {
    double freeBytes = 1e12;
    double usedBytes = 0.0;
};
