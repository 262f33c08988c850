// keeper/CompressorTask.h — runs a compressor as a child process.
#pragma once
#include <atomic>
#include <string>
#include <vector>

/// One run of a program, without a shell, in a process group of its own at the lowest priority. It reads
/// nothing, and what it prints is taken off its hands at once, so it never waits for us. It has ended when it
/// and all that it started and left its output to have ended.
///
/// Time here is the machine's own, for no other moves a child process.
class CompressorTask {
public:
    enum class End {
        exited,
        killed, ///< by a signal that was not ours
        noTask, ///< it could not be started
        noPipe,
        folderInUse, ///< for the whole time that it had
        overTime,
        stopped,
    };
    struct Result {
        int status = -1; ///< what the program exited with; -1 unless `end` is `exited`
        End end = End::noTask;
        int error = 0;        ///< errno when it could not be started, or the signal that killed it
        double seconds = 0.0; ///< that it ran
        /// Why it failed, in a few words.
        std::string fault() const;
    };
    struct Job {
        std::string path;
        std::vector<std::string> arguments;
        bool monitor = false;      ///< what it prints goes to our error output, as far as that takes it
        double timeLimit = 3600.0; ///< seconds, then the whole group is ended
        /// Only one task at a time runs for this folder, also of several processes of ours: a compressor that
        /// outlived a crash is waited for. Empty: no such lock.
        std::string folder = {};
    };

    /// Not the main thread: waits for the end. `stop` ends the program early.
    static Result run(const Job& job, const std::atomic<bool>& stop);

    /// From the request to end until the program is killed.
    static constexpr double secondsToEnd = 2.0;
};
