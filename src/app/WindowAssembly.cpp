#include "app/WindowAssembly.h"

#include "app/VmControler.h"
#include "app/VmPrefer.h"
#include "app/window/AdviceWindow.h"
#include "app/window/KeepTab.h"
#include "app/window/MainWindow.h"
#include "app/window/PlayTab.h"
#include "app/window/PreferPanel.h"
#include "app/window/TimerDrawer.h"
#include "app/window/TimerTab.h"
#include "base/Texts.h"
#include "keeper/VmKeeper.h"
#include "library/VmPlayer.h"
#include "library/VmPlayerFiles.h"
#include "recorder/VmLevelMeter.h"
#include "recorder/VmRecorder.h"
#include "schedule/VmReserver.h"
#include "storage/VmMechanic.h"

#include <utility>

namespace {
RecordTabControls recordTabControls(VmControler& controler) {
    VmRecorder& recorder = controler.recorder();
    return {recorder.recordButton(),     recorder.reserveButton(),    recorder.monitorButton(),
            recorder.hourButton(),       recorder.markerButton(),     recorder.conditionField(),
            recorder.modeField(),        recorder.sourceField(),      recorder.rateField(),
            recorder.recordTimeField(),  recorder.totalTimeField(),   recorder.messageField(),
            recorder.reserveNameField(), recorder.reserveTimeField(), recorder.levelSlider(),
            controler.meter().lamps(),   recorder.sourcePopup(),      recorder.writeIndicator()};
}

KeepTab::Controls keepTabControls(VmControler& controler) {
    VmKeeper& keeper = controler.keeper();
    return {controler.keepTable(),     keeper.playButton(),    keeper.copyButton(),
            keeper.cancelCopyButton(), keeper.deleteButton(),  keeper.copyProgressText(),
            keeper.totalFilesText(),   keeper.totalTimeText(), keeper.totalSizeText(),
            keeper.compressIndicator()};
}
} // namespace

std::unique_ptr<MainWindow> assembleWindow(VmControler& controler, const Texts& texts,
                                           std::function<bool()> mayClose) {
    const MainWindow::Controls controls{controler.mainWindow(),
                                        {controler.mainTab(), controler.authorizationButton(),
                                         controler.prefer().preferButton,
                                         [&controler] { controler.openHelp("index.html"); }},
                                        recordTabControls(controler)};
    auto window = std::make_unique<MainWindow>(
        controls, texts,
        MainWindow::Events{.mayClose = std::move(mayClose),
                           .shown = [&controler](bool shown) { controler.recorder().setShown(shown); },
                           .activated = [&controler] { controler.applicationDidBecomeActive(); }});
    VmPlayer& player = controler.player();
    SoundFileExporter& exporter = player.files().exporter();
    window->setPage(1, new PlayTab({player, controler.recordTable(), player.waveView(), exporter.progressBar(),
                                    exporter.cancelButton()},
                                   texts));
    window->setPage(2, new TimerTab(controler.reserver(), texts));
    window->setPage(3, new KeepTab(keepTabControls(controler), texts));
    window->addDrawer(controler.reserver().drawer, new TimerDrawer(controler.reserver(), texts), 2);
    window->addDrawer(controler.prefer().drawer, new PreferPanel(controler.prefer(), texts));
    new AdviceWindow(controler.mechanic().advicePanel(), texts, window.get()); // the window's child
    const auto text = [&texts](const char* key) { return QString::fromStdString(texts(key)); };
    window->addCommand(text("SupportCommand"), {}, [&controler] { controler.actVersionButton(); });
    window->addCommand(text("FeedbackCommand"), {}, [&controler] { controler.actCopyrightButton(); });
    return window;
}
