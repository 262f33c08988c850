// audio/hardware/pulse/PulseConnection.h — the thread that talks to the server, and the way back after a loss.
#pragma once
#include "audio/hardware/pulse/PulseOptions.h"

#include <functional>
#include <memory>
#include <pulse/context.h>
#include <pulse/mainloop-api.h>
#include <pulse/thread-mainloop.h>
#include <vector>

/// One client context on one thread of its own. A context that fails is made anew every second.
class PulseConnection {
public:
    /// Told on the sound system's thread.
    class Owner {
    public:
        virtual ~Owner() = default;
        virtual void connectionReady() = 0;
        /// Also told of each attempt that failed. Streams of the context are dead, but are not taken back yet.
        virtual void connectionFailed(bool wasReady) = 0;
    };
    /// Holds the sound system's thread off between two of its callbacks. Not for use in callbacks.
    class Lock {
    public:
        explicit Lock(const PulseConnection& connection) : m_loop(connection.m_loop.get()) {
            if (m_loop != nullptr)
                pa_threaded_mainloop_lock(m_loop);
        }
        ~Lock() {
            if (m_loop != nullptr)
                pa_threaded_mainloop_unlock(m_loop);
        }
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

    private:
        pa_threaded_mainloop* m_loop;
    };

    PulseConnection(PulseOptions options, Owner& owner);
    ~PulseConnection();
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;

    // Main thread
    /// Starts the thread and the first attempt. False when the machine allows neither.
    bool start();
    /// Closes the context and ends the thread; no callback comes afterwards. Not under a Lock.
    void stop();
    /// Waits under a Lock, which it lends to the sound system's thread meanwhile, until `done` or for
    /// `seconds`.
    bool waitUntil(const std::function<bool()>& done, double seconds);

    // Any thread, under a Lock; or the sound system's thread
    /// The context while it is ready, else null.
    pa_context* context() const;
    /// Has `waitUntil` look again.
    void signal();
    /// Has the sound system's thread make `call` once in `seconds`.
    void callLater(double seconds, std::function<void()> call);
    /// The context's last error, for people.
    std::string lastError() const;

private:
    struct LoopFree {
        void operator()(pa_threaded_mainloop* loop) const { pa_threaded_mainloop_free(loop); }
    };
    struct ContextRelease {
        void operator()(pa_context* context) const { pa_context_unref(context); }
    };
    struct PendingCall {
        PulseConnection* connection;
        std::function<void()> call;
    };
    void connect();
    void contextChanged();
    static void fireCall(pa_mainloop_api* api, pa_time_event* event, const timeval* time, void* pendingCall);

    const PulseOptions m_options;
    Owner& m_owner;
    std::unique_ptr<pa_threaded_mainloop, LoopFree> m_loop; ///< null where the machine has no descriptors left
    std::unique_ptr<pa_context, ContextRelease> m_context;
    std::vector<std::unique_ptr<PendingCall>> m_calls;
    bool m_isReady = false;
    bool m_isRunning = false;
};
