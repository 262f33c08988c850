// The models of a play tab, for the window's tests.
#pragma once
#include "app/window/PlayTabControls.h"
#include "base/NotificationCenter.h"
#include "base/VmTableView.h"
#include "library/PlayerControls.h"
#include "library/VmWaveView.h"
#include "rehearsal/RecordedSystemLog.h"

#include <string>
#include <vector>

struct PlayModels : TableSource {
    struct Player : PlayerControls {};

    PlayModels() {
        table.setColumns({{.identifier = "LockFlag", .titleKey = "LockFlag"},
                          {.identifier = "RecordDate", .titleKey = "RecordDate"},
                          {.identifier = "StartTime", .titleKey = "StartTime"},
                          {.identifier = "EndTime", .titleKey = "EndTime"},
                          {.identifier = "RecordTime", .titleKey = "RecordTime", .rightAligned = true},
                          {.identifier = "FileSize", .titleKey = "FileSize", .rightAligned = true},
                          {.identifier = "Remark", .titleKey = "Remark", .editable = true}});
        table.setSource(this);
    }
    int numberOfRows() const override { return rows; }
    std::string cell(int row, std::string_view column) const override {
        ++asked;
        return std::string(column) + " " + std::to_string(row);
    }
    std::vector<std::string> draggedFiles(const std::vector<int>& dragged) const override {
        std::vector<std::string> files;
        for (const int row : dragged)
            files.push_back("/records/sound " + std::to_string(row) + ".aif");
        return files;
    }
    void setRows(int count) {
        rows = count;
        table.reloadData();
    }
    PlayTabControls controls() { return {player, table, wave, exportProgress, cancelExport}; }

    int rows = 0;
    mutable int asked = 0; ///< cells
    NotificationCenter notifications;
    RecordedSystemLog log;
    Player player;
    VmTableView table;
    VmWaveView wave{notifications, log};
    Slider exportProgress{0, 1000};
    Button cancelExport;
};
