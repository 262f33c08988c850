#include "app/ExitGuard.h"

#include <cstdlib>
#include <thread>
#include <unistd.h>
#include <utility>

struct ExitGuard::Watch {
    std::function<void()> handler; // empty once it was called, or its guard has gone
    std::thread::id thread;

    static void onExit(int status, void* argument) {
        const std::unique_ptr<std::shared_ptr<Watch>> watch(static_cast<std::shared_ptr<Watch>*>(argument));
        if ((*watch)->thread != std::this_thread::get_id())
            return;
        if (const auto handler = std::exchange((*watch)->handler, {})) {
            handler();
            ::_exit(status); // what runs on other threads needs what exit() would destroy
        }
    }
};

ExitGuard::ExitGuard(std::function<void()> handler)
    : m_watch(std::make_shared<Watch>(Watch{std::move(handler), std::this_thread::get_id()})) {
    // A registration cannot be taken back: it outlives the guard.
    auto registered = std::make_unique<std::shared_ptr<Watch>>(m_watch);
    if (::on_exit(&Watch::onExit, registered.get()) == 0)
        static_cast<void>(registered.release()); // it is taken back there
}

ExitGuard::~ExitGuard() {
    m_watch->handler = nullptr;
}
