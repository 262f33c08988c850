// The timer tab with its drawer, the keep tab and each page of the preferences, in each language and theme.
// With VELMORATIDE_PICTURES their pictures are left in that folder for a person to look at.
#include "app/window/FittingLabel.h"
#include "SessionWindow.h"

#include <cstdlib>
#include <QLabel>
#include <QPalette>
#include <QPixmap>

namespace {
QPalette dark() {
    QPalette palette(QColor(0x2b, 0x2e, 0x33), QColor(0x2b, 0x2e, 0x33));
    palette.setColor(QPalette::Base, QColor(0x1f, 0x22, 0x26));
    palette.setColor(QPalette::AlternateBase, QColor(0x25, 0x28, 0x2d));
    palette.setColor(QPalette::Button, QColor(0x3a, 0x3e, 0x44));
    palette.setColor(QPalette::Highlight, QColor(0x3d, 0x8f, 0xd6));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const auto role : {QPalette::WindowText, QPalette::Text, QPalette::ButtonText}) {
        palette.setColor(role, QColor(0xec, 0xed, 0xee));
        palette.setColor(QPalette::Disabled, role, QColor(0x80, 0x84, 0x88));
    }
    return palette;
}

struct Look {
    const char* language;
    bool isDark;
};

class TabPictures : public testing::TestWithParam<Look> {
protected:
    TabPictures() {
        QFont font;
        font.setFamilies({"DejaVu Sans", "Noto Sans CJK JP"});
        QApplication::setFont(font);
        if (GetParam().isDark)
            QApplication::setPalette(dark());
    }
    ~TabPictures() override {
        QApplication::setPalette(m_palette);
        QApplication::setFont(m_font);
    }
    static void keep(SessionWindow& session, const std::string& name) {
        session.pass(0.0);
        const QPixmap picture = session.window->grab();
        EXPECT_EQ(picture.size(), session.window->size());
        for (const QLabel* each : session.window->findChildren<QLabel*>())
            if (const auto* label = dynamic_cast<const FittingLabel*>(each);
                label != nullptr && label->isVisible() && label->isShortened())
                ADD_FAILURE() << name << ", " << GetParam().language << ": " << label->text().toStdString();
        if (const char* folder = std::getenv("VELMORATIDE_PICTURES"); folder != nullptr) {
            const std::string path = std::string(folder) + "/" + name +
                                     (GetParam().isDark ? "-dark-" : "-light-") + GetParam().language + ".png";
            EXPECT_TRUE(picture.save(QString::fromStdString(path))) << path;
        }
    }

private:
    const QPalette m_palette = QApplication::palette();
    const QFont m_font = QApplication::font();
};
} // namespace

TEST_P(TabPictures, showTheTimetableAndItsDrawer) {
    const std::vector<StoredTimer> timers = {
        {.name = "Evening news", .start = hourMinute(21, 0), .stop = hourMinute(21, 30)},
        {.name = "Dawn chorus",
         .start = hourMinute(21, 15),
         .stop = hourMinute(1, 0),
         .mode = 1,
         .sample = 2,
         .channels = 2,
         .week = 4},
        {.name = "Leap day", .start = hourMinute(6, 0), .stop = hourMinute(7, 0), .month = 2, .day = 30}};
    SessionWindow session(2, {{"TimerList", timerList(timers)}}, GetParam().language);
    keep(session, "timer");
    session.clickRow("TimerTable", 1);
    session.click("TimerDrawer");
    EXPECT_GT(session.window->width(), 706);
    keep(session, "timer-drawer");
}

TEST_P(TabPictures, showTheKeptRecordings) {
    SessionWindow session(3, {}, GetParam().language);
    keep(session, "keep-empty");
    for (const char* name :
         {"_Velmoratide_20071022_093000~101500.aif.bz2", "_Velmoratide_20071023_235950~000010.aif.bz2",
          "_Velmoratide_20071024_070000~080000.aif.bz2"})
        std::ofstream(session.controler().keeper().keepFolder() + "/" + name) << std::string(123456, 'x');
    session.controler().keeper().renewListAndControl();
    session.clickRow("KeepTable", 1);
    session.controler().keeper().compressIndicator().setAnimating(true);
    keep(session, "keep");
}

TEST_P(TabPictures, showEachPageOfThePreferences) {
    SessionWindow session(0, {}, GetParam().language);
    session.click("Preferences");
    ASSERT_TRUE(session.controler().prefer().drawer.isOpen());
    for (int page = 0; page <= static_cast<int>(PreferPage::program); ++page) {
        session.controler().prefer().pages.choose(page);
        keep(session, "preferences-" + std::to_string(page + 1));
    }
}

INSTANTIATE_TEST_SUITE_P(InEachLook, TabPictures,
                         testing::Values(Look{"en", false}, Look{"ja", false}, Look{"de", false},
                                         Look{"en", true}, Look{"ja", true}, Look{"de", true}),
                         [](const auto& look) {
                             return std::string(look.param.language) + (look.param.isDark ? "_dark" : "_light");
                         });
