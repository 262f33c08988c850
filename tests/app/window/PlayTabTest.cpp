#include "app/window/PlayTab.h"

#include "app/window/CaptionButton.h"
#include "app/window/FittingLabel.h"
#include "app/window/SeekSlider.h"
#include "app/window/TableBox.h"
#include "app/window/WaveView.h"
#include "base/Texts.h"
#include "PlayModels.h"

#include <gtest/gtest.h>
#include <memory>
#include <QApplication>
#include <QCheckBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QMimeData>
#include <QProgressBar>
#include <QScrollBar>
#include <QSpinBox>
#include <QTest>
#include <QUrl>

namespace {
struct PlayTabTest : testing::Test {
    PlayTabTest() {
        QImage picture(models.wave.bounds(), QImage::Format_RGB32);
        picture.fill(qRgb(0, 100, 100));
        models.wave.setImage(picture);
        models.setRows(3);
        models.player.pointSlider().setRange(0, 1000);
        tab = std::make_unique<PlayTab>(models.controls(), texts);
        tab->show();
        tab->activateWindow();
        QApplication::processEvents();
    }
    template <typename Widget>
    Widget& named(const char* name) const {
        auto* widget = dynamic_cast<Widget*>(tab->findChild<QWidget*>(name));
        if (widget == nullptr)
            throw std::runtime_error(name);
        return *widget;
    }
    TableBox& table() const { return named<TableBox>("Table"); }
    void clickRow(int row) const {
        const QRect cell = table().visualRect(table().model()->index(row, 1));
        QTest::mouseClick(table().viewport(), Qt::LeftButton, Qt::NoModifier, cell.center());
    }
    /// A drag on the waveform, in its points.
    void dragWave(const std::vector<int>& points, Qt::KeyboardModifiers modifiers = Qt::NoModifier) const {
        auto& wave = named<WaveView>("Wave");
        const auto at = [](int x) { return QPoint(x + 2, 30); };
        QTest::mousePress(&wave, Qt::LeftButton, modifiers, at(points.front()));
        for (const int x : points) {
            QMouseEvent move(QEvent::MouseMove, at(x), wave.mapToGlobal(at(x)), Qt::NoButton, Qt::LeftButton,
                             modifiers);
            QApplication::sendEvent(&wave, &move);
        }
        QTest::mouseRelease(&wave, Qt::LeftButton, modifiers, at(points.back()));
    }
    int pressesOf(Button& button, const std::function<void()>& act) const {
        int presses = 0;
        button.setAction([&presses] { ++presses; });
        act();
        button.setAction({});
        return presses;
    }

    const Texts texts = Texts::forLanguage("en");
    PlayModels models;
    std::unique_ptr<PlayTab> tab;
};
} // namespace

