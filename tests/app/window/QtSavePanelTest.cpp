#include "app/window/QtSavePanel.h"

#include "base/Texts.h"

#include <functional>
#include <gtest/gtest.h>
#include <QApplication>
#include <QCheckBox>
#include <QDir>
#include <QFileDialog>
#include <QLineEdit>
#include <QTemporaryDir>
#include <QTimer>

namespace {
/// A panel that is answered as soon as it shows.
struct QtSavePanelTest : testing::Test {
    std::optional<std::string> choose(const std::function<void(QFileDialog&)>& answer) {
        QTimer::singleShot(0, [&] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            ASSERT_NE(dialog, nullptr);
            answer(*dialog);
        });
        return panel.choose(request);
    }
    static std::function<void(QFileDialog&)> accepting(const QString& name) {
        return [name](QFileDialog& dialog) {
            dialog.findChild<QLineEdit*>()->setText(name);
            QMetaObject::invokeMethod(&dialog, "accept");
        };
    }

    const Texts texts = Texts::forLanguage("en");
    QtSavePanel panel{texts};
    QTemporaryDir folder;
    SaveRequest request{.titleKey = "CopyCaption",
                        .promptKey = "CopyCaption",
                        .folder = folder.path().toStdString(),
                        .suggestedName = "sound.aif",
                        .fileType = "aif",
                        .options = {{"EndlessCaption", "EndlessTip", true}, {"StepCaption", "", false}}};
};
} // namespace

TEST_F(QtSavePanelTest, givesTheChosenPathWithTheRequiredExtension) {
    EXPECT_EQ(choose(accepting("thunder")), folder.filePath("thunder.aif").toStdString());
    EXPECT_EQ(choose(accepting("thunder.aif")), folder.filePath("thunder.aif").toStdString());
    EXPECT_EQ(choose(accepting("thunder.wav")), folder.filePath("thunder.wav.aif").toStdString());
}

TEST_F(QtSavePanelTest, suggestsANameAndShowsTheOptions) {
    choose([](QFileDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QLineEdit*>()->text(), "sound.aif");
        const auto boxes = dialog.findChildren<QCheckBox*>();
        ASSERT_EQ(boxes.size(), 2);
        EXPECT_EQ(boxes[0]->text(), "Repeat");
        EXPECT_TRUE(boxes[0]->isChecked());
        EXPECT_FALSE(boxes[0]->toolTip().isEmpty());
        EXPECT_FALSE(boxes[1]->isChecked());
        dialog.reject();
    });
}

TEST_F(QtSavePanelTest, returnsTheOptionsAsThePersonLeftThem) {
    EXPECT_TRUE(choose([](QFileDialog& dialog) {
        for (QCheckBox* box : dialog.findChildren<QCheckBox*>())
            box->toggle();
        accepting("thunder")(dialog);
    }));
    EXPECT_FALSE(request.options[0].on);
    EXPECT_TRUE(request.options[1].on);
}

TEST_F(QtSavePanelTest, changesNothing_whenThePersonGivesUp) {
    EXPECT_EQ(choose([](QFileDialog& dialog) {
                  for (QCheckBox* box : dialog.findChildren<QCheckBox*>())
                      box->toggle();
                  dialog.reject();
              }),
              std::nullopt);
    EXPECT_TRUE(request.options[0].on);
    EXPECT_FALSE(request.options[1].on);
}
