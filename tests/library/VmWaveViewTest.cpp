#include "library/VmWaveView.h"

#include "base/NotificationCenter.h"
#include "rehearsal/RecordedSystemLog.h"

#include <gtest/gtest.h>

namespace {
/// A view of 400 x 40 points with a picture, and what it posts as "Start {100, 0}".
class VmWaveViewTest : public testing::Test {
protected:
    using Posts = std::vector<std::string>;
    void SetUp() override {
        view.setBounds({400, 40});
        picture.fill(qRgb(0, 100, 100));
        view.setImage(picture);
    }
    /// A whole drag: the first point is where the button goes down.
    void drag(const std::vector<double>& points, bool shift = false) {
        view.mouseDown(points.front(), shift);
        for (std::size_t i = 1; i < points.size(); ++i)
            view.mouseDragged(points[i]);
        view.mouseUp();
    }
    /// What is marked, as one range; fails when the marks are several or doubled.
    WaveRange marked() const {
        WaveRange range;
        for (int x = 0; x < 400; ++x) {
            const QRgb point = view.shownImage().pixel(x, 20);
            EXPECT_EQ(view.shownImage().pixel(x, 0), point);
            EXPECT_EQ(view.shownImage().pixel(x, 39), point);
            if (point == picture.pixel(x, 20))
                continue;
            EXPECT_EQ(point, qRgb(118, 166, 100)) << x;
            if (range.length == 0)
                range.location = static_cast<unsigned>(x);
            EXPECT_EQ(range.end(), static_cast<unsigned>(x)) << "a second mark";
            ++range.length;
        }
        return range;
    }

    NotificationCenter notifications;
    RecordedSystemLog log;
    VmWaveView view{notifications, log};
    QImage picture{400, 40, QImage::Format_RGB32};
    Posts posts;
    NotificationCenter::Observation watch = notifications.observe({}, [this](const Notification& notification) {
        const std::string_view name = notification.name;
        const auto range = notification.userInfo.find(std::string(SelectedRange));
        EXPECT_EQ(notification.object, "");
        posts.push_back(std::string(name.substr(13, name.size() - 13 - 13)) +
                        (range == notification.userInfo.end() ? "" : " " + range->second));
    });
};
} // namespace

TEST_F(VmWaveViewTest, beginsWithNoSelectionAndWithSelectingAllowed) {
    EXPECT_EQ(view.selectedRange(), (WaveRange{0, 0}));
    EXPECT_TRUE(view.selectEnabled());
}

TEST_F(VmWaveViewTest, rangesRunFromTheSmallerPointToTheGreater) {
    EXPECT_EQ(VmWaveView::rangeFrom(3, 10), (WaveRange{3, 7}));
    EXPECT_EQ(VmWaveView::rangeFrom(10, 3), (WaveRange{3, 7}));
    EXPECT_EQ(VmWaveView::rangeFrom(4, 4), (WaveRange{4, 0}));
}

TEST_F(VmWaveViewTest, rangesAreTextsAndBack) {
    EXPECT_EQ((WaveRange{80, 20}).text(), "{80, 20}");
    EXPECT_EQ(WaveRange::fromText("{80, 20}"), (WaveRange{80, 20}));
    for (const char* text : {"", "{80, 20", "80, 20", "{80 20}", "{80, 20} ", "{-1, 2}", "{99999999999, 1}"})
        EXPECT_FALSE(WaveRange::fromText(text)) << text;
}

TEST_F(VmWaveViewTest, postsStartAndReleaseAndSelectsNothing_afterAClick) {
    drag({100});
    EXPECT_EQ(posts, (Posts{"Start {100, 0}", "Release {100, 0}"}));
    EXPECT_EQ(view.selectedRange().length, 0U);
    EXPECT_EQ(marked().length, 0U);
}

TEST_F(VmWaveViewTest, truncatesThePoint) {
    drag({100.9, 150.9});
    EXPECT_EQ(view.selectedRange(), (WaveRange{100, 50}));
}

TEST_F(VmWaveViewTest, selectsFrom80To100_afterADragFrom100To150AndBackTo80) {
    drag({100, 150, 80});
    EXPECT_EQ(view.selectedRange(), (WaveRange{80, 20}));
    EXPECT_EQ(marked(), (WaveRange{80, 20}));
    EXPECT_EQ(posts, (Posts{"Start {100, 0}", "Drag {100, 50}", "Drag {80, 20}", "End {80, 20}"}));
}

TEST_F(VmWaveViewTest, selectsFrom100To130_afterADragTo60AndBackTo130) {
    drag({100, 60, 130});
    EXPECT_EQ(view.selectedRange(), (WaveRange{100, 30}));
    EXPECT_EQ(marked(), (WaveRange{100, 30}));
}

TEST_F(VmWaveViewTest, growsAndShrinksWithTheSteps_toTheRight) {
    view.mouseDown(100, false);
    for (const auto& [x, length] :
         std::vector<std::pair<int, unsigned>>{{110, 10}, {160, 60}, {150, 50}, {155, 55}}) {
        view.mouseDragged(x);
        EXPECT_EQ(marked(), (WaveRange{100, length})) << x;
    }
}

