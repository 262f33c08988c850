// audio/hardware/pulse/PulseDeviceLister.h — asks the server for its devices whenever they change.
#pragma once
#include "audio/hardware/pulse/PulseDevice.h"

#include <functional>
#include <pulse/context.h>
#include <pulse/introspect.h>
#include <pulse/operation.h>
#include <pulse/subscribe.h>

/// Sound system's thread only.
class PulseDeviceLister {
public:
    using Listed = std::function<void(const std::vector<PulseDevice>&)>;
    /// `listed` gets every complete list, in the server's order, sources first.
    explicit PulseDeviceLister(Listed listed) : m_listed(std::move(listed)) {}
    ~PulseDeviceLister() { detach(); }
    PulseDeviceLister(const PulseDeviceLister&) = delete;
    PulseDeviceLister& operator=(const PulseDeviceLister&) = delete;

    /// Follows the devices of a ready context, beginning with a first list.
    void attach(pa_context* context);
    /// Before the context goes away; no list comes afterwards.
    void detach();
    /// Has a new list made. Calls while one is being made are answered by one more.
    void refresh();

private:
    void ask();
    void cancel();
    void takeDefaults(const pa_server_info& info);
    void finishSources(bool failed);
    void finishSinks(bool failed);

    const Listed m_listed;
    pa_context* m_context = nullptr;
    pa_operation* m_serverQuery = nullptr;
    pa_operation* m_sourcesQuery = nullptr;
    pa_operation* m_sinksQuery = nullptr;
    std::vector<PulseDevice> m_devices;
    std::string m_defaultSource;
    std::string m_defaultSink;
    bool m_failed = false;
    bool m_isStale = false;
};
