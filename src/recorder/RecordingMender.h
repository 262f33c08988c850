// recorder/RecordingMender.h — mends what a disk that failed to the end left of the newest recordings.
#pragma once
#include <string>
#include <string_view>
#include <vector>

class NotificationCenter;
class SystemLog;
class VmMechanic;
class Volume;
struct Seams;

/// A recording may have got its name while its header or its information could not be written any more, or a
/// second name of it could not be removed. The launch after that finds them here. Main thread only.
class RecordingMender {
public:
    /// A disk can have spoilt no more of them before somebody looked: without it, nothing is recorded.
    static constexpr std::size_t newest = 16;

    RecordingMender(const Seams& seams, VmMechanic& mechanic);

    /// Looks at the newest recordings of the record folder. What is in order is not touched. `sourceLetter`
    /// stands in the information of those that have none yet.
    void mendNewest(char sourceLetter);

private:
    void mendHeader(const std::string& name);
    void mendInformation(const std::string& name, char sourceLetter);
    void removeSecondName(const std::string& name, const std::string& other);
    std::string informationBytes(const std::string& name) const;
    std::string information(const std::string& name) const { return informationBytes(name).c_str(); }
    std::string pathOf(const std::string& name) const;
    void report(std::string_view event, const std::string& text) const;

    Volume& m_volume;
    SystemLog& m_log;
    const NotificationCenter& m_notifications;
    VmMechanic& m_mechanic;
};
