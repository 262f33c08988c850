#include "audio/hardware/pulse/PulseDeviceLister.h"

#include "audio/hardware/pulse/PulsePortNames.h"

#include <pulse/version.h>

namespace {
template <typename Port>
PulsePort portFrom(const Port& port, AudioDirection direction) {
    PulsePortDescription description;
    description.name = port.name == nullptr ? "" : port.name;
    description.description = port.description == nullptr ? "" : port.description;
#if PA_CHECK_VERSION(14, 0, 0)
    description.type = port.type;
#endif
    return {description.name, pulsePortName(description, direction)};
}

template <typename Info>
PulseDevice deviceFrom(const Info& info, AudioDirection direction) {
    PulseDevice device;
    device.direction = direction;
    device.name = info.name == nullptr ? "" : info.name;
    device.description = info.description == nullptr ? device.name : info.description;
    device.format = {info.sample_spec, info.channel_map};
    for (std::uint32_t index = 0; index < info.n_ports; ++index)
        device.ports.push_back(portFrom(*info.ports[index], direction));
    if (info.active_port != nullptr && info.active_port->name != nullptr)
        device.activePort = info.active_port->name;
    return device;
}

void release(pa_operation*& operation) {
    if (operation == nullptr)
        return;
    pa_operation_cancel(operation);
    pa_operation_unref(operation);
    operation = nullptr;
}

void ignoreSuccess(pa_context*, int, void*) {}
} // namespace

void PulseDeviceLister::attach(pa_context* context) {
    detach();
    m_context = context;
    pa_context_set_subscribe_callback(
        context,
        [](pa_context*, pa_subscription_event_type_t, std::uint32_t, void* lister) {
            static_cast<PulseDeviceLister*>(lister)->refresh();
        },
        this);
    constexpr auto followed =
        static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SINK |
                                            PA_SUBSCRIPTION_MASK_CARD | PA_SUBSCRIPTION_MASK_SERVER);
    if (pa_operation* const operation = pa_context_subscribe(context, followed, ignoreSuccess, nullptr))
        pa_operation_unref(operation);
    ask();
}

void PulseDeviceLister::detach() {
    cancel();
    if (m_context != nullptr)
        pa_context_set_subscribe_callback(m_context, nullptr, nullptr);
    m_context = nullptr;
}

void PulseDeviceLister::cancel() {
    release(m_serverQuery);
    release(m_sourcesQuery);
    release(m_sinksQuery);
}

void PulseDeviceLister::refresh() {
    if (m_context == nullptr)
        return;
    if (m_sinksQuery != nullptr)
        m_isStale = true;
    else
        ask();
}

void PulseDeviceLister::ask() {
    m_devices.clear();
    m_failed = false;
    m_isStale = false;
    cancel();
    m_defaultSource.clear();
    m_defaultSink.clear();
    m_serverQuery = pa_context_get_server_info(
        m_context,
        [](pa_context*, const pa_server_info* info, void* lister) {
            if (info != nullptr)
                static_cast<PulseDeviceLister*>(lister)->takeDefaults(*info);
        },
        this);
    m_sourcesQuery = pa_context_get_source_info_list(
        m_context,
        [](pa_context*, const pa_source_info* info, int end, void* lister) {
            auto& self = *static_cast<PulseDeviceLister*>(lister);
            if (end != 0)
                self.finishSources(end < 0);
            else
                self.m_devices.push_back(deviceFrom(*info, AudioDirection::input));
        },
        this);
    m_sinksQuery = pa_context_get_sink_info_list(
        m_context,
        [](pa_context*, const pa_sink_info* info, int end, void* lister) {
            auto& self = *static_cast<PulseDeviceLister*>(lister);
            if (end != 0)
                self.finishSinks(end < 0);
            else
                self.m_devices.push_back(deviceFrom(*info, AudioDirection::output));
        },
        this);
}

void PulseDeviceLister::takeDefaults(const pa_server_info& info) {
    m_defaultSource = info.default_source_name == nullptr ? "" : info.default_source_name;
    m_defaultSink = info.default_sink_name == nullptr ? "" : info.default_sink_name;
}

void PulseDeviceLister::finishSources(bool failed) {
    m_failed = failed;
}

void PulseDeviceLister::finishSinks(bool failed) {
    // The server answers in order, so its defaults and the sources are known by now.
    cancel();
    if (m_isStale) {
        ask();
        return;
    }
    for (PulseDevice& device : m_devices)
        device.isDefault =
            device.name == (device.direction == AudioDirection::input ? m_defaultSource : m_defaultSink);
    if (!failed && !m_failed)
        m_listed(m_devices); // a list that failed leaves the last one standing; the next event asks again
}