TEST_F(VmWaveViewTest, growsAndShrinksWithTheSteps_toTheLeft) {
    view.mouseDown(100, false);
    for (const int x : {90, 40, 50, 45}) {
        view.mouseDragged(x);
        EXPECT_EQ(marked(), (WaveRange{static_cast<unsigned>(x), static_cast<unsigned>(100 - x)})) << x;
    }
}

TEST_F(VmWaveViewTest, beginsAnew_whenTheDragComesBackToItsStart) {
    view.mouseDown(100, false);
    view.mouseDragged(150);
    view.mouseDragged(100);
    EXPECT_EQ(marked().length, 0U);
    EXPECT_EQ(posts.back(), "Drag {100, 0}");
    view.mouseDragged(70);
    EXPECT_EQ(marked(), (WaveRange{70, 30}));
    view.mouseUp();
    EXPECT_EQ(view.selectedRange(), (WaveRange{70, 30}));
}

TEST_F(VmWaveViewTest, postsRelease_whenTheDragEndsWhereItBegan) {
    drag({100, 150, 100});
    EXPECT_EQ(posts.back(), "Release {100, 0}");
    EXPECT_EQ(view.selectedRange().length, 0U);
    EXPECT_EQ(marked().length, 0U);
}

TEST_F(VmWaveViewTest, ignoresStepsOfNoMovement) {
    drag({100, 100, 150, 150, 150});
    EXPECT_EQ(posts, (Posts{"Start {100, 0}", "Drag {100, 50}", "End {100, 50}"}));
}

TEST_F(VmWaveViewTest, ignoresStepsOutsideOfTheView) {
    drag({100, -1, 401, 150, -0.5, 1000});
    EXPECT_EQ(posts, (Posts{"Start {100, 0}", "Drag {100, 50}", "End {100, 50}"}));
}

TEST_F(VmWaveViewTest, reachesBothEdges) {
    drag({100, 0});
    EXPECT_EQ(view.selectedRange(), (WaveRange{0, 100}));
    drag({100, 400});
    EXPECT_EQ(view.selectedRange(), (WaveRange{100, 300}));
    EXPECT_EQ(marked(), (WaveRange{100, 300}));
}

TEST_F(VmWaveViewTest, takesTheOldMarkAway_whenANewDragBegins) {
    drag({50, 120});
    view.mouseDown(300, false);
    EXPECT_EQ(marked().length, 0U);
    view.mouseDragged(310);
    view.mouseUp();
    EXPECT_EQ(marked(), (WaveRange{300, 10}));
}

TEST_F(VmWaveViewTest, extendsToTheRight_afterAShiftDragFromTheFarEnd) {
    drag({50, 120});
    posts.clear();
    drag({120, 120, 200}, true);
    EXPECT_EQ(view.selectedRange(), (WaveRange{50, 150}));
    EXPECT_EQ(marked(), (WaveRange{50, 150}));
    EXPECT_EQ(posts, (Posts{"Drag {50, 150}", "End {50, 150}"}));
}

TEST_F(VmWaveViewTest, extendsToTheLeft_afterAShiftDragFromTheNearEnd) {
    drag({50, 120});
    drag({50, 50, 30}, true);
    EXPECT_EQ(view.selectedRange(), (WaveRange{30, 90}));
    EXPECT_EQ(marked(), (WaveRange{30, 90}));
}

TEST_F(VmWaveViewTest, shrinksAndTurnsOver_afterAShiftDragPastTheFixedEnd) {
    drag({50, 120});
    view.mouseDown(120, true);
    view.mouseDragged(120);
    view.mouseDragged(80);
    EXPECT_EQ(marked(), (WaveRange{50, 30}));
    view.mouseDragged(20);
    EXPECT_EQ(marked(), (WaveRange{20, 30}));
    view.mouseUp();
    EXPECT_EQ(view.selectedRange(), (WaveRange{20, 30}));
}

TEST_F(VmWaveViewTest, picksTheEndAtTheFirstStepThatLiesOnOne) {
    drag({50, 120});
    drag({118, 119, 121, 120, 200}, true); // 119 and 121 are ignored
    EXPECT_EQ(view.selectedRange(), (WaveRange{50, 150}));
    EXPECT_EQ(marked(), (WaveRange{50, 150}));
}

TEST_F(VmWaveViewTest, selectsNothingAndMarksNothing_whenNoShiftStepLaysOnAnEnd) {
    drag({50, 120});
    posts.clear();
    drag({90, 91, 119, 121, 49}, true);
    EXPECT_EQ(posts, (Posts{"Release {90, 0}"}));
    EXPECT_EQ(view.selectedRange().length, 0U);
    EXPECT_EQ(marked().length, 0U);
}

