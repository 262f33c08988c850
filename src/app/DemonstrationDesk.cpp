#include "app/DemonstrationDesk.h"

std::vector<SimulatedDevice> demonstrationDesk() {
    SimulatedDevice microphone;
    microphone.name = "Demonstration microphone";
    microphone.uid = "demonstration-microphone";
    microphone.rates = {44100.0, 48000.0};
    microphone.dataSources = {"Internal microphone"};
    microphone.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::speech}};

    SimulatedDevice tone;
    tone.name = "Demonstration tone";
    tone.uid = "demonstration-tone";
    tone.rates = {44100.0};
    tone.dataSources = {"Line In"};
    tone.signal = {{.at = 0.0, .kind = SimulatedSegment::Kind::sine, .level = 0.25, .frequency = 440.0}};

    SimulatedDevice output;
    output.name = "Demonstration output";
    output.uid = "demonstration-output";
    output.direction = SimulatedDevice::Direction::output;
    output.rates = {44100.0};
    output.dataSources = {"Internal speakers"};
    return {microphone, tone, output};
}
