// audio/hardware/pulse/PulseFormats.h — stream formats in the platform's words.
#pragma once
#include "audio/hardware/AudioHardware.h"

#include <pulse/sample.h>

/// The format that cycles of a device with `spec` carry: 32-bit floats, interleaved, at its rate.
AudioStreamBasicDescription pulseCycleFormat(const pa_sample_spec& spec);
/// What the device itself runs on, as the server tells it.
AudioStreamBasicDescription pulsePhysicalFormat(const pa_sample_spec& spec);
