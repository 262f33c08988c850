// app/window/WindowedApplication.h — the Qt application object of a program with windows.
#pragma once
#include <memory>
#include <QCoreApplication>

/// `argc` and `argv` must outlive the object. Closing the window does not quit: the application controller
/// decides.
std::unique_ptr<QCoreApplication> makeWindowedApplication(int& argc, char** argv);