TEST_F(PlayTabTest, hasItsSizeWhateverItShows) {
    EXPECT_EQ(tab->size(), QSize(510, 290));
    models.setRows(10'000);
    EXPECT_EQ(tab->size(), QSize(510, 290));
}

TEST_F(PlayTabTest, selectsFrom80To100_afterARealDragFrom100To150AndBackTo80) {
    dragWave({100, 150, 80});
    EXPECT_EQ(models.wave.selectedRange(), (WaveRange{80, 20}));
}

TEST_F(PlayTabTest, extendsTheRange_afterARealShiftDragFromItsEnd) {
    dragWave({50, 120});
    dragWave({120, 200}, Qt::ShiftModifier);
    EXPECT_EQ(models.wave.selectedRange(), (WaveRange{50, 150}));
}

TEST_F(PlayTabTest, ignoresRealDragStepsBeyondTheEdges) {
    dragWave({100, 150, -5, 481, 600});
    EXPECT_EQ(models.wave.selectedRange(), (WaveRange{100, 50}));
}

TEST_F(PlayTabTest, selectsNothing_afterARealClickOrWithAnotherButton) {
    dragWave({100});
    EXPECT_EQ(models.wave.selectedRange().length, 0U);
    auto& wave = named<WaveView>("Wave");
    QTest::mousePress(&wave, Qt::RightButton, Qt::NoModifier, QPoint(50, 10));
    QTest::mouseMove(&wave, QPoint(90, 10));
    QTest::mouseRelease(&wave, Qt::RightButton, Qt::NoModifier, QPoint(90, 10));
    EXPECT_EQ(models.wave.selectedRange().length, 0U);
}

TEST_F(PlayTabTest, handsArrowsOnTheWaveformToTheRange) {
    auto& wave = named<WaveView>("Wave");
    wave.setFocus();
    QTest::keyClick(&wave, Qt::Key_Right);
    QTest::keyClick(&wave, Qt::Key_Left, Qt::ShiftModifier);
    EXPECT_EQ(models.log.lines(), (std::vector<std::string>{"extendRight", "reduceRight"}));
}

TEST_F(PlayTabTest, choosesTheRowThatIsClicked) {
    int chosen = 0;
    models.table.setRowAction([&] { ++chosen; });
    clickRow(1);
    EXPECT_EQ(models.table.selectedRow(), 1);
    EXPECT_EQ(chosen, 1);
}

TEST_F(PlayTabTest, showsTheRowThatTheTableSelects_withoutChoosingIt) {
    int chosen = 0;
    models.table.setRowAction([&] { ++chosen; });
    models.table.selectRow(2);
    EXPECT_TRUE(table().selectionModel()->isRowSelected(2));
    models.table.selectRow(-1);
    EXPECT_FALSE(table().selectionModel()->hasSelection());
    EXPECT_EQ(chosen, 0);
}

TEST_F(PlayTabTest, movesThroughTheRowsByTheKeyboard) {
    table().setFocus();
    clickRow(0);
    QTest::keyClick(&table(), Qt::Key_Down);
    EXPECT_EQ(models.table.selectedRow(), 1);
    QTest::keyClick(&table(), Qt::Key_End);
    EXPECT_EQ(models.table.selectedRow(), 2);
    QTest::keyClick(&table(), Qt::Key_Home);
    EXPECT_EQ(models.table.selectedRow(), 0);
    int doubles = 0;
    models.table.setDoubleAction([&] { ++doubles; });
    QTest::keyClick(&table(), Qt::Key_Return);
    EXPECT_EQ(doubles, 1);
}

TEST_F(PlayTabTest, sortsByTheHeadThatIsPressed) {
    QHeaderView& heads = *table().horizontalHeader();
    const QPoint head(heads.sectionViewportPosition(1) + 10, 8);
    QTest::mouseClick(heads.viewport(), Qt::LeftButton, Qt::NoModifier, head);
    EXPECT_EQ(models.table.sortDescriptor(), (SortDescriptor{"RecordDate", true}));
    QTest::mouseClick(heads.viewport(), Qt::LeftButton, Qt::NoModifier, head);
    EXPECT_EQ(models.table.sortDescriptor(), (SortDescriptor{"RecordDate", false}));
    EXPECT_EQ(heads.sortIndicatorSection(), 1);
    EXPECT_EQ(heads.sortIndicatorOrder(), Qt::DescendingOrder);
}

TEST_F(PlayTabTest, keepsSelectionAndPlace_whenTheRowsAreReadAnew) {
    models.setRows(500);
    models.table.chooseRow(250);
    const int place = table().verticalScrollBar()->value();
    EXPECT_GT(place, 0);
    models.setRows(501);
    EXPECT_EQ(models.table.selectedRow(), 250);
    EXPECT_TRUE(table().selectionModel()->isRowSelected(250));
    EXPECT_EQ(table().verticalScrollBar()->value(), place);
}

TEST_F(PlayTabTest, asksForTheRowsThatItShowsOnly_ofTenThousand) {
    models.asked = 0;
    models.setRows(10'000);
    tab->grab();
    EXPECT_GT(models.asked, 0);
    EXPECT_LT(models.asked, 2000);
}

TEST_F(PlayTabTest, givesTheDraggedRowAwayAsAFile) {
    const std::unique_ptr<QMimeData> content(
        table().model()->mimeData({table().model()->index(1, 0), table().model()->index(1, 3)}));
    ASSERT_NE(content, nullptr);
    EXPECT_EQ(content->urls(), QList<QUrl>{QUrl::fromLocalFile("/records/sound 1.aif")});
    EXPECT_TRUE(table().dragEnabled());
}

TEST_F(PlayTabTest, editsTheNoteInItsPlace_andHandsItsTextOver) {
    std::string text = "nothing";
    models.table.editCell(1, "Remark", [&](const std::string& given) { text = given; });
    auto* editor = table().findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    EXPECT_EQ(editor->text(), "Remark 1");
    editor->setText("thunder at night");
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(text, "thunder at night");
    EXPECT_FALSE(models.table.isEditing());
}

TEST_F(PlayTabTest, keepsTheSelection_whileTheNoteOfItsRowIsEdited) {
    clickRow(1);
    int chosen = 0;
    models.table.setRowAction([&] { ++chosen; });
    models.table.editCell(1, "Remark", [&](const std::string&) { models.setRows(3); });
    QTest::keyClick(table().findChild<QLineEdit*>(), Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(models.table.selectedRow(), 1);
    EXPECT_TRUE(table().selectionModel()->isRowSelected(1));
    EXPECT_EQ(chosen, 0);
}

TEST_F(PlayTabTest, endsTheEditing_whenTheTabGoes) {
    models.table.editCell(1, "Remark", [](const std::string& text) { EXPECT_EQ(text, "Remark 1"); });
    EXPECT_TRUE(models.table.isEditing());
    tab.reset();
    EXPECT_FALSE(models.table.isEditing());
}

TEST_F(PlayTabTest, closesTheEditor_whenTheEditingEndsElsewhere) {
    models.table.editCell(1, "Remark", [](const std::string&) {});
    ASSERT_NE(table().findChild<QLineEdit*>(), nullptr);
    models.table.giveUpEditing();
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(table().findChild<QLineEdit*>(), nullptr);
}

TEST_F(PlayTabTest, givesTheEditingUp_onEscape) {
    bool ended = false;
    models.table.editCell(1, "Remark", [&](const std::string&) { ended = true; });
    auto* editor = table().findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    QTest::keyClick(editor, Qt::Key_Escape);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QApplication::processEvents();
    EXPECT_FALSE(ended);
    EXPECT_FALSE(models.table.isEditing());
}

TEST_F(PlayTabTest, keepsWhatIsTyped_whenTheRowsAreReadAnewMeanwhile) {
    std::string text;
    models.table.editCell(1, "Remark", [&](const std::string& given) { text = given; });
    auto* editor = table().findChild<QLineEdit*>();
    ASSERT_NE(editor, nullptr);
    editor->setText("half a word");
    models.setRows(4);
    QApplication::processEvents();
    ASSERT_EQ(table().findChild<QLineEdit*>(), editor);
    QTest::keyClick(editor, Qt::Key_Space);
    QTest::keyClick(editor, Qt::Key_Return);
    QApplication::processEvents();
    EXPECT_EQ(text, "half a word ");
}

TEST_F(PlayTabTest, pressesEveryButton_whenItIsClicked) {
    const std::pair<const char*, Button*> buttons[] = {
        {"Head", &models.player.headButton()},    {"Back", &models.player.backButton()},
        {"Play", &models.player.playButton()},    {"Fast", &models.player.fastButton()},
        {"Tail", &models.player.tailButton()},    {"Lock", &models.player.lockButton()},
        {"Note", &models.player.noteButton()},    {"Copy", &models.player.copyButton()},
        {"Delete", &models.player.deleteButton()}};
    for (const auto& [name, model] : buttons) {
        auto& button = named<CaptionButton>(name);
        EXPECT_EQ(pressesOf(*model, [&button = button] { QTest::mouseClick(&button, Qt::LeftButton); }), 1)
            << name;
        EXPECT_FALSE(button.accessibleName().isEmpty()) << name;
        EXPECT_FALSE(button.toolTip().isEmpty()) << name;
    }
}

TEST_F(PlayTabTest, playsAndStops_whenSpaceIsTypedInTheListOrOnTheWaveform) {
    for (const char* name : {"Table", "Wave", "Point"}) {
        auto& widget = named<QWidget>(name);
        widget.setFocus();
        EXPECT_EQ(pressesOf(models.player.playButton(), [&] { QTest::keyClick(&widget, Qt::Key_Space); }), 1)
            << name;
    }
    EXPECT_TRUE(models.player.playButton().isOn());
}

TEST_F(PlayTabTest, goesBackForwardAndToTheEnds_byTheKeyboard) {
    auto& slider = named<SeekSlider>("Point");
    slider.setFocus();
    PlayerControls& player = models.player;
    EXPECT_EQ(pressesOf(player.backButton(), [&] { QTest::keyClick(&slider, Qt::Key_Left); }), 1);
    EXPECT_EQ(pressesOf(player.fastButton(), [&] { QTest::keyClick(&slider, Qt::Key_Right); }), 1);
    EXPECT_EQ(pressesOf(player.headButton(), [&] { QTest::keyClick(&slider, Qt::Key_Home); }), 1);
    EXPECT_EQ(pressesOf(player.tailButton(), [&] { QTest::keyClick(&slider, Qt::Key_End); }), 1);
    EXPECT_EQ(pressesOf(player.backButton(), [&] { QTest::keyClick(&table(), Qt::Key_Left); }), 1);
    table().setFocus();
    EXPECT_EQ(pressesOf(player.deleteButton(), [&] { QTest::keyClick(&table(), Qt::Key_Delete); }), 1);
    EXPECT_EQ(pressesOf(player.noteButton(), [&] { QTest::keyClick(&table(), Qt::Key_F2); }), 1);
}

TEST_F(PlayTabTest, movesThePosition_whenTheSliderIsDragged_andTellsTheEndOnceMore) {
    std::vector<int> moves;
    models.player.pointSlider().setAction([&](int value) { moves.push_back(value); });
    auto& slider = named<SeekSlider>("Point");
    QTest::mousePress(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(slider.width() / 2, 9));
    ASSERT_FALSE(moves.empty());
    EXPECT_NEAR(moves.back(), 500, 20);
    models.player.pointSlider().setValue(3); // the display timer does not tear it out of the hand
    EXPECT_NEAR(slider.value(), 500, 20);
    const std::size_t before = moves.size();
    QTest::mouseRelease(&slider, Qt::LeftButton, Qt::NoModifier, QPoint(slider.width() / 2, 9));
    EXPECT_EQ(moves.size(), before + 1);
    EXPECT_EQ(moves.back(), slider.value());
}

TEST_F(PlayTabTest, setsStepsAndRepeat) {
    named<QSpinBox>("Steps").setValue(25);
    EXPECT_EQ(models.player.stepFastStepper().value(), 25);
    models.player.stepFastStepper().setValue(40);
    EXPECT_EQ(named<QSpinBox>("Steps").value(), 40);
    auto& endless = named<QCheckBox>("Endless");
    QTest::mouseClick(&endless, Qt::LeftButton, Qt::NoModifier, QPoint(8, endless.height() / 2));
    EXPECT_TRUE(models.player.endlessCheck().isOn());
}

TEST_F(PlayTabTest, goesThroughItsPartsInOrder_byTheTabKey) {
    table().setFocus();
    std::vector<std::string> names;
    for (int i = 0; i < 14; ++i) {
        names.push_back(QApplication::focusWidget()->objectName().toStdString());
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_EQ(names, (std::vector<std::string>{"Table", "Wave", "Point", "Head", "Back", "Play", "Fast", "Tail",
                                               "Steps", "Endless", "Lock", "Note", "Copy", "Delete"}));
}

TEST_F(PlayTabTest, followsWhatIsDisabled) {
    models.player.deleteButton().setEnabled(false);
    EXPECT_FALSE(named<CaptionButton>("Delete").isEnabled());
    for (const QAction* action : table().actions())
        EXPECT_EQ(action->isEnabled(), action->text() != "Delete") << action->text().toStdString();
    models.player.pointSlider().setEnabled(false);
    EXPECT_FALSE(named<SeekSlider>("Point").isEnabled());
}

TEST_F(PlayTabTest, mayGoBeforeItsModels) {
    tab.reset();
    models.setRows(5);
    models.wave.setNeedsDisplay();
    models.player.pointSlider().setValue(7);
    models.player.playButton().press(true);
    EXPECT_TRUE(models.player.playButton().isOn());
}

TEST_F(PlayTabTest, showsAnExportInPlaceOfTheOutput_andCancelsIt) {
    models.exportProgress.setEnabled(false);
    models.player.playDevicePicture().setToolTip("Speakers");
    auto& progress = named<QProgressBar>("ExportProgress");
    auto& device = named<FittingLabel>("PlayDevice");
    EXPECT_FALSE(progress.isVisible());
    EXPECT_TRUE(device.isVisible());
    models.exportProgress.setEnabled(true);
    models.cancelExport.setEnabled(true);
    models.exportProgress.setValue(420);
    EXPECT_TRUE(progress.isVisible());
    EXPECT_FALSE(device.isVisible());
    EXPECT_EQ(progress.text(), "Export 42 %");
    auto& cancel = named<CaptionButton>("CancelCopy");
    EXPECT_EQ(pressesOf(models.cancelExport, [&] { QTest::mouseClick(&cancel, Qt::LeftButton); }), 1);
    EXPECT_EQ(pressesOf(models.cancelExport, [&] { QTest::keyClick(&table(), Qt::Key_Escape); }), 1);
    models.cancelExport.setEnabled(false);
    models.exportProgress.setEnabled(false);
    EXPECT_FALSE(progress.isVisible());
    EXPECT_TRUE(device.isVisible());
    EXPECT_EQ(pressesOf(models.cancelExport, [&] { QTest::keyClick(&table(), Qt::Key_Escape); }), 0);
}

TEST_F(PlayTabTest, setsAShortCaptionCloseToItsValue) {
    models.player.tailText().setText("10:00:00");
    QApplication::processEvents();
    for (const FittingLabel* label : tab->findChildren<FittingLabel*>()) {
        if (label->text() != QString::fromStdString(texts("TailTextName")))
            continue;
        EXPECT_LE(label->width(), label->fontMetrics().horizontalAdvance(label->text()) + 1);
        return;
    }
    FAIL() << "there is no caption";
}