TEST_F(VmWaveViewTest, startsAtTheEmptyRange_whenAShiftDragFindsNoSelection) {
    drag({70}); // leaves an empty range at 70
    drag({70, 70, 90}, true);
    EXPECT_EQ(view.selectedRange(), (WaveRange{70, 20}));
    EXPECT_EQ(marked(), (WaveRange{70, 20}));
    drag({10});
    drag({10, 10, 4}, true);
    EXPECT_EQ(view.selectedRange(), (WaveRange{4, 6}));
    EXPECT_EQ(marked(), (WaveRange{4, 6}));
}

TEST_F(VmWaveViewTest, ignoresTheMouse_whileSelectingIsOff) {
    view.setSelectEnabled(false);
    drag({100, 150});
    EXPECT_EQ(posts, Posts{});
    EXPECT_EQ(view.selectedRange().length, 0U);
    EXPECT_EQ(marked().length, 0U);
}

TEST_F(VmWaveViewTest, endsTheDrag_whenSelectingIsSwitchedOffInIt) {
    view.mouseDown(100, false);
    view.mouseDragged(150);
    view.setSelectEnabled(false);
    EXPECT_EQ(view.selectedRange(), (WaveRange{100, 50}));
    view.mouseDragged(200);
    view.mouseUp();
    view.setSelectEnabled(true);
    view.mouseDragged(300);
    view.mouseUp();
    EXPECT_EQ(posts, (Posts{"Start {100, 0}", "Drag {100, 50}", "End {100, 50}"}));
    EXPECT_EQ(marked(), (WaveRange{100, 50}));
}

TEST_F(VmWaveViewTest, postsReleaseWithoutARange_whenTheSelectionIsCleared) {
    drag({100, 150});
    posts.clear();
    view.clearSelectedRange();
    EXPECT_EQ(posts, Posts{"Release"});
    EXPECT_EQ(view.selectedRange(), (WaveRange{0, 0}));
    EXPECT_EQ(marked().length, 0U);
}

TEST_F(VmWaveViewTest, marksTheSelectionInANewPicture) {
    drag({100, 150});
    picture.fill(qRgb(0, 100, 100));
    view.setImage(picture);
    EXPECT_EQ(marked(), (WaveRange{100, 50}));
}

TEST_F(VmWaveViewTest, marksTheDragInANewPicture) {
    view.mouseDown(100, false);
    view.mouseDragged(150);
    view.setImage(picture);
    view.mouseDragged(170);
    EXPECT_EQ(marked(), (WaveRange{100, 70}));
}

TEST_F(VmWaveViewTest, selectsWithoutAPicture) {
    view.setImage({});
    drag({100, 150, 80});
    EXPECT_EQ(view.selectedRange(), (WaveRange{80, 20}));
    view.clearSelectedRange();
    EXPECT_TRUE(view.shownImage().isNull());
}

TEST_F(VmWaveViewTest, addsItsColourWithoutPassingWhite) {
    picture.fill(qRgb(255, 255, 255));
    view.setImage(picture);
    drag({100, 150});
    EXPECT_EQ(view.shownImage().pixel(120, 20), qRgb(255, 255, 255));
}

TEST_F(VmWaveViewTest, writesTheNamesOfItsOperationsAndChangesNothing_onArrowKeys) {
    drag({100, 150});
    posts.clear();
    EXPECT_TRUE(view.performKeyEquivalent(VmWaveView::Key::rightArrow, false));
    EXPECT_TRUE(view.performKeyEquivalent(VmWaveView::Key::leftArrow, false));
    EXPECT_TRUE(view.performKeyEquivalent(VmWaveView::Key::rightArrow, true));
    EXPECT_TRUE(view.performKeyEquivalent(VmWaveView::Key::leftArrow, true));
    EXPECT_EQ(log.lines(), (Posts{"extendRight", "extendLeft", "reduceLeft", "reduceRight"}));
    EXPECT_EQ(posts, Posts{});
    EXPECT_EQ(view.selectedRange(), (WaveRange{100, 50}));
}

TEST_F(VmWaveViewTest, passesOtherKeysOn) {
    EXPECT_FALSE(view.performKeyEquivalent(VmWaveView::Key::other, false));
    EXPECT_EQ(log.lines(), Posts{});
}

TEST_F(VmWaveViewTest, showsTheProgressOfTheExpectedPictureOnly) {
    EXPECT_EQ(view.progress(), std::nullopt);
    view.setProgress("a", 0.5);
    EXPECT_EQ(view.progress(), std::nullopt);
    view.expectImage("a");
    EXPECT_EQ(view.progress(), 0.0);
    view.setProgress("a", 0.5);
    view.setProgress("b", 0.7);
    EXPECT_EQ(view.progress(), 0.5);
    view.setImage(picture);
    EXPECT_EQ(view.progress(), std::nullopt);
    view.setProgress("a", 0.6);
    EXPECT_EQ(view.progress(), std::nullopt);
}

TEST_F(VmWaveViewTest, tellsItsViewsOfEveryChange) {
    int changes = 0;
    view.observe([&changes] { ++changes; });
    view.mouseDown(100, false);
    view.mouseDragged(150);
    EXPECT_GT(changes, 0);
    changes = 0;
    view.setNeedsDisplay();
    EXPECT_EQ(changes, 1);
}
