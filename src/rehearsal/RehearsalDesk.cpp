#include "rehearsal/RehearsalDesk.h"

#include "app/VmControler.h"
#include "storage/Paths.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace {
constexpr std::pair<const char*, const char*> folderSettings[] = {
    {"DirectoryPath", "record"}, {"KeepFileKeepFolder", "preserve"}, {"KeepFileExpandFolder", "expand"}};

bool isFolderSetting(const std::string& key) {
    return std::ranges::any_of(folderSettings, [&key](const auto& setting) { return setting.first == key; });
}

QString placed(const QString& path, const QString& folder) {
    const bool isWhole = path.startsWith(QLatin1Char('/')) || path.startsWith(QLatin1Char('~'));
    return isWhole ? path : folder + QLatin1Char('/') + path;
}

/// Beside the folder of the running program.
std::string bundledSounds() {
    std::error_code unknown;
    const auto program = std::filesystem::read_symlink("/proc/self/exe", unknown);
    return (program.parent_path().parent_path() / "share/velmoratide/sounds").string();
}
} // namespace

Date RehearsalDesk::startDate(const QTimeZone& zone, const CalendarDate& start) {
    return VirtualClock(zone, {}).dateFromLocal(start);
}

RehearsalDesk::RehearsalDesk(std::string deskFolder, QTimeZone zone, const CalendarDate& start,
                             std::vector<SimulatedDevice> devices, const std::vector<Setting>& settings)
    : folder(std::move(deskFolder)),
      clock(zone, startDate(zone, start)),
      defaults(folder + "/settings.json", log),
      hardware(clock, std::move(devices)),
      soundFolders{folder + "/sounds", bundledSounds()} {
    VmControler::registerDefaults(defaults);
    for (const auto& [key, name] : folderSettings)
        if (const std::string path = defaults.stringForKey(key); path.empty() || path.starts_with('~'))
            defaults.set(key, Paths::inFolder(folder, name));
    for (const Setting& setting : settings)
        defaults.set(setting.key, stored(setting.key, setting.value));
}

QJsonValue RehearsalDesk::stored(const std::string& key, const QJsonValue& value) const {
    return isFolderSetting(key) ? QJsonValue(placed(value.toString(), QString::fromStdString(folder))) : value;
}

void RehearsalDesk::bringFoldersHome(const QJsonObject& chosen) {
    for (const auto& [key, name] : folderSettings)
        if (!chosen.contains(QLatin1String(key)) && !defaults.stringForKey(key).starts_with(folder + "/"))
            defaults.set(key, Paths::inFolder(folder, name));
}

void RehearsalDesk::makeFolders() {
    for (const auto& [key, name] : folderSettings)
        if (const std::string path = defaults.stringForKey(key); path.starts_with(folder + "/"))
            files.makeFolder(path); // one that cannot be made is the application's to report
}

RehearsalDesk::~RehearsalDesk() = default;

void RehearsalDesk::makeControllers() {
    controler = std::make_unique<VmControler>(Seams{clock,
                                                    runLoop,
                                                    notifications,
                                                    defaults,
                                                    log,
                                                    alert,
                                                    texts,
                                                    hardware,
                                                    volume,
                                                    administratorRight,
                                                    savePanel,
                                                    workspace,
                                                    soundFolders,
                                                    "rehearsal",
                                                    {},
                                                    {},
                                                    {},
                                                    &folderWatch});
}

void RehearsalDesk::launch() {
    if (controler == nullptr)
        makeControllers();
    controler->applicationDidFinishLaunching();
}

void RehearsalDesk::terminate() {
    controler->applicationWillTerminate();
    controler.reset();
}
