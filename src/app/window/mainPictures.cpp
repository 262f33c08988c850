// Renders the record tab and the play tab in each state, its questions and the log book, in each theme and
// language: velmoratide-pictures <folder>.
#include "app/MainWindowModel.h"
#include "app/window/Icons.h"
#include "app/window/LogBookWindow.h"
#include "app/window/MainWindow.h"
#include "app/window/PlayPictures.h"
#include "app/window/QtAlert.h"
#include "base/QtRunLoop.h"
#include "base/Texts.h"
#include "storage/PosixVolume.h"

#include <cstdio>
#include <QApplication>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QTemporaryDir>
#include <QTimer>
#include <string>

namespace {
struct Scene {
    Button record, reserve, monitor, hour, marker;
    TextField condition, mode, source, rate, recordTime, totalTime, message, reserveName, reserveTime;
    Slider level{0, LampColumn::count};
    LampColumn lamps;
    Popup sources;
    Indicator write;
    MainWindowModel mainWindow;
    TabView tabs;
    Button authorization, preferences;
    bool japanese = false; // names of entries are a person's, not texts of the program

    RecordTabControls controls() {
        return {record,     reserve,   monitor, hour,        marker,      condition, mode,  source,  rate,
                recordTime, totalTime, message, reserveName, reserveTime, level,     lamps, sources, write};
    }
    MainWindow::Controls window() {
        mainWindow.setSize(352, 262);
        return {mainWindow, {tabs, authorization, preferences, [] {}}, controls()};
    }
    void light(int bar, int peak) {
        for (int index = 0; index < LampColumn::count; ++index)
            lamps.setLit(index, index < bar || index == peak - 1);
    }
};

void setIdle(Scene& scene, const Texts& texts) {
    scene.hour.setOn(true);
    scene.marker.setEnabled(false);
    scene.condition.setText(texts("Stopped"));
    scene.mode.setText(texts("AlwaysMode"));
    scene.source.setText(texts("InternalSource"));
    scene.rate.setText("22.05 kHz " + texts("ChannelMono"));
    scene.recordTime.setText("0'00\"");
    scene.totalTime.setText("0'00\"");
    scene.sources.setItems({texts("InternalSource"), texts("ExternalSource")});
    scene.sources.select(0);
    scene.level.setValue(8);
    scene.light(3, 5);
}

void setRecording(Scene& scene, const Texts& texts) {
    setIdle(scene, texts);
    scene.record.setOn(true);
    scene.reserve.setEnabled(false);
    scene.sources.setEnabled(false);
    scene.level.setEnabled(false);
    scene.monitor.setOn(true);
    scene.condition.setText(texts("Recording"));
    scene.condition.setColor(TextColor::red);
    scene.recordTime.setText("1:48'07\"");
    scene.totalTime.setText("168:48'07\"");
    scene.write.setAnimating(true);
    scene.light(12, 14);
}

void setOverLevel(Scene& scene, const Texts& texts) {
    setRecording(scene, texts);
    scene.mode.setText(texts("AutoMode"));
    const std::string longName = "USB Audio CODEC Analog Stereo, front panel connector, second unit";
    scene.source.setText(longName);
    scene.sources.setItems({longName});
    scene.rate.setText("44.1 kHz " + texts("ChannelStereo"));
    scene.level.setValue(20);
    scene.light(20, 20);
}

void setNoDevice(Scene& scene, const Texts& texts) {
    setIdle(scene, texts);
    scene.record.setEnabled(false);
    scene.monitor.setEnabled(false);
    scene.level.setEnabled(false);
    scene.level.setValue(0);
    scene.source.setText("");
    scene.rate.setText("");
    scene.sources.setItems({});
    scene.sources.select(-1);
    scene.message.setText(texts("NoRecordSource"));
    scene.message.setColor(TextColor::red);
    scene.light(0, 0);
}

/// The timetable is on and its next entry is far.
void setWaitingFar(Scene& scene, const Texts& texts) {
    setIdle(scene, texts);
    scene.reserve.setOn(true);
    scene.record.setEnabled(false);
    scene.sources.setEnabled(false);
    scene.level.setEnabled(false);
    scene.hour.setOn(false);
    scene.condition.setText(texts("Standby"));
    scene.mode.setText(texts("TimerMode"));
    scene.reserveName.setText(scene.japanese ? "夜のニュース" : "Evening news");
    scene.reserveTime.setText(texts("ReserveStartTime") + " 21:00");
}

void setWaitingSoon(Scene& scene, const Texts& texts) {
    setWaitingFar(scene, texts);
    scene.condition.setText("4'59\"" + texts("Before"));
    scene.condition.setColor(TextColor::red);
    scene.reserveName.setText(scene.japanese ? "早朝の野鳥観察と森の環境音の長時間録音（北側の窓）"
                                             : "Dawn chorus at the north window, long-term survey");
    scene.reserveTime.setText(texts("ReserveStartTime") + " 04:30");
}

void setTimetableRecording(Scene& scene, const Texts& texts) {
    setWaitingFar(scene, texts);
    scene.monitor.setOn(true);
    scene.condition.setText(texts("Recording"));
    scene.condition.setColor(TextColor::red);
    scene.mode.setText(texts("AlwaysMode"));
    scene.reserveTime.setText(texts("ReserveStopTime") + " 21:30");
    scene.recordTime.setText("12'34\"");
    scene.totalTime.setText("2:12'34\"");
    scene.write.setAnimating(true);
    scene.light(12, 14);
}

/// Monitoring was switched off for a reason, while the timetable waits.
void setWaitingWithMessage(Scene& scene, const Texts& texts) {
    setWaitingSoon(scene, texts);
    scene.message.setText(texts("HowlingProtected"));
}

void setHourOff(Scene& scene, const Texts& texts) {
    setRecording(scene, texts);
    scene.hour.setOn(false);
}

/// Switches that are on and disabled.
void setOnDisabled(Scene& scene, const Texts& texts) {
    setRecording(scene, texts);
    for (Button* button : {&scene.record, &scene.reserve, &scene.monitor, &scene.hour, &scene.marker}) {
        button->setOn(button != &scene.marker);
        button->setEnabled(false);
    }
}

QPalette darkPalette() {
    QPalette palette(QColor(0x2b, 0x2e, 0x33), QColor(0x2b, 0x2e, 0x33));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x22, 0x26));
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3e, 0x44));
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(role, QColor(0xec, 0xed, 0xee));
    palette.setColor(QPalette::PlaceholderText, QColor(0xa0, 0xa4, 0xa8));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8f, 0xd6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText})
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x84, 0x88));
    return palette;
}

