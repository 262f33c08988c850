// Measures one whole input cycle: through the multiplexer to the recorder, while it records, and the level
// meter.
#include "app/VmControler.h"
#include "audio/CrankedHardware.h"
#include "base/AdministratorRight.h"
#include "base/NotificationCenter.h"
#include "base/SavePanel.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "base/Workspace.h"
#include "CpuSeconds.h"
#include "Figures.h"
#include "recorder/VmRecorder.h"
#include "rehearsal/RecordedSystemLog.h"
#include "rehearsal/ScriptedAlert.h"
#include "rehearsal/VirtualRunLoop.h"
#include "storage/PosixVolume.h"

#include <filesystem>
#include <vector>

namespace {
constexpr std::uint32_t frames = 512;
constexpr double rate = 44100.0;
constexpr int together = 4; ///< cycles in a row, as a sound server hands them on every 50 ms
constexpr AudioDeviceID input = 1;

/// The application on virtual time, its input turned by hand.
class Desk {
public:
    explicit Desk(const std::string& folder) : m_defaults(folder + "/settings.json", m_log) {
        CrankedHardware::Device& device = m_hardware.table[input];
        device.name = device.uid = "input";
        device.channels[AudioDirection::input] = {2};
        device.bufferRange[AudioDirection::input] = device.bufferRange[AudioDirection::output] = {14, 4096};
        device.rates = {{rate, rate}};
        m_hardware.order = {input};
        VmControler::registerDefaults(m_defaults);
        m_defaults.set("DirectoryPath", QString::fromStdString(folder + "/record"));
        m_defaults.set("SamplingRateNumber", 2);
        m_defaults.set("ChannelsNumber", 2);
        m_controler = std::make_unique<VmControler>(Seams{m_clock, m_runLoop, m_notifications, m_defaults,
                                                          m_log, m_alert, m_texts, m_hardware, m_volume,
                                                          m_right, m_savePanel, m_workspace});
        m_controler->applicationDidFinishLaunching();
        m_controler->recorder().recordButton().press(true);
    }
    ~Desk() { m_controler->applicationWillTerminate(); }
    Desk(const Desk&) = delete;
    Desk& operator=(const Desk&) = delete;

    bool isRecording() const { return m_controler->recorder().condition() == RecordCondition::recording; }
    /// Lets the time of some cycles pass, then hands them on; returns what one of them took in CPU seconds.
    double runCycles() {
        m_runLoop.runFor(frames * together / rate);
        const double begin = cpuSeconds(CLOCK_THREAD_CPUTIME_ID);
        for (int i = 0; i < together; ++i) {
            m_hardware.inputTime.mSampleTime = static_cast<double>(m_frame);
            m_hardware.inputTime.mHostTime = hostTimeFromSeconds(static_cast<double>(m_frame) / rate);
            m_hardware.cycle(input, &m_sound.list, nullptr);
            m_frame += frames;
        }
        return (cpuSeconds(CLOCK_THREAD_CPUTIME_ID) - begin) / together;
    }

private:
    VirtualClock m_clock{QTimeZone::utc(), {}};
    VirtualRunLoop m_runLoop{m_clock};
    NotificationCenter m_notifications;
    RecordedSystemLog m_log;
    ScriptedAlert m_alert;
    Texts m_texts;
    UserDefaults m_defaults;
    CrankedHardware m_hardware;
    PosixVolume m_volume;
    NoAdministratorRight m_right;
    NoSavePanel m_savePanel;
    NoWorkspace m_workspace;
    std::unique_ptr<VmControler> m_controler;
    TestList m_sound{{2}, frames, 0.25F};
    std::uint64_t m_frame = 0;
};
} // namespace

int main() {
    std::string folder = std::filesystem::temp_directory_path() / "velmoratide-bench-XXXXXX";
    if (mkdtemp(folder.data()) == nullptr)
        return 1;
    std::vector<double> times;
    bool recording = false;
    {
        Desk desk(folder);
        for (int i = 0; i < 200; ++i)
            desk.runCycles();
        for (int i = 0; i < 5000; ++i)
            times.push_back(desk.runCycles());
        recording = desk.isRecording();
    }
    std::filesystem::remove_all(folder);
    if (!recording) {
        std::fprintf(stderr, "CycleBench: the desk does not record\n");
        return 1;
    }
    std::ranges::sort(times);
    const double median = times[times.size() / 2];
    const double length = frames / rate;
    std::printf("input cycle of 512 stereo frames, while recording: median %.2f us, 99 of 100 below %.2f us\n",
                median * 1e6, times[times.size() * 99 / 100] * 1e6);
    reportFigure("input cycle, % of its time", nanoseconds(median), nanoseconds(length) + " cycle",
                 median / length * 100.0, Aim::atMost, 0.3);
    return 0;
}
