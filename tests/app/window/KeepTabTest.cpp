// The keep tab, with real events on the real keeper.
#include "app/window/FittingLabel.h"
#include "app/window/IndicatorLamp.h"
#include "SessionWindow.h"

#include <QHeaderView>
#include <QMimeData>
#include <QScrollBar>
#include <QStyle>
#include <QUrl>

namespace {
constexpr const char* names[] = {"_Velmoratide_20071022_093000~101500.aif.bz2",
                                 "_Velmoratide_20071023_235950~000010.aif.bz2",
                                 "_Velmoratide_20071024_070000~080000.aif.bz2"};

struct KeepTabTest : testing::Test {
    void open(int files, const char* language = "en") {
        session = std::make_unique<SessionWindow>(3, std::vector<RehearsalDesk::Setting>(), language);
        for (int index = 0; index < files; ++index)
            std::ofstream(folder() + "/" + names[index]) << std::string(1048576, 'x');
        session->controler().keeper().renewListAndControl();
        session->pass(0.0);
    }
    std::string folder() const { return session->controler().keeper().keepFolder(); }
    TableBox& table() const { return session->named<TableBox>("KeepTable"); }
    bool isEnabled(const char* button) const { return session->named<QWidget>(button).isEnabled(); }
    std::unique_ptr<SessionWindow> session;
};
} // namespace

TEST_F(KeepTabTest, hasItsSize_andShowsAllColumnsWhole_inEachLanguage) {
    for (const char* language : {"en", "ja", "de"}) {
        open(3, language);
        EXPECT_EQ(session->window->size(), QSize(376, 318));
        EXPECT_EQ(table().model()->rowCount(), 3);
        QHeaderView& heads = *table().horizontalHeader();
        EXPECT_LE(heads.length(), table().viewport()->width()) << language;
        for (int column = 0; column < heads.count(); ++column) {
            EXPECT_GE(heads.sectionSize(column),
                      heads.fontMetrics().horizontalAdvance(
                          table().model()->headerData(column, Qt::Horizontal).toString()) +
                          2 * heads.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &heads))
                << language << column;
            for (int row = 0; row < 3; ++row)
                EXPECT_GE(heads.sectionSize(column) - 6,
                          table().fontMetrics().horizontalAdvance(
                              table().model()->index(row, column).data().toString()))
                    << language << column;
        }
        for (auto* label : session->window->findChildren<QLabel*>()) {
            const auto* text = dynamic_cast<FittingLabel*>(label);
            if (text != nullptr && text->isVisible()) {
                EXPECT_FALSE(text->isShortened()) << language << text->text().toStdString();
            }
        }
    }
}

TEST_F(KeepTabTest, enablesItsButtonsWithARealClickOnARow) {
    open(3);
    for (const char* button : {"KeepPlay", "KeepCopy", "KeepDelete"})
        EXPECT_FALSE(isEnabled(button)) << button;
    session->clickRow("KeepTable", 1);
    for (const char* button : {"KeepPlay", "KeepCopy", "KeepDelete"})
        EXPECT_TRUE(isEnabled(button)) << button;
    EXPECT_FALSE(isEnabled("KeepCancelCopy"));
}

TEST_F(KeepTabTest, opensTheSelectedFile_withTheButton_theSpaceKey_andADoubleClick) {
    open(3);
    session->clickRow("KeepTable", 1);
    session->click("KeepPlay");
    session->key(table(), Qt::Key_Space);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, Qt::NoModifier,
                       table().visualRect(table().model()->index(1, 1)).center());
    session->pass(0.0);
    EXPECT_EQ(session->it.desk.workspace.opened(), std::vector<std::string>(3, folder() + "/" + names[1]));
    session->it.desk.workspace.setWorking(false);
    session->key(table(), Qt::Key_Space);
    EXPECT_TRUE(session->wasAsked("FileOpenError"));
}

TEST_F(KeepTabTest, deletesWithTheDeleteKey_afterAsking) {
    open(3);
    session->clickRow("KeepTable", 0);
    session->it.desk.alert.answerNext("RemoveCaution", AlertAnswer::alternateButton);
    table().setFocus();
    session->key(table(), Qt::Key_Delete);
    EXPECT_EQ(table().model()->rowCount(), 3);
    session->key(table(), Qt::Key_Delete);
    EXPECT_EQ(table().model()->rowCount(), 2);
    EXPECT_FALSE(std::filesystem::exists(folder() + "/" + names[0]));
}

TEST_F(KeepTabTest, exportsACopy_thatCanBeCancelledWithEscape) {
    open(3);
    session->clickRow("KeepTable", 2);
    const std::string to = session->it.desk.folder + "/exported.bz2";
    session->it.desk.savePanel.answerNext(to);
    session->click("KeepCopy");
    session->pass(1.0);
    EXPECT_EQ(std::filesystem::file_size(to), 1048576U);
    std::filesystem::remove(to);
    session->it.desk.savePanel.answerNext(to);
    session->it.desk.volume.setWriteSeconds(0.5); // the copy waits for its disk
    QTest::mouseClick(&session->named<QWidget>("KeepCopy"), Qt::LeftButton);
    EXPECT_TRUE(isEnabled("KeepCancelCopy"));
    EXPECT_FALSE(isEnabled("KeepCopy"));
    session->key(table(), Qt::Key_Escape);
    session->pass(1.0);
    EXPECT_FALSE(std::filesystem::exists(to));
    EXPECT_FALSE(isEnabled("KeepCancelCopy"));
}

TEST_F(KeepTabTest, givesTheFileAway_whenItsRowIsDragged) {
    open(3);
    const auto* model = table().model();
    const std::unique_ptr<QMimeData> dragged(
        model->mimeData({model->index(1, 0), model->index(1, 2), model->index(2, 0)}));
    ASSERT_EQ(dragged->urls().size(), 1);
    EXPECT_EQ(dragged->urls()[0].toLocalFile().toStdString(), folder() + "/" + names[1]);
}

TEST_F(KeepTabTest, hasNamesForAllThatCanBeReached) {
    for (const char* language : {"en", "ja", "de"}) {
        open(1, language);
        session->clickRow("KeepTable", 0);
        EXPECT_EQ(session->nameless(), std::vector<std::string>()) << language;
        for (const char* button : {"KeepPlay", "KeepCopy", "KeepDelete", "KeepCancelCopy"})
            EXPECT_FALSE(session->named<QWidget>(button).toolTip().isEmpty()) << button;
    }
}

TEST_F(KeepTabTest, isWalkedThroughInTheOrderOfItsParts) {
    open(1);
    session->clickRow("KeepTable", 0);
    table().setFocus();
    for (const char* next : {"KeepPlay", "KeepCopy", "KeepDelete"}) {
        session->key(*QApplication::focusWidget(), Qt::Key_Tab);
        EXPECT_EQ(QApplication::focusWidget()->objectName(), next);
    }
}
