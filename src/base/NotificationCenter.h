// base/NotificationCenter.h — named notifications between controllers.
#pragma once
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

using UserInfo = std::map<std::string, std::string>;

struct Notification {
    std::string name;
    std::string object;
    UserInfo userInfo;
};

inline constexpr std::string_view VmLogEventNotification = "VmLogEventNotification";
inline constexpr std::string_view ErrorMessageString = "ErrorMessageString";

/// Hands each notification to the observers of its name, on the poster's thread, before `post` returns.
class NotificationCenter {
public:
    using Handler = std::function<void(const Notification&)>;

    /// Ends its observation when destroyed: its handler is not called any more, save for a call that another
    /// thread has begun already. The center must outlive it.
    class Observation {
    public:
        Observation() = default;
        Observation(NotificationCenter& center, unsigned token) : m_center(&center), m_token(token) {}
        ~Observation() { end(); }
        Observation(Observation&& other) noexcept { *this = std::move(other); }
        Observation& operator=(Observation&& other) noexcept;
        void end();

    private:
        NotificationCenter* m_center = nullptr;
        unsigned m_token = 0;
    };

    // Any thread
    /// Observes notifications named `name`; an empty name observes all.
    [[nodiscard]] Observation observe(std::string_view name, Handler handler);
    void post(const Notification& notification) const;
    /// Posts a log event; an empty message stands for none.
    void postLogEvent(std::string_view event, std::string_view message = {}) const;

private:
    struct Observer {
        unsigned token;
        std::string name;
        std::shared_ptr<const Handler> handler;
    };
    bool observes(unsigned token) const;
    void remove(unsigned token);

    mutable std::mutex m_mutex;
    std::vector<Observer> m_observers;
    unsigned m_lastToken = 0;
};
