#include "library/VmPlayList.h"

#include "app/VmControler.h"
#include "base/Clock.h"
#include "base/FolderWatch.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/UserDefaults.h"
#include "library/TimeStrings.h"
#include "storage/Paths.h"
#include "storage/RecordFolder.h"
#include "storage/VmMechanic.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {
constexpr double tickSeconds = 1.0;
constexpr int fewestTicksBetweenLooks = 5; // for folders whose file system tells of nothing
constexpr int mostTicksBetweenLooks = 60;
constexpr double longestShareOfLooking = 1.0 / 300.0; // of the time
constexpr double burstSeconds = 0.2;

const std::vector<TableColumn>& tableColumns() {
    static const std::vector<TableColumn> columns = {
        {.identifier = "LockFlag", .titleKey = "LockFlag"},
        {.identifier = "RecordDate", .titleKey = "RecordDate"},
        {.identifier = "StartTime", .titleKey = "StartTime"},
        {.identifier = "EndTime", .titleKey = "EndTime"},
        {.identifier = "RecordTime", .titleKey = "RecordTime", .rightAligned = true},
        {.identifier = "FileSize", .titleKey = "FileSize", .rightAligned = true},
        {.identifier = "Remark", .titleKey = "Remark", .editable = true}};
    return columns;
}
} // namespace

/// What a reading job is given and what it makes.
struct VmPlayList::Renewal {
    RecordListing::Request request;
    std::vector<SortDescriptor> sort;
    std::shared_ptr<const RecordListing> known;
    std::shared_ptr<const RecordListing> read{}; // by name
    RecordListing sorted{};                      // only its error when all is the same
    bool isSame = false;
    double seconds = 0.0; // that it took
};

VmPlayList::VmPlayList(VmControler& controler)
    : m_controler(controler),
      m_mechanic(controler.mechanic()),
      m_read(std::make_shared<const RecordListing>()),
      m_reader(std::make_unique<JobThread>(controler.seams().clock, controler.seams().runLoop, "record list")) {
}

VmPlayList::~VmPlayList() {
    if (m_superseded != nullptr)
        *m_superseded = true;
    m_reader.reset();
    if (FolderWatch* const folderWatch = m_controler.seams().recordFolderWatch; folderWatch != nullptr)
        folderWatch->end();
    if (m_table == nullptr)
        return;
    m_table->setSortAction(nullptr);
    m_table->setSource(nullptr);
}

void VmPlayList::attach(VmTableView& table) {
    m_table = &table;
    table.setColumns(tableColumns());
    table.setSource(this);
    table.setSortAction([this] { sortDescriptorDidChange(); });
}

RecordListing::Request VmPlayList::request(const std::string& path) const {
    return {.folder = path,
            .progressPath = m_controler.seams().defaults.stringForKey("ProgressSoundFileName"),
            .checkMark = m_controler.seams().texts("CheckMark")};
}

void VmPlayList::initWithDirPath(const std::string& path) {
    if (m_superseded != nullptr)
        *m_superseded = true;
    m_superseded.reset();
    m_wantedPath.clear();
    m_heldBack.reset();
    const std::atomic<bool> never = false;
    RecordListing listing =
        RecordListing::read(m_controler.seams().volume, request(path), RecordListing(), never);
    reportUnreadable(listing.error);
    m_read = std::make_shared<const RecordListing>(listing);
    listing.sort(m_sort);
    show(std::move(listing));
    watch();
}

void VmPlayList::renewWithDirPath(const std::string& path) {
    if (m_superseded == nullptr) {
        startRenewal(path);
        return;
    }
    m_wantedPath = path;
}

void VmPlayList::startRenewal(const std::string& path) {
    auto renewal =
        std::make_shared<Renewal>(Renewal{.request = request(path), .sort = m_sort, .known = m_read});
    m_superseded = std::make_shared<std::atomic<bool>>(false);
    m_reader->perform([this, renewal, superseded = m_superseded, &clock = m_controler.seams().clock,
                       &volume = m_controler.seams().volume]() -> JobThread::Report {
        const HostTime begin = clock.hostTime();
        RecordListing listing = RecordListing::read(volume, renewal->request, *renewal->known, *superseded);
        if (*superseded)
            return nullptr;
        renewal->isSame = listing.error == renewal->known->error && listing.isSame(*renewal->known);
        if (renewal->isSame) {
            renewal->read = renewal->known;
            renewal->sorted.error = listing.error;
        } else {
            renewal->read = std::make_shared<const RecordListing>(listing);
            listing.sort(renewal->sort);
            renewal->sorted = std::move(listing);
        }
        renewal->seconds = static_cast<double>(clock.hostTime() - begin) * 1e-9;
        return [this, renewal, superseded] {
            if (!*superseded)
                finishRenewal(renewal);
        };
    });
    watch();
}

void VmPlayList::finishRenewal(const std::shared_ptr<Renewal>& renewal) {
    m_superseded.reset();
    m_heldBack.reset();
    m_ticksBetweenLooks = std::clamp(static_cast<int>(renewal->seconds / (longestShareOfLooking * tickSeconds)),
                                     fewestTicksBetweenLooks, mostTicksBetweenLooks);
    reportUnreadable(renewal->sorted.error);
    if (isEditing())
        m_heldBack = renewal;
    else
        apply(*renewal);
    if (!m_wantedPath.empty())
        startRenewal(std::exchange(m_wantedPath, {}));
}

