// app/WindowAssembly.h — the main window of the application, with all its tabs.
#pragma once
#include <functional>
#include <memory>

class MainWindow;
class Texts;
class VmControler;

/// Binds a window to the controllers. They must outlive it. `mayClose` is asked when a person closes the
/// window. Main thread only.
std::unique_ptr<MainWindow> assembleWindow(VmControler& controler, const Texts& texts,
                                           std::function<bool()> mayClose);
