#include "app/window/WindowedApplication.h"

#include "app/window/ScreenReader.h"

#include <QApplication>

std::unique_ptr<QCoreApplication> makeWindowedApplication(int& argc, char** argv) {
    auto application = std::make_unique<QApplication>(argc, argv);
    application->setQuitOnLastWindowClosed(false);
    ScreenReader::tellWindows();
    // Under this name the desktop finds our icon, and what we may do.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.velmoratide.Velmoratide"));
    return application;
}