void VmPlayList::apply(Renewal& renewal) {
    m_read = renewal.read;
    if (renewal.isSame)
        return;
    if (renewal.sort != m_sort)
        renewal.sorted.sort(m_sort);
    show(std::move(renewal.sorted));
}

void VmPlayList::show(RecordListing listing) {
    const int selected = m_table == nullptr ? -1 : m_table->selectedRow();
    const std::string name = fileNameAtRow(selected);
    const FileStatus file = rowAt(selected) == nullptr ? FileStatus() : rowAt(selected)->file;
    const bool sameFolder = listing.folder == m_shown.folder;
    m_shown = std::move(listing);
    if (m_table != nullptr) {
        int row = sameFolder && selected >= 0 ? m_shown.rowOfName(name) : -1;
        if (row < 0 && sameFolder && selected >= 0)
            row = m_shown.rowOfFile(file, name);
        m_table->selectRow(row);
        m_table->reloadData();
    }
    if (m_renewed)
        m_renewed();
}

void VmPlayList::renewRow(const std::string& name) {
    const int row = m_shown.rowOfName(name);
    if (row < 0)
        return;
    RecordRow renewed;
    if (RecordListing::readRow(m_controler.seams().volume, request(m_shown.folder), name, renewed)) {
        putRow(row, std::move(renewed));
        return;
    }
    RecordListing left = m_shown;
    left.names.erase(left.names.begin() + row);
    left.rows.erase(left.rows.begin() + row);
    show(std::move(left));
}

void VmPlayList::putRow(int row, RecordRow renewed) {
    m_shown.rows[static_cast<std::size_t>(row)] = std::move(renewed);
    if (m_table != nullptr)
        m_table->reloadData();
    if (m_renewed)
        m_renewed();
}

void VmPlayList::readProgressRow(const std::string& name) {
    m_reader->perform([this, name, asked = request(m_shown.folder),
                       &volume = m_controler.seams().volume]() -> JobThread::Report {
        RecordRow renewed;
        if (!RecordListing::readRow(volume, asked, name, renewed))
            return nullptr; // it has another name by now
        return [this, name, renewed] {
            const int row = m_shown.rowOfName(name);
            if (row >= 0 && m_shown.rows[static_cast<std::size_t>(row)].file != renewed.file && !isEditing())
                putRow(row, renewed);
        };
    });
}

void VmPlayList::sortDescriptorDidChange() {
    const SortDescriptor& latest = m_table->sortDescriptor();
    std::erase_if(m_sort, [&latest](const SortDescriptor& each) { return each.column == latest.column; });
    if (!latest.column.empty())
        m_sort.insert(m_sort.begin(), latest);
    RecordListing listing = m_shown;
    listing.sort(m_sort);
    show(std::move(listing));
}

void VmPlayList::reportUnreadable(int error) {
    const bool wasUnreadable = std::exchange(m_unreadable, error != 0);
    if (error == 0 || wasUnreadable)
        return;
    const std::string message =
        std::string("VmPlayList: record folder cannot be read: ") + std::strerror(error);
    m_controler.seams().log.log(message);
    m_controler.seams().notifications.postLogEvent("SomeErrorHappen", message);
}

void VmPlayList::setShown(bool shown) {
    if (!shown) {
        m_tick.reset();
        m_burst.reset();
        if (FolderWatch* const folderWatch = m_controler.seams().recordFolderWatch; folderWatch != nullptr)
            folderWatch->end();
        return;
    }
    if (m_tick != nullptr)
        return;
    m_ticks = 0;
    m_tick =
        m_controler.seams().runLoop.schedule({.interval = tickSeconds, .repeats = true}, [this] { tick(); });
    renewWithDirPath(m_mechanic.recordFolder());
}

void VmPlayList::watch() {
    FolderWatch* const folderWatch = m_controler.seams().recordFolderWatch;
    if (m_tick != nullptr && folderWatch != nullptr)
        folderWatch->watch(m_mechanic.recordFolder(), [this] { folderChanged(); });
}

void VmPlayList::folderChanged() {
    if (m_tick == nullptr || m_burst != nullptr)
        return;
    m_burst = m_controler.seams().runLoop.schedule({.interval = burstSeconds}, [this] {
        m_burst.reset();
        renewWithDirPath(m_mechanic.recordFolder());
    });
}

void VmPlayList::tick() {
    if (m_heldBack != nullptr && !isEditing())
        apply(*std::exchange(m_heldBack, nullptr));
    const auto inProgress = std::ranges::find_if(m_shown.rows, &RecordRow::inProgress);
    const std::string listed = inProgress == m_shown.rows.end()
                                   ? std::string()
                                   : m_shown.names[static_cast<std::size_t>(inProgress - m_shown.rows.begin())];
    const std::string progress = m_controler.seams().defaults.stringForKey("ProgressSoundFileName");
    const bool isTimeToLook = ++m_ticks >= m_ticksBetweenLooks;
    if (isTimeToLook)
        m_ticks = 0;
    if (isTimeToLook || listed != RecordFolder::bareName(progress))
        renewWithDirPath(m_mechanic.recordFolder());
    else if (!listed.empty() && !isRenewing())
        readProgressRow(listed);
}
