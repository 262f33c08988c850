// The order in which the controllers store their settings, as the settings' file shows it.
#include "ShellDesk.h"

#include <array>
#include <poll.h>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <thread>
#include <unistd.h>

namespace {
/// Keeps each version of a file that is replaced as a whole, as far as it is there for long enough.
class Versions {
public:
    explicit Versions(std::string path)
        : m_path(std::move(path)), m_watch(inotify_init1(IN_NONBLOCK)), m_end(eventfd(0, 0)) {
        const std::string folder = m_path.substr(0, m_path.rfind('/'));
        EXPECT_GE(inotify_add_watch(m_watch, folder.c_str(), IN_MOVED_TO), 0);
        m_thread = std::thread([this] { keep(); });
    }
    ~Versions() {
        finish();
        ::close(m_watch);
        ::close(m_end);
    }
    Versions(const Versions&) = delete;
    Versions& operator=(const Versions&) = delete;

    /// All of them, in the order in which they came.
    std::vector<QJsonObject> all() {
        finish();
        std::vector<QJsonObject> versions;
        for (int number = 0; number < m_count; ++number) {
            QFile file(QString::fromStdString(m_kept.path() + "/" + std::to_string(number)));
            EXPECT_TRUE(file.open(QIODevice::ReadOnly));
            versions.push_back(QJsonDocument::fromJson(file.readAll()).object());
        }
        return versions;
    }

private:
    void keep() {
        std::array<pollfd, 2> inputs{{{m_watch, POLLIN, 0}, {m_end, POLLIN, 0}}};
        alignas(inotify_event) std::array<char, 4096> events{};
        while (::poll(inputs.data(), inputs.size(), -1) > 0) {
            if (::read(m_watch, events.data(), events.size()) <= 0)
                return; // all that came was seen
            if (::link(m_path.c_str(), (m_kept.path() + "/" + std::to_string(m_count)).c_str()) == 0)
                ++m_count;
        }
    }
    void finish() {
        if (!m_thread.joinable())
            return;
        EXPECT_EQ(eventfd_write(m_end, 1), 0);
        m_thread.join();
    }

    const std::string m_path;
    TemporaryFolder m_kept;
    const int m_watch;
    const int m_end;
    int m_count = 0; // the thread's, until it was joined
    std::thread m_thread;
};

/// A setting that each one stores in the end, and not before; the device selection has stored a person's choice
/// long since.
constexpr std::array<const char*, 7> ownSettings{"AutoRecordStartup",    "MaxTotalTime", "StepFast",
                                                 "VerifyDeleteTimer",    "TimerList",    "WriteLogBook",
                                                 "AuthorizationRequired"};

/// For each of them, the first version that holds it.
std::array<int, 7> firstVersions(const std::vector<QJsonObject>& versions) {
    std::array<int, 7> first{};
    for (std::size_t setting = 0; setting < ownSettings.size(); ++setting) {
        const auto holds = [key = ownSettings[setting]](const QJsonObject& version) {
            return version.contains(QLatin1String(key));
        };
        first[setting] = static_cast<int>(std::ranges::find_if(versions, holds) - versions.begin());
    }
    return first;
}
} // namespace

TEST(Ending, asksTheControllersToStore_recorderMechanicPlayerReserverListLogBook_andItselfAtLast) {
    std::array<bool, 7> isApart{true}; // whether a setting was seen to come later than the one before it
    for (int attempt = 0; attempt < 100 && !std::ranges::all_of(isApart, std::identity()); ++attempt) {
        ShellDesk shell;
        shell.launch();
        Versions versions(shell.desk.folder + "/settings.json");
        shell.controler().saveUserDefaults();
        const auto first = firstVersions(versions.all());
        for (std::size_t setting = 1; setting < first.size(); ++setting) {
            ASSERT_GE(first[setting], first[setting - 1]) << ownSettings[setting] << " before its turn";
            isApart[setting] = isApart[setting] || first[setting] > first[setting - 1];
        }
    }
    for (std::size_t setting = 0; setting < isApart.size(); ++setting)
        EXPECT_TRUE(isApart[setting]) << ownSettings[setting] << " always comes with the one before it";
}
