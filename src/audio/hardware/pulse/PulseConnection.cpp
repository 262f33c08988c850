#include "audio/hardware/pulse/PulseConnection.h"

#include <algorithm>
#include <cassert>
#include <chrono>
#include <pulse/error.h>
#include <pulse/proplist.h>
#include <pulse/rtclock.h>

namespace {
constexpr double secondsBetweenAttempts = 1.0;

pa_usec_t microsecondsFromNow(double seconds) {
    return pa_rtclock_now() + static_cast<pa_usec_t>(seconds * 1e6);
}
} // namespace

PulseConnection::PulseConnection(PulseOptions options, Owner& owner)
    : m_options(std::move(options)), m_owner(owner), m_loop(pa_threaded_mainloop_new()) {}

PulseConnection::~PulseConnection() {
    stop();
}

bool PulseConnection::start() {
    if (!m_loop)
        return false;
    pa_threaded_mainloop_set_name(m_loop.get(), "pulse");
    const Lock lock(*this);
    if (pa_threaded_mainloop_start(m_loop.get()) < 0)
        return false;
    m_isRunning = true;
    connect();
    return true;
}

void PulseConnection::stop() {
    if (!m_isRunning)
        return;
    {
        const Lock lock(*this);
        if (m_context) {
            pa_context_set_state_callback(m_context.get(), nullptr, nullptr);
            pa_context_disconnect(m_context.get());
        }
        m_context.reset();
        m_isReady = false;
    }
    pa_threaded_mainloop_stop(m_loop.get());
    m_isRunning = false;
}

void PulseConnection::connect() {
    pa_proplist* const properties = pa_proplist_new();
    pa_proplist_sets(properties, PA_PROP_APPLICATION_NAME, m_options.applicationName.c_str());
    m_context.reset(pa_context_new_with_proplist(pa_threaded_mainloop_get_api(m_loop.get()),
                                                 m_options.applicationName.c_str(), properties));
    pa_proplist_free(properties);
    pa_context_set_state_callback(
        m_context.get(),
        [](pa_context*, void* connection) { static_cast<PulseConnection*>(connection)->contextChanged(); },
        this);
    // Starting a server is the session's business: one that we started would compete with the one that is
    // coming. A refusal on the spot arrives through the state callback as well.
    pa_context_connect(m_context.get(), m_options.server.empty() ? nullptr : m_options.server.c_str(),
                       PA_CONTEXT_NOAUTOSPAWN, nullptr);
    if (pa_context_get_state(m_context.get()) == PA_CONTEXT_UNCONNECTED)
        contextChanged(); // it never began, so there is no callback
}

void PulseConnection::contextChanged() {
    const pa_context_state_t state = pa_context_get_state(m_context.get());
    if (state == PA_CONTEXT_READY) {
        m_isReady = true;
        m_owner.connectionReady();
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        const bool wasReady = m_isReady;
        m_isReady = false;
        m_owner.connectionFailed(wasReady);
        callLater(secondsBetweenAttempts, [this] { connect(); });
    }
    signal();
}

pa_context* PulseConnection::context() const {
    return m_isReady ? m_context.get() : nullptr;
}

void PulseConnection::signal() {
    pa_threaded_mainloop_signal(m_loop.get(), 0);
}

bool PulseConnection::waitUntil(const std::function<bool()>& done, double seconds) {
    assert(!pa_threaded_mainloop_in_thread(m_loop.get()));
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
    callLater(seconds, [this] { signal(); });
    while (!done()) {
        if (std::chrono::steady_clock::now() >= deadline)
            return false;
        pa_threaded_mainloop_wait(m_loop.get());
    }
    return true;
}

void PulseConnection::callLater(double seconds, std::function<void()> call) {
    if (!m_context)
        return; // stopped
    PendingCall* const pending =
        m_calls.emplace_back(std::make_unique<PendingCall>(PendingCall{this, std::move(call)})).get();
    pa_context_rttime_new(m_context.get(), microsecondsFromNow(seconds), fireCall, pending);
}

void PulseConnection::fireCall(pa_mainloop_api* api, pa_time_event* event, const timeval*, void* pendingCall) {
    api->time_free(event);
    auto* const pending = static_cast<PendingCall*>(pendingCall);
    PulseConnection& connection = *pending->connection;
    const std::function<void()> call = std::move(pending->call);
    std::erase_if(connection.m_calls, [pending](const auto& owned) { return owned.get() == pending; });
    if (connection.m_context)
        call();
}

std::string PulseConnection::lastError() const {
    return m_context ? pa_strerror(pa_context_errno(m_context.get())) : "no context";
}
