// The timer tab and its drawer, with real events on the real timetable.
#include "SessionWindow.h"

#include <QComboBox>
#include <QHeaderView>
#include <QLineEdit>
#include <QScrollBar>
#include <QStyle>

namespace {
constexpr int nine = hourMinute(9, 35);
const std::vector<StoredTimer> threeEntries = {
    {.name = "Evening news", .start = nine, .stop = hourMinute(9, 40)},
    {.name = "Dawn chorus",
     .start = hourMinute(22, 0),
     .stop = hourMinute(1, 0),
     .mode = 1,
     .sample = 2,
     .channels = 2,
     .week = 4},
    {.name = "Never", .start = nine, .stop = nine, .month = 2, .day = 30}};

struct TimerTabTest : testing::Test {
    void open(const std::vector<StoredTimer>& timers, const char* language = "en") {
        session = std::make_unique<SessionWindow>(
            2, std::vector<RehearsalDesk::Setting>{{"TimerList", timerList(timers)}}, language);
    }
    TableBox& table() const { return session->named<TableBox>("TimerTable"); }
    VmReserveList& list() const { return session->controler().reservelist(); }
    int column(const char* identifier) const {
        const auto& columns = session->controler().reserver().timerTable.columns();
        return static_cast<int>(std::ranges::find(columns, identifier, &TableColumn::identifier) -
                                columns.begin());
    }
    QVariant shown(int row, const char* identifier, int role = Qt::DisplayRole) const {
        return table().model()->index(row, column(identifier)).data(role);
    }
    std::unique_ptr<SessionWindow> session;
};
} // namespace

TEST_F(TimerTabTest, showsAllColumnsWhole_inEachLanguage) {
    for (const char* language : {"en", "ja", "de"}) {
        std::vector<StoredTimer> timers = threeEntries;
        for (int week = 1; week <= 7; ++week)
            timers.push_back({.name = "News",
                              .start = hourMinute(22, 0),
                              .stop = hourMinute(23, 0),
                              .mode = week % 2,
                              .sample = week % 3,
                              .channels = 1 + week % 2,
                              .month = 12,
                              .day = 24,
                              .week = week});
        open(timers, language);
        EXPECT_EQ(session->window->width(), 706);
        EXPECT_EQ(table().horizontalScrollBar()->maximum(), 0) << language;
        QHeaderView& heads = *table().horizontalHeader();
        EXPECT_LE(heads.length(), table().viewport()->width()) << language;
        const int headEdge = 2 * heads.style()->pixelMetric(QStyle::PM_HeaderMargin, nullptr, &heads);
        const int edge =
            2 * (table().style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, &table()) + 1);
        for (int section = 0; section < heads.count(); ++section) {
            const QString title = table().model()->headerData(section, Qt::Horizontal).toString();
            if (section == column("ReserveName") || section == column("SourceDevice")) {
                EXPECT_GE(heads.sectionSize(section), 50) << language << title.toStdString();
                continue;
            }
            EXPECT_GE(heads.sectionSize(section), heads.fontMetrics().horizontalAdvance(title) + headEdge)
                << language << " " << title.toStdString();
            for (int row = 0; row < table().model()->rowCount(); ++row) {
                const QString text = table().model()->index(row, section).data().toString();
                if (section == column("NextSpan") && text.size() > 23)
                    continue; // next year's date has its year, and is whole in its tool tip
                EXPECT_GE(heads.sectionSize(section), table().fontMetrics().horizontalAdvance(text) + edge)
                    << language << " " << text.toStdString();
            }
        }
    }
}

TEST_F(TimerTabTest, marksWhatOverlapsOrNeverStarts_andSaysSoInItsToolTip) {
    std::vector<StoredTimer> timers = threeEntries;
    timers.push_back({.name = "Late", .start = hourMinute(23, 0), .stop = hourMinute(23, 30), .week = 4});
    open(timers);
    EXPECT_EQ(shown(0, "EntryMark").toString(), "");
    for (const auto& [row, reason] :
         {std::pair{1, "Overlaps another entry"}, {2, "Never starts"}, {3, "Overlaps another entry"}}) {
        EXPECT_EQ(shown(row, "EntryMark").toString(), QStringLiteral("⚠"));
        EXPECT_TRUE(shown(row, "EntryMark", Qt::ToolTipRole).toString().contains(reason)) << row;
        EXPECT_TRUE(shown(row, "EntryMark", Qt::AccessibleTextRole).toString().startsWith(reason)) << row;
        EXPECT_TRUE(shown(row, "EntryMark", Qt::ForegroundRole).isValid()) << row;
    }
    EXPECT_TRUE(
        table().model()->headerData(column("ReserveWeek"), Qt::Horizontal, Qt::ToolTipRole).toString() ==
        "Weekday");
}

TEST_F(TimerTabTest, renewsTheNextRecordingEachMinute_whileItIsShown) {
    open(threeEntries);
    EXPECT_EQ(shown(0, "NextSpan").toString(), QStringLiteral("10-24 09:35–09:40"));
    const unsigned before = session->controler().reserver().timerTable.generation();
    session->pass(299.0); // 9:35:00
    session->pass(60.0);
    EXPECT_EQ(shown(0, "NextSpan").toString(), QStringLiteral("10-25 09:35–09:40"));
    EXPECT_EQ(session->controler().reserver().timerTable.generation(), before + 6);
    session->controler().mainTab().choose(0);
    session->pass(180.0);
    EXPECT_EQ(session->controler().reserver().timerTable.generation(), before + 6) << "another tab is shown";
}

