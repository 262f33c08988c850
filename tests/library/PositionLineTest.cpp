// The line that shows where playback stands, on a picture on which ranges are marked.
#include "library/SelectedRecordingTest.h"
#include "library/VmAnalyzer.h"

namespace {
constexpr int row = 3; // of points; does not cross the wave

class PositionLineTest : public SelectedRecordingTest {
protected:
    PositionLineTest() { run(1.0); } // the picture is there then
    VmWaveView& view() const { return player->waveView(); }
    /// Where the line is seen; -1 when it is not.
    int line() const {
        for (int x = 0; x < view().shownImage().width(); ++x)
            if (view().shownImage().pixel(x, row) == qRgb(255, 0, 0))
                return x;
        return -1;
    }
    /// Columns that look otherwise than in the unmarked picture.
    int changedColumns() const {
        int count = 0;
        for (int x = 0; x < view().shownImage().width(); ++x)
            count += view().shownImage().pixel(x, row) != view().copyImage().pixel(x, row) ? 1 : 0;
        return count;
    }
    void drag(int from, int to, bool shift = false) {
        view().mouseDown(from, shift);
        if (shift)
            view().mouseDragged(from);
        view().mouseDragged(to);
        view().mouseUp();
    }
    /// 20 bytes of sound for a point.
    void moveTo(int x) {
        player->pointSlider().move(x * 20);
        player->pointSlider().move(x * 20);
    }
};
} // namespace

TEST_F(PositionLineTest, isTakenAwayWhileARangeIsMarked_andDrawnAgain) {
    moveTo(10);
    ASSERT_EQ(line(), 10);
    view().mouseDown(50, false);
    EXPECT_EQ(line(), -1);
    EXPECT_EQ(desk.desk.controler->analyzer().savePoint(), -1);
    view().mouseDragged(120);
    EXPECT_EQ(line(), -1);
    view().mouseUp();
    EXPECT_EQ(line(), 10);
    EXPECT_EQ(desk.desk.controler->analyzer().savePoint(), 10);
}

TEST_F(PositionLineTest, isDrawnAgain_afterAClickWithoutADrag) {
    moveTo(10);
    view().mouseDown(50, false);
    view().mouseUp();
    EXPECT_EQ(line(), 10);
    EXPECT_EQ(changedColumns(), 1);
}

TEST_F(PositionLineTest, leavesNoMarkBehind_whenTheRangeUnderItGoes) {
    drag(50, 120);
    moveTo(80);
    ASSERT_EQ(line(), 80);
    view().mouseDown(300, false);
    EXPECT_EQ(changedColumns(), 0);
    view().mouseUp();
    EXPECT_EQ(line(), 80);
    EXPECT_EQ(changedColumns(), 1);
}

TEST_F(PositionLineTest, leavesTheMarkWhole_whenTheRangeComesUnderIt) {
    moveTo(80);
    drag(50, 120);
    EXPECT_EQ(line(), 80);
    moveTo(60);
    EXPECT_EQ(line(), 60);
    EXPECT_NE(view().shownImage().pixel(80, row), view().copyImage().pixel(80, row));
    EXPECT_EQ(view().shownImage().pixel(80, row), view().shownImage().pixel(81, row));
}

TEST_F(PositionLineTest, isSeenAgain_whenTheRangeGrewOrShrankOverItWithShift) {
    drag(80, 120);
    moveTo(100);
    ASSERT_EQ(line(), 100);
    drag(120, 90, true);
    EXPECT_EQ(line(), 100);
    EXPECT_EQ(changedColumns(), 10 + 1);
    drag(90, 130, true);
    EXPECT_EQ(line(), 100);
    EXPECT_EQ(changedColumns(), 50);
    moveTo(90);
    EXPECT_EQ(view().shownImage().pixel(100, row), view().shownImage().pixel(101, row));
}
