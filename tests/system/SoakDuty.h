// system/SoakDuty.h — the built program for hours, while one thing after the other goes wrong around it.
#pragma once
#include "faults/FrameCensus.h"
#include "system/PrivateDisk.h"
#include "system/PrivatePulseServer.h"
#include "system/ProcessFigures.h"
#include "system/RunningProgram.h"
#include "system/SettableWallClock.h"

#include <chrono>
#include <memory>
#include <random>
#include <string>
#include <vector>

class SoakDuty {
public:
    explicit SoakDuty(unsigned seed);

    void run(double seconds);
    /// Nothing grew, every file could be read, and what no file holds was told.
    void expectSteady() const;

private:
    using Moment = std::chrono::steady_clock::time_point;

    void play();
    bool launch();
    /// Lets time pass, and reads each file as soon as it is finished.
    void pass(double seconds);
    void readFinishedFiles();
    bool isDeletionLogged(const std::string& path) const;
    void breakSomething();
    void freezeDisk();
    void fillDisk();
    void killServer();
    void freezeServer();
    void pullSource();
    void moveFolder();
    void setClock();
    double between(double least, double most);
    double secondsTold() const;
    std::string log() const;

    std::mt19937 m_random;
    PrivateDisk m_disk{PrivateDisk::Kind::ext4, 512};
    PrivatePulseServer m_server;
    TemporaryFolder m_folder;
    SettableWallClock m_clock{m_folder.path() + "/clock"};
    std::unique_ptr<ChildProcess> m_player;
    std::unique_ptr<RunningProgram> m_program;
    pid_t m_process = -1;
    Moment m_began;
    double m_lasted = 0.0; ///< seconds
    int m_status = -1;
    std::vector<ProcessFigures> m_figures; // when all was calm
    FrameCensus m_census;
    std::size_t m_filesRead = 0;
    std::vector<std::string> m_missing; ///< files that were gone before they were read, and nobody says why
    double m_deletedUnread = 0.0;       ///< seconds, by their names, of files that the budget took before
    double m_leftBehind = 0.0;          ///< seconds in work files of a folder that was moved away
    std::vector<std::string> m_faults;  ///< what was broken, in order
};
