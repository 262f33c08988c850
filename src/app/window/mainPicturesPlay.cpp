#include "app/window/PlayPictures.h"
#include "app/window/PlayTab.h"
#include "base/Formatted.h"
#include "base/NotificationCenter.h"
#include "base/SystemLog.h"
#include "base/Texts.h"
#include "base/VmTableView.h"
#include "library/PlayerControls.h"
#include "library/VmWaveView.h"
#include "library/WaveformPicture.h"

#include <cmath>
#include <QApplication>
#include <QPainter>
#include <QPixmap>

namespace {
struct NoLog final : SystemLog {
    void log(std::string_view) override {}
};

/// A folder of hourly recordings.
class PlayScene : public TableSource {
public:
    explicit PlayScene(bool japanese) : m_japanese(japanese) {
        table.setColumns({{.identifier = "LockFlag", .titleKey = "LockFlag"},
                          {.identifier = "RecordDate", .titleKey = "RecordDate"},
                          {.identifier = "StartTime", .titleKey = "StartTime"},
                          {.identifier = "EndTime", .titleKey = "EndTime"},
                          {.identifier = "RecordTime", .titleKey = "RecordTime", .rightAligned = true},
                          {.identifier = "FileSize", .titleKey = "FileSize", .rightAligned = true},
                          {.identifier = "Remark", .titleKey = "Remark", .editable = true}});
        table.setSource(this);
        table.setSortDescriptor({"RecordDate", true});
        player.stepFastStepper().setValue(10);
        player.endlessCheck().setOn(true);
        player.playDevicePicture().setToolTip("Built-in Audio Analog Stereo");
        exportProgress.setEnabled(false);
        cancelExport.setEnabled(false);
        setRows(0);
    }
    int numberOfRows() const override { return m_rows; }
    std::string cell(int row, std::string_view column) const override {
        if (column == "LockFlag")
            return row % 5 == 1 ? "✓" : "";
        if (column == "RecordDate")
            return formatted("07.%02d.%02d", row / 24 / 28 % 12 + 1, row / 24 % 28 + 1);
        if (column == "StartTime")
            return formatted("%02d:00:00", row % 24);
        if (column == "EndTime")
            return formatted("%02d:00:00", (row + 1) % 24);
        if (column == "RecordTime")
            return "1:00'00\"";
        if (column == "FileSize")
            return "151.4";
        if (column == "Remark" && row % 3 == 0)
            return m_japanese ? "早朝の野鳥観察、北側の窓"
                              : "Dawn chorus at the north window, long-term survey";
        return {};
    }
    void setRows(int rows) {
        m_rows = rows;
        table.reloadData();
        player.totalFilesText().setText(std::to_string(rows));
        player.totalTimeText().setText(formatted("%d:00'00\"", rows));
        player.totalSizeText().setText(formatted("%.1f", rows * 151.4));
        for (Button* button : {&player.headButton(), &player.backButton(), &player.playButton(),
                               &player.fastButton(), &player.tailButton(), &player.lockButton(),
                               &player.noteButton(), &player.copyButton(), &player.deleteButton()})
            button->setEnabled(rows > 0);
        player.pointSlider().setEnabled(rows > 0);
    }
    void select(int row) {
        table.selectRow(row);
        player.pointSlider().setRange(0, 158'760'000);
        player.headText().setText("02:00:00");
        player.tailText().setText("03:00:00");
        player.lengthText().setText("1:00'00\"");
        player.positionText().setText("02:00:00");
        std::vector<WaveformEnvelope::Column> columns;
        for (int x = 0; x < wave.bounds().width(); ++x) {
            const double height = 30'000.0 * std::abs(std::sin(x * 0.021) * std::sin(x * 0.37 + 1.0)) + 300.0;
            columns.push_back({static_cast<std::int16_t>(-height), static_cast<std::int16_t>(height * 0.9)});
        }
        wave.setImage(WaveformPicture::drawn(columns, wave.bounds()));
    }
    PlayTabControls controls() { return {player, table, wave, exportProgress, cancelExport}; }

    struct Player : PlayerControls {};
    NotificationCenter notifications;
    NoLog log;
    Player player;
    VmTableView table;
    VmWaveView wave{notifications, log};
    Slider exportProgress{0, 1000};
    Button cancelExport;

private:
    const bool m_japanese;
    int m_rows = 0;
};

void setEmpty(PlayScene&) {}

void setThreeRows(PlayScene& scene) {
    scene.setRows(3);
    scene.select(1);
}

void setTenThousandRows(PlayScene& scene) {
    scene.setRows(10'000);
    scene.select(5'002);
}

void setPlaying(PlayScene& scene) {
    setThreeRows(scene);
    scene.player.playButton().setOn(true);
    scene.player.playButton().setImage("StopButton.png");
    scene.player.pointSlider().setValue(60'000'000);
    scene.player.positionText().setText("02:22:40");
    QPainter(&scene.wave.imageToDrawInto()).fillRect(181, 0, 1, scene.wave.bounds().height(), Qt::red);
}

void setRange(PlayScene& scene) {
    setThreeRows(scene);
    scene.wave.setSelectedRange({120, 150});
    scene.wave.markSelectedRange({120, 150});
    scene.player.headText().setText("02:15:00");
    scene.player.tailText().setText("02:33:45");
    scene.player.lengthText().setText("18'45\"");
}

void setExporting(PlayScene& scene) {
    setTenThousandRows(scene);
    scene.exportProgress.setEnabled(true);
    scene.exportProgress.setValue(420);
    scene.cancelExport.setEnabled(true);
    scene.player.copyButton().setEnabled(false);
}

/// The selected recording's picture is being made.
void setDrawing(PlayScene& scene) {
    setThreeRows(scene);
    scene.wave.setImage({});
    scene.wave.expectImage("sound");
    scene.wave.setProgress("sound", 0.42);
}

constexpr std::pair<const char*, void (*)(PlayScene&)> scenes[] = {
    {"empty", setEmpty},        {"three-rows", setThreeRows}, {"many-rows", setTenThousandRows},
    {"playing", setPlaying},    {"range", setRange},          {"drawing", setDrawing},
    {"exporting", setExporting}};
} // namespace

std::vector<std::pair<std::string, QPixmap>> PlayPictures::of(const std::string& language) {
    const Texts texts = Texts::forLanguage(language);
    std::vector<std::pair<std::string, QPixmap>> pictures;
    for (const auto& [name, set] : scenes) {
        PlayScene scene(language == "ja");
        PlayTab tab(scene.controls(), texts);
        tab.show();
        set(scene);
        QApplication::processEvents();
        QPixmap picture(tab.size() * 2);
        picture.setDevicePixelRatio(2);
        tab.render(&picture);
        pictures.emplace_back(name, picture);
    }
    return pictures;
}
