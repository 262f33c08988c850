#include "app/window/SessionEnd.h"

#include <gtest/gtest.h>
#include <QApplication>
#include <QSessionManager>
#include <QtTest>
#include <QWidget>

namespace {
struct StubbornWidget : QWidget {
    int asked = 0;
    void closeEvent(QCloseEvent* event) override {
        ++asked;
        event->ignore();
    }
};
} // namespace

TEST(SessionEnd, isHeardOnce_andAsksNoWindow) {
    StubbornWidget window;
    window.show();
    int ends = 0;
    int stores = 0;
    const SessionEnd sessionEnd({[&stores] { ++stores; }, [&ends] { ++ends; }}, {});
    QEvent quit(QEvent::Quit);
    QCoreApplication::sendEvent(qApp, &quit);
    QCoreApplication::sendEvent(qApp, &quit);
    EXPECT_EQ(ends, 1);
    EXPECT_EQ(stores, 0);
    EXPECT_EQ(window.asked, 0);
    EXPECT_TRUE(window.isVisible());
}

TEST(SessionEnd, listensToTheSessionsManager) {
    const SessionEnd sessionEnd({[] {}, [] {}}, {});
    const auto listeners = [](const char* signal) {
        struct Open : QGuiApplication {
            using QObject::receivers;
        };
        return (qGuiApp->*(&Open::receivers))(signal);
    };
    EXPECT_EQ(listeners(SIGNAL(commitDataRequest(QSessionManager&))), 1);
    EXPECT_EQ(listeners(SIGNAL(saveStateRequest(QSessionManager&))), 1);
}

TEST(SessionEnd, leavesOtherEventsAlone) {
    int ends = 0;
    const SessionEnd sessionEnd({[] {}, [&ends] { ++ends; }}, {});
    QEvent other(QEvent::ApplicationFontChange);
    QCoreApplication::sendEvent(qApp, &other);
    EXPECT_EQ(ends, 0);
}