TEST_F(TimerTabTest, insertsCopiesAndDeletesWithRealClicks) {
    open({threeEntries[0]});
    session->click("InsertTimer");
    ASSERT_EQ(list().timers().size(), 2U);
    EXPECT_EQ(list().timers()[1].start(), hourMinute(9, 35)) << "the next five-minute mark after 9:30";
    session->clickRow("TimerTable", 0);
    EXPECT_EQ(session->controler().reserver().selectedRow(), 0);
    session->click("CopyTimer");
    ASSERT_EQ(list().timers().size(), 3U);
    EXPECT_EQ(list().timers()[0].name(), "Evening news");
    EXPECT_EQ(list().timers()[1].name(), "Evening news");
    session->it.desk.alert.answerNext("RemoveTimerCaution", AlertAnswer::alternateButton);
    session->click("DeleteTimer");
    EXPECT_EQ(list().timers().size(), 3U) << "cancelled";
    table().setFocus();
    session->key(table(), Qt::Key_Delete);
    EXPECT_EQ(list().timers().size(), 2U);
    session->key(table(), Qt::Key_Insert);
    EXPECT_EQ(list().timers().size(), 3U);
}

TEST_F(TimerTabTest, sortsByARealPressOnAHead_andKeepsEachEntrysSettings) {
    open(threeEntries);
    const QHeaderView& heads = *table().horizontalHeader();
    QTest::mouseClick(heads.viewport(), Qt::LeftButton, Qt::NoModifier,
                      QPoint(heads.sectionViewportPosition(column("ReserveName")) + 10, 8));
    session->pass(0.0);
    EXPECT_EQ(list().timers()[0].name(), "Dawn chorus");
    EXPECT_EQ(list().timers()[0].week(), 4);
    EXPECT_EQ(list().timers()[0].stop(), hourMinute(1, 0));
}

TEST_F(TimerTabTest, opensTheDrawerBesideIt_withTheSelectedEntry) {
    open(threeEntries);
    session->clickRow("TimerTable", 1);
    table().setFocus();
    session->key(table(), Qt::Key_F2);
    EXPECT_GT(session->window->width(), 706);
    auto& name = session->named<QLineEdit>("ReserveNameTitle");
    EXPECT_TRUE(name.isVisible());
    EXPECT_EQ(name.text(), "Dawn chorus");
    EXPECT_EQ(session->named<QComboBox>("ReserveWeekTitle").currentIndex(), 4);
    name.setFocus();
    name.selectAll();
    QTest::keyClicks(&name, "Owls");
    EXPECT_EQ(list().timers()[1].name(), "Dawn chorus") << "not before it is finished";
    session->key(name, Qt::Key_Return);
    EXPECT_EQ(list().timers()[1].name(), "Owls");
    EXPECT_EQ(shown(1, "ReserveName").toString(), "Owls");
    auto& month = session->named<QComboBox>("ReserveMonthTitle");
    month.setFocus();
    session->key(month, Qt::Key_Down);
    EXPECT_EQ(list().timers()[1].month(), 1);
    EXPECT_EQ(list().timers()[1].start(), hourMinute(22, 0));
    session->clickRow("TimerTable", 0);
    EXPECT_EQ(name.text(), "Evening news");
    session->key(table(), Qt::Key_F2);
    EXPECT_EQ(session->window->width(), 706);
}

TEST_F(TimerTabTest, writesAnUnfinishedNameToTheEntryThatItWasTypedFor) {
    open(threeEntries);
    session->clickRow("TimerTable", 0);
    session->click("TimerDrawer");
    auto& name = session->named<QLineEdit>("ReserveNameTitle");
    name.setFocus();
    name.selectAll();
    QTest::keyClicks(&name, "Late news");
    table().setFocus(Qt::MouseFocusReason); // as a press on the table does first
    session->clickRow("TimerTable", 1);
    EXPECT_EQ(list().timers()[0].name(), "Late news");
    EXPECT_EQ(list().timers()[1].name(), "Dawn chorus");
}

TEST_F(TimerTabTest, changesNothing_whenTheWheelTurnsOverAField) {
    open(threeEntries);
    session->clickRow("TimerTable", 0);
    session->click("TimerDrawer");
    table().setFocus();
    for (const char* field : {"ReserveMonthTitle", "ReserveDayTitle", "RecordModeTitle"}) {
        auto& box = session->named<QComboBox>(field);
        const QPointF place = box.rect().center();
        QWheelEvent wheel(place, box.mapToGlobal(place), {}, {0, -120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&box, &wheel);
        EXPECT_EQ(box.currentIndex(), 0) << field;
    }
    EXPECT_EQ(list().timers()[0].month(), 0);
}

TEST_F(TimerTabTest, hasNamesForAllThatCanBeReached) {
    for (const char* language : {"en", "ja", "de"}) {
        open(threeEntries, language);
        session->clickRow("TimerTable", 0);
        session->click("TimerDrawer");
        EXPECT_EQ(session->nameless(), std::vector<std::string>()) << language;
        for (const char* button : {"InsertTimer", "CopyTimer", "DeleteTimer", "TimerDrawer"})
            EXPECT_FALSE(session->named<QWidget>(button).toolTip().isEmpty()) << button;
    }
}