QPixmap pictureOf(QWidget& widget) {
    QPixmap picture(widget.size() * 2);
    picture.setDevicePixelRatio(2);
    widget.render(&picture);
    return picture;
}

/// A search in a log book.
QPixmap renderLogBook(const std::string& language) {
    const Texts texts = Texts::forLanguage(language);
    const QTemporaryDir folder;
    const QString path = folder.filePath("VelmoratideLog.txt");
    QFile book(path);
    if (!book.open(QIODevice::WriteOnly))
        return {};
    for (int hour = 8; hour < 18; ++hour)
        for (const char* title : {"RECORDING START", "RECORDING STOP"})
            book.write(QString("2007.10.24 %1:00:00 %2 #%3\n\t%4\t= internal\n\n")
                           .arg(hour, 2, 10, QChar('0'))
                           .arg(QString::fromStdString(texts(title)))
                           .arg(hour - 7, 6, 10, QChar('0'))
                           .arg(QString::fromStdString(texts("start method")))
                           .toUtf8());
    book.close();
    PosixVolume volume;
    LogBookWindow window(volume, texts, [&path] { return path.toStdString(); });
    window.present();
    window.findChild<QLineEdit*>()->setText(QStringLiteral("17:00"));
    QApplication::processEvents();
    return pictureOf(window);
}

QPixmap render(const std::string& language, void (*set)(Scene&, const Texts&)) {
    const Texts texts = Texts::forLanguage(language);
    Scene scene;
    scene.japanese = language == "ja";
    set(scene, texts);
    MainWindow window(scene.window(), texts, {.mayClose = [] { return true; }});
    window.show();
    QApplication::processEvents();
    return pictureOf(window);
}

