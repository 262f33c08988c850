// storage/SpaceDesk.h — a record folder with recordings, and a mechanic that makes room in it.
#pragma once
#include "storage/MechanicDesk.h"
#include "storage/SpaceVolume.h"

#include <algorithm>
#include <gtest/gtest.h>

/// The record folder is "records", so that a backup folder has its place beside it.
class SpaceDesk : public testing::Test {
protected:
    static constexpr double rate = 22050.0;
    static constexpr unsigned channels = 1;
    using Lines = std::vector<std::string>;

    SpaceDesk() {
        std::filesystem::create_directories(desk.folder / "records");
        desk.defaults.set("DirectoryPath", std::string_view(desk.folder / "records"));
    }
    ~SpaceDesk() override {
        for (const std::string& name : m_locked)
            desk.disk.setLocked(pathOf(name), false); // else it would outlive the test
    }

    /// The one-hour recording that starts at `hour` of day `day` of October 2007.
    static std::string hourOf(int day, int hour) {
        const auto two = [](int number) { return (number < 10 ? "0" : "") + std::to_string(number); };
        return "_Velmoratide_200710" + two(day) + "_" + two(hour) + "0000~" + two((hour + 1) % 24) + "0000.aif";
    }
    std::string pathOf(const std::string& name) const { return desk.folder / ("records/" + name); }
    void record(const std::string& name, std::size_t bytes = 1) const {
        desk.folder.write("records/" + name, std::string(bytes, 'x'));
    }
    void recordHours(int count) const {
        for (int hour = 0; hour < count; ++hour)
            record(hourOf(1 + hour / 24, hour % 24));
    }
    void lock(const std::string& name) {
        m_locked.push_back(name);
        ASSERT_EQ(desk.disk.setLocked(pathOf(name), true), 0);
    }
    bool has(const std::string& name) { return desk.disk.exists(pathOf(name)); }
    std::size_t files() const { return PosixVolume().list(desk.folder / "records").size(); }
    std::size_t logged(const std::string& part) const {
        const Lines lines = desk.log.lines();
        return static_cast<std::size_t>(std::count_if(lines.begin(), lines.end(), [&](const std::string& line) {
            return line.find(part) != std::string::npos;
        }));
    }
    VmMechanic& mechanic() {
        if (!m_mechanic)
            m_mechanic = std::make_unique<VmMechanic>(m_seams);
        return *m_mechanic;
    }

    MechanicDesk desk;
    SpaceVolume volume{desk.disk};

private:
    const Seams m_seams{desk.seams.clock,
                        desk.seams.runLoop,
                        desk.seams.notifications,
                        desk.seams.defaults,
                        desk.seams.log,
                        desk.seams.alert,
                        desk.seams.texts,
                        desk.seams.hardware,
                        volume,
                        desk.seams.administratorRight,
                        desk.seams.savePanel,
                        desk.seams.workspace};
    std::unique_ptr<VmMechanic> m_mechanic;
    Lines m_locked;
};
