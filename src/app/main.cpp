// The program velmoratide.
#include "app/Application.h"
#include "app/CommandLine.h"
#include "app/TerminationSignals.h"
#include "app/window/WindowedApplication.h"

#include <array>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <QCoreApplication>
#include <string>

namespace {
bool isSet(const char* variable) {
    const char* value = std::getenv(variable);
    return value != nullptr && value[0] != '\0';
}
} // namespace

int main(int argc, char* argv[]) {
    std::string error;
    const auto line = CommandLine::parse({argv + 1, argv + argc}, error);
    if (!line) {
        std::fprintf(stderr, "velmoratide: %s\n", error.c_str());
        return 2;
    }
    if (line->help || line->version) {
        std::fputs(line->help ? CommandLine::helpText().c_str() : "Velmoratide " VELMORATIDE_VERSION "\n",
                   stdout);
        return std::fflush(stdout) == 0 ? 0 : 1;
    }
    // A reader of our output that goes away must not end a duty.
    std::signal(SIGPIPE, SIG_IGN);
    TerminationSignals termination;
    const bool windowless = line->headless || line->listSources;
    if (!windowless && !isSet("DISPLAY") && !isSet("WAYLAND_DISPLAY") && !isSet("QT_QPA_PLATFORM")) {
        std::fputs("velmoratide: there is no display for the window; --headless runs without one\n", stderr);
        return 1;
    }
    // Qt's own arguments are not offered, but for the one of the session's manager.
    std::string program = argv[0];
    std::string option = "-session";
    std::string session = line->session;
    std::array<char*, 4> qtArgv{program.data(), option.data(), session.data(), nullptr};
    int qtArgc = session.empty() ? 1 : 3;
    qtArgv[static_cast<std::size_t>(qtArgc)] = nullptr;
    const auto qt = windowless ? std::make_unique<QCoreApplication>(qtArgc, qtArgv.data())
                               : makeWindowedApplication(qtArgc, qtArgv.data());
    QCoreApplication::setApplicationName(QStringLiteral("velmoratide"));
    QCoreApplication::setApplicationVersion(QStringLiteral(VELMORATIDE_VERSION));
    return Application(*line, *qt, termination).run();
}
