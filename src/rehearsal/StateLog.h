// rehearsal/StateLog.h — writes down what a person would see change.
#pragma once
#include <deque>
#include <functional>
#include <string>
#include <vector>

class Clock;
class Control;
class LineFile;
class VmControler;

/// One line {"at","what","value"} for each value at the begin and for each change of it. Main thread only.
///
/// Outlives the controllers it watches, whose controls tell it their changes; once they are gone it must not
/// look.
class StateLog {
public:
    StateLog(LineFile& file, const Clock& clock, VmControler& controler);
    StateLog(const StateLog&) = delete;
    StateLog& operator=(const StateLog&) = delete;

    /// Looks at what does not tell its changes itself; to be called after everything that may change it.
    void look();
    /// Of every value, in the order in which they are written at the begin.
    std::vector<std::string> names() const;

private:
    struct Row {
        std::string what;
        std::function<std::string()> value; ///< as JSON
        std::string last;
    };
    void addControls(VmControler& controler);
    Row& add(std::string what, std::function<std::string()> value);
    void addAndObserve(Control& control, std::string what, std::function<std::string()> value);
    void lookAt(Row& row);

    LineFile& m_file;
    const Clock& m_clock;
    std::function<int()> m_condition;
    std::function<int()> m_level;
    int m_lastCondition = 0;
    int m_lastLevel = 0;
    std::deque<Row> m_rows; // stay in place: observers refer to them
};
