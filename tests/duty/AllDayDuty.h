// A timetable entry that never ends: from eight o'clock to eight o'clock.
#pragma once
#include "duty/TimetableWeek.h"

#include <chrono>

inline void runAllDayDuty(double seconds) {
    const auto began = std::chrono::steady_clock::now();
    SimulatedDevice device = countingInput();
    device.rates = {48000.0};
    const TimetableEntry allDay{"all day", 8, 0, 8, 0};
    Duty duty({.start = {.year = 2026, .month = 3, .day = 2, .hour = 8},
               .zone = QTimeZone("Europe/Berlin"),
               .input = device,
               .settings = {{"TimerList", QJsonArray{allDay.valueArray(2, 2)}}, {"ReserveSwitch", true}}});
    duty.launch();
    duty.runFor(seconds);
    duty.recorder().reserveButton().press(false);
    duty.runFor(5.0);
    EXPECT_EQ(duty.check.fault(), "");
    EXPECT_NEAR(static_cast<double>(duty.check.frames()) / 48000.0, seconds, 3.0);
    for (const DutyCheck::Piece& piece : duty.check.pieces())
        EXPECT_LE(piece.bytes, SoundFile::largestFile) << piece.name;
    EXPECT_GE(duty.check.pieces().size(), static_cast<std::size_t>(seconds / 11184.0) + 1);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - began;
    std::printf("[ MEASURED ] %.1f hours in %zu files, %.0f times as fast\n", seconds / 3600.0,
                duty.check.pieces().size(), seconds / took.count());
}
