// app/DemonstrationDesk.h — the simulated desk behind --demo.
#pragma once
#include "audio/hardware/simulated/SimulatedDevice.h"

#include <vector>

/// A desk with a microphone that hears a speaking voice, a line input that hears a tone, and an output.
std::vector<SimulatedDevice> demonstrationDesk();
