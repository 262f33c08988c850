// The preferences, with real events on the real controller.
#include "app/window/PreferPanel.h"

#include "SessionWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QLabel>
#include <QLineEdit>
#include <QScrollArea>
#include <QScrollBar>
#include <QSlider>
#include <QTimer>

namespace {
struct PreferPanelTest : testing::Test {
    PreferPanelTest() { open("en"); }
    void open(const char* language) {
        session = std::make_unique<SessionWindow>(0, std::vector<RehearsalDesk::Setting>(), language);
        session->controler().prefer().preferButton.press(true);
        session->pass(0.0);
    }
    VmPrefer& prefer() const { return session->controler().prefer(); }
    PreferPanel& panel() const {
        for (QWidget* widget : session->window->findChildren<QWidget*>())
            if (auto* found = dynamic_cast<PreferPanel*>(widget); found != nullptr)
                return *found;
        throw std::runtime_error("no panel");
    }
    void showPage(PreferPage page) const {
        prefer().pages.choose(static_cast<int>(page));
        session->pass(0.0);
    }
    template <typename Widget>
    Widget& field(const char* setting) const {
        return session->named<Widget>(setting);
    }
    void type(QWidget& field, const char* text) const {
        field.setFocus();
        QTest::keyClick(&field, Qt::Key_A, Qt::ControlModifier);
        QTest::keyClicks(&field, text);
        session->pass(0.0);
    }
    std::unique_ptr<SessionWindow> session;
};
} // namespace

TEST_F(PreferPanelTest, hasAFieldALabelAndALineOfHelpForEverySetting_inEachLanguage) {
    for (const char* language : {"en", "ja", "de"}) {
        open(language);
        for (const PreferItem& item : prefer().items()) {
            showPage(item.page());
            auto* widget = session->window->findChild<QWidget*>(QString::fromStdString(item.setting()));
            ASSERT_NE(widget, nullptr) << item.setting();
            EXPECT_TRUE(widget->isVisible()) << item.setting();
            EXPECT_EQ(widget->accessibleName().toStdString(), session->it.desk.texts(item.captionKey()));
            EXPECT_EQ(widget->accessibleDescription().toStdString(), session->it.desk.texts(item.helpKey()));
        }
        EXPECT_EQ(session->nameless(), std::vector<std::string>()) << language;
    }
}

TEST_F(PreferPanelTest, cutsNoText_onAnyPage_inAnyLanguage) {
    for (const char* language : {"en", "ja", "de"}) {
        open(language);
        for (int page = 0; page <= static_cast<int>(PreferPage::program); ++page) {
            showPage(static_cast<PreferPage>(page));
            for (QCheckBox* box : panel().findChildren<QCheckBox*>())
                if (box->isVisible()) {
                    EXPECT_GE(box->width(), box->sizeHint().width()) << language << box->text().toStdString();
                }
            for (QScrollArea* area : panel().findChildren<QScrollArea*>())
                if (area->isVisible()) {
                    EXPECT_LE(area->widget()->minimumSizeHint().width(), area->viewport()->width())
                        << language << " page " << page;
                }
        }
    }
}

TEST_F(PreferPanelTest, appliesWithEnter_whatWasJustTyped) {
    auto& delay = field<QDoubleSpinBox>("AutoStopDelayTime");
    const int before = session->controler().recorder().delayTime();
    ASSERT_NE(before, 17);
    type(delay, "17");
    EXPECT_TRUE(session->named<QWidget>("PreferOk").isEnabled()) << "while the field has the focus";
    session->key(delay, Qt::Key_Return);
    EXPECT_EQ(session->controler().recorder().delayTime(), 17);
    EXPECT_FALSE(prefer().drawer.isOpen());
    EXPECT_TRUE(session->it.happened("DelayTimeChange"));
}

TEST_F(PreferPanelTest, appliesWithARealClick_aNameThatIsStillBeingTyped) {
    showPage(PreferPage::timetable);
    type(field<QLineEdit>("DefaultReserveName"), "News");
    session->click("PreferOk");
    EXPECT_EQ(session->controler().reserver().defReserveName(), "News");
    EXPECT_FALSE(panel().isVisible());
}

