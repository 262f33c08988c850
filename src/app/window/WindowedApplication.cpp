#include "app/window/WindowedApplication.h"

#include <QApplication>

std::unique_ptr<QCoreApplication> makeWindowedApplication(int& argc, char** argv) {
    auto application = std::make_unique<QApplication>(argc, argv);
    application->setQuitOnLastWindowClosed(false);
    return application;
}
