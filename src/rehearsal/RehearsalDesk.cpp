#include "rehearsal/RehearsalDesk.h"

#include "app/VmControler.h"

Date RehearsalDesk::startDate(const QTimeZone& zone, const CalendarDate& start) {
    return VirtualClock(zone, {}).dateFromLocal(start);
}

RehearsalDesk::RehearsalDesk(std::string deskFolder, QTimeZone zone, const CalendarDate& start,
                             std::vector<SimulatedDevice> devices, const std::vector<Setting>& settings)
    : folder(std::move(deskFolder)),
      clock(zone, startDate(zone, start)),
      defaults(folder + "/settings.json", log),
      hardware(clock, std::move(devices)) {
    VmControler::registerDefaults(defaults);
    defaults.set("DirectoryPath", recordFolder());
    for (const Setting& setting : settings)
        defaults.set(setting.key, setting.value);
}

RehearsalDesk::~RehearsalDesk() = default;

void RehearsalDesk::launch() {
    controler = std::make_unique<VmControler>(
        Seams{clock, runLoop, notifications, defaults, log, alert, texts, hardware, volume,
              administratorRight});
    controler->applicationDidFinishLaunching();
}

void RehearsalDesk::terminate() {
    controler->applicationWillTerminate();
    controler.reset();
}