TEST_F(PreferPanelTest, changesNothing_onEscape) {
    const int before = session->controler().recorder().delayTime();
    auto& delay = field<QDoubleSpinBox>("AutoStopDelayTime");
    type(delay, "17");
    session->key(delay, Qt::Key_Escape);
    EXPECT_FALSE(prefer().drawer.isOpen());
    EXPECT_EQ(session->controler().recorder().delayTime(), before);
    EXPECT_FALSE(session->it.happened("DelayTimeChange"));
}

TEST_F(PreferPanelTest, cancels_whenEnterIsPressedOnCancel) {
    const int before = session->controler().recorder().delayTime();
    type(field<QDoubleSpinBox>("AutoStopDelayTime"), "17");
    auto& cancel = session->named<QWidget>("PreferCancel");
    cancel.setFocus();
    session->key(cancel, Qt::Key_Return);
    EXPECT_FALSE(prefer().drawer.isOpen());
    EXPECT_EQ(session->controler().recorder().delayTime(), before);
}

TEST_F(PreferPanelTest, givesTheOpacityBack_afterARealMoveOfTheSlider) {
    showPage(PreferPage::program);
    auto& slider = field<QSlider>("WindowOpacity");
    slider.setFocus();
    for (int step = 0; step < 20; ++step)
        session->key(slider, Qt::Key_Left);
    EXPECT_LT(session->controler().opacity(), 1.0F);
    session->key(slider, Qt::Key_Escape);
    EXPECT_FLOAT_EQ(session->controler().opacity(), 1.0F);
}

TEST_F(PreferPanelTest, changesNothing_whenTheWheelTurnsOverAField) {
    for (const char* setting : {"SamplingRateNumber", "RecordMode", "AutoStopDelayTime"}) {
        auto& widget = field<QWidget>(setting);
        ASSERT_FALSE(widget.hasFocus());
        const QPointF place = widget.rect().center();
        QWheelEvent wheel(place, widget.mapToGlobal(place), {}, {0, 120}, Qt::NoButton, Qt::NoModifier,
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&widget, &wheel);
    }
    EXPECT_FALSE(prefer().okButton.enabled());
}

TEST_F(PreferPanelTest, takesTheFolderThatWasLookedFor) {
    showPage(PreferPage::keeping);
    const QString folder = QString::fromStdString(session->it.desk.folder + "/vault");
    std::filesystem::create_directory(folder.toStdString());
    session->click("KeepOperation");
    QTimer::singleShot(0, [&] {
        auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
        ASSERT_NE(dialog, nullptr);
        dialog->findChild<QLineEdit*>("fileNameEdit")->setText(folder);
        static_cast<QDialog*>(dialog)->accept();
    });
    session->click("KeepFileKeepFolderBrowse");
    EXPECT_EQ(field<QLineEdit>("KeepFileKeepFolder").text(), folder);
    session->click("PreferOk");
    EXPECT_EQ(session->controler().keeper().keepFolder(), folder.toStdString());
}

TEST_F(PreferPanelTest, saysWhyAChoiceCannotBeApplied_andTakesNoEnterThen) {
    showPage(PreferPage::storage);
    auto& folder = field<QLineEdit>("DirectoryPath");
    const std::string before = session->controler().mechanic().recordFolder();
    type(folder, "nowhere");
    EXPECT_FALSE(session->named<QWidget>("PreferOk").isEnabled());
    EXPECT_FALSE(session->named<QLabel>("PreferMessage").text().isEmpty());
    session->key(folder, Qt::Key_Return);
    EXPECT_TRUE(prefer().drawer.isOpen());
    EXPECT_EQ(session->controler().mechanic().recordFolder(), before);
}

TEST_F(PreferPanelTest, isWalkedThroughFromTopToBottom) {
    QWidget& pages = session->named<QWidget>("PreferPages");
    pages.setFocus();
    std::vector<std::string> walked;
    for (int step = 0; step < 4; ++step) {
        session->key(*QApplication::focusWidget(), Qt::Key_Tab);
        walked.push_back(QApplication::focusWidget()->objectName().toStdString());
    }
    std::vector<std::string> wanted;
    for (const PreferItem& item : prefer().items())
        if (item.page() == PreferPage::recording && item.control().enabled() && wanted.size() < 4)
            wanted.push_back(item.setting());
    EXPECT_EQ(walked, wanted);
}
