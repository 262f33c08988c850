#include "app/window/QtAlert.h"

#include "base/QtRunLoop.h"
#include "base/Texts.h"

#include <gtest/gtest.h>
#include <QAbstractButton>
#include <QApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QMessageBox>
#include <QPushButton>
#include <QTimer>
#include <thread>

namespace {
QList<QMessageBox*> openBoxes() {
    QList<QMessageBox*> boxes;
    for (QWidget* widget : QApplication::topLevelWidgets())
        if (auto* box = qobject_cast<QMessageBox*>(widget); box && box->isVisible())
            boxes.append(box);
    return boxes;
}

struct QtAlertTest : testing::Test {
    Texts texts = Texts::forLanguage("en");
    QtRunLoop runLoop{*QCoreApplication::instance()};
    QtAlert alert{runLoop, texts};
    const AlertRequest question{"CompressingCaution", "CompressingCautionInfo", "StopAfterCompress", "Cancel",
                                "ApplicationStop"};
    const AlertRequest news{"FileWriteError", "CheckAndRetry", "Understand"};

    AlertAnswer answerBy(const AlertRequest& request, const std::function<void(QMessageBox&)>& person) {
        QTimer::singleShot(0, [&] {
            const QList<QMessageBox*> boxes = openBoxes();
            ASSERT_EQ(boxes.size(), 1);
            person(*boxes.first());
        });
        return alert.ask(request);
    }
    static void press(QMessageBox& box, const char* name) { box.findChild<QAbstractButton*>(name)->click(); }
};
} // namespace

TEST_F(QtAlertTest, answersWithThePressedButton) {
    EXPECT_EQ(answerBy(question, [](QMessageBox& box) { press(box, "default"); }), AlertAnswer::defaultButton);
    EXPECT_EQ(answerBy(question, [](QMessageBox& box) { press(box, "alternate"); }),
              AlertAnswer::alternateButton);
    EXPECT_EQ(answerBy(question, [](QMessageBox& box) { press(box, "other"); }), AlertAnswer::otherButton);
}

TEST_F(QtAlertTest, cancels_whenEscapeIsTyped) {
    const auto escape = [](QMessageBox& box) {
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QApplication::sendEvent(&box, &press);
    };
    EXPECT_EQ(answerBy(question, escape), AlertAnswer::alternateButton);
    EXPECT_EQ(answerBy(news, escape), AlertAnswer::defaultButton);
}

TEST_F(QtAlertTest, cancels_whenItsWindowGoes) {
    auto window = std::make_unique<QWidget>();
    alert.setParentWindow(window.get());
    EXPECT_EQ(answerBy(question, [&](QMessageBox&) { window.reset(); }), AlertAnswer::alternateButton);
}

TEST_F(QtAlertTest, showsTheTextsOfItsKeys) {
    answerBy(question, [this](QMessageBox& box) {
        EXPECT_EQ(box.text().toStdString(), texts("CompressingCaution"));
        EXPECT_EQ(box.informativeText().toStdString(), texts("CompressingCautionInfo"));
        EXPECT_EQ(box.buttons().size(), 3);
        press(box, "default");
    });
}

TEST_F(QtAlertTest, setsTheMessageOffFromWhatExplainsIt) {
    const AlertRequest stop{"TimerStopCaution", "TimerStopInfo", "RecordStop", "Cancel"};
    const AlertAnswer answer = answerBy(stop, [this](QMessageBox& box) {
        const auto* message = box.findChild<QLabel*>("qt_msgbox_label");
        const auto* explanation = box.findChild<QLabel*>("qt_msgbox_informativelabel");
        ASSERT_NE(message, nullptr);
        ASSERT_NE(explanation, nullptr);
        EXPECT_TRUE(message->font().bold());
        EXPECT_FALSE(explanation->font().bold());
        EXPECT_GE(explanation->width(), 320);
        EXPECT_EQ(box.defaultButton()->text().toStdString(), texts("RecordStop"));
        press(box, "alternate");
    });
    EXPECT_EQ(answer, AlertAnswer::alternateButton);
}

TEST_F(QtAlertTest, tellsFromAnotherThread_withoutWaiting) {
    std::thread([this] { alert.tell(news); }).join();
    EXPECT_TRUE(openBoxes().isEmpty());
    QApplication::processEvents();
    ASSERT_EQ(openBoxes().size(), 1);
    EXPECT_FALSE(openBoxes().first()->isModal());
    EXPECT_EQ(openBoxes().first()->text().toStdString(), texts("FileWriteError"));
}

TEST_F(QtAlertTest, tellsTheSameThingOnce_whileItIsOpen) {
    for (int repeat = 0; repeat < 50; ++repeat)
        alert.tell(news);
    alert.tell({"NoPlaybackSource", "UnablePlayback", "Understand"});
    QApplication::processEvents();
    EXPECT_EQ(openBoxes().size(), 2);

    for (QMessageBox* box : openBoxes())
        press(*box, "default");
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_TRUE(openBoxes().isEmpty());
    alert.tell(news);
    QApplication::processEvents();
    EXPECT_EQ(openBoxes().size(), 1) << "read and closed, it is told again";
}

TEST_F(QtAlertTest, takesItsBoxesAlong) {
    {
        QtAlert other(runLoop, texts);
        other.tell(news);
        QApplication::processEvents();
        EXPECT_EQ(openBoxes().size(), 1);
        other.tell({"NoPlaybackSource", "UnablePlayback", "Understand"});
    }
    QApplication::processEvents();
    EXPECT_TRUE(openBoxes().isEmpty());
}

TEST_F(QtAlertTest, callsAPerson_onlyWhileNoWindowIsInFront) {
    std::vector<std::string> called;
    alert.setUnseenHandler([&](const QString& message, const QString& text) {
        called.push_back(message.toStdString() + "/" + text.toStdString());
    });
    const auto tellAndClose = [this](QWidget* inFront) {
        alert.tell(news);
        QApplication::processEvents();
        ASSERT_EQ(openBoxes().size(), 1);
        QApplication::setActiveWindow(inFront);
        for (QTimer* second : openBoxes().first()->findChildren<QTimer*>(QString(), Qt::FindDirectChildrenOnly))
            second->start(0); // it has passed
        QApplication::processEvents();
        press(*openBoxes().first(), "default");
        QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    };
    QWidget window;
    window.show();
    tellAndClose(&window);
    EXPECT_TRUE(called.empty()) << "who sits before the window sees the box";
    tellAndClose(nullptr);
    EXPECT_EQ(called, std::vector<std::string>{texts("FileWriteError") + "/" + texts("CheckAndRetry")});
}