/// The question as a person gets it.
QPixmap renderAlert(const std::string& language, const AlertRequest& request) {
    const Texts texts = Texts::forLanguage(language);
    QtRunLoop runLoop(*QCoreApplication::instance());
    QtAlert alert(runLoop, texts);
    QPixmap picture;
    QTimer::singleShot(0, [&] {
        if (QWidget* box = QApplication::activeModalWidget(); box != nullptr)
            picture = pictureOf(*box);
        alert.dismissQuestion();
    });
    alert.ask(request);
    return picture;
}

bool save(const QPixmap& picture, const QString& path) {
    if (picture.save(path))
        return true;
    std::fprintf(stderr, "cannot write %s\n", qPrintable(path));
    return false;
}

constexpr std::pair<const char*, void (*)(Scene&, const Texts&)> scenes[] = {
    {"idle", setIdle},
    {"recording", setRecording},
    {"over-level", setOverLevel},
    {"no-device", setNoDevice},
    {"hour-off", setHourOff},
    {"waiting-far", setWaitingFar},
    {"waiting-soon", setWaitingSoon},
    {"timetable-recording", setTimetableRecording},
    {"waiting-message", setWaitingWithMessage},
    {"on-disabled", setOnDisabled}};

const std::pair<const char*, AlertRequest> alerts[] = {
    {"unable-exit", {"UnableExit", "StopRecording", "Understand"}},
    {"timer-stop-soon", {"TimerStopCaution", "ReserveCancelInfo", "RecordStop", "Cancel"}},
    {"timer-stop-recording", {"TimerStopCaution", "TimerStopInfo", "RecordStop", "Cancel"}}};

/// All pictures of one theme and language, and a sheet of the window's.
bool renderOne(const QDir& folder, const QString& theme, const QString& language) {
    constexpr int columns = 4;
    const QSize size(352, 262);
    const int count = static_cast<int>(std::size(scenes));
    QPixmap sheet(size.width() * columns, size.height() * ((count + columns - 1) / columns));
    sheet.fill(Qt::gray);
    QPainter painter(&sheet);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    int cell = 0;
    for (const auto& [name, set] : scenes) {
        const QPixmap picture = render(language.toStdString(), set);
        painter.drawPixmap(QRect(QPoint(cell % columns * size.width(), cell / columns * size.height()), size),
                           picture);
        ++cell;
        if (!save(picture, folder.filePath(QString("record-%1-%2-%3.png").arg(name, theme, language))))
            return false;
    }
    for (const auto& [name, request] : alerts)
        if (!save(renderAlert(language.toStdString(), request),
                  folder.filePath(QString("alert-%1-%2-%3.png").arg(name, theme, language))))
            return false;
    painter.end();
    for (const auto& [name, picture] : PlayPictures::of(language.toStdString()))
        if (!save(picture,
                  folder.filePath(
                      QString("play-%1-%2-%3.png").arg(QString::fromStdString(name), theme, language))))
            return false;
    return save(sheet, folder.filePath(QString("all-%1-%2.png").arg(theme, language)));
}

bool renderAll(const QDir& folder) {
    const QPalette light = QApplication::palette();
    for (const auto& [theme, palette] : {std::pair{"light", light}, std::pair{"dark", darkPalette()}}) {
        QApplication::setPalette(palette);
        for (const char* language : {"en", "ja", "de"})
            if (!renderOne(folder, theme, language) ||
                !save(renderLogBook(language),
                      folder.filePath(QString("log-book-%1-%2.png").arg(theme, language))))
                return false;
    }
    return save(Icons::application().pixmap(256, 256), folder.filePath("icon.png"));
}
} // namespace

int main(int argc, char* argv[]) {
    QApplication application(argc, argv);
    QApplication::setStyle("Fusion");
    QFont font;
    font.setFamilies({"DejaVu Sans", "Noto Sans CJK JP"});
    QApplication::setFont(font);
    return renderAll(QDir(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString("."))) ? 0 : 1;
}
