// faults/ProcessOfItsOwn.h — work that may crash or hang, done apart.
#pragma once
#include <csignal>
#include <cstdio>
#include <functional>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

/// Does `work` in a child of this process, which is ended after `seconds`. Returns its text, or how it ended.
inline std::string doneApart(unsigned seconds, const std::function<std::string()>& work) {
    int ends[2] = {-1, -1};
    std::fflush(nullptr);
    if (pipe(ends) != 0)
        return "no pipe";
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        alarm(seconds);
        const std::string text = work();
        const bool told = write(ends[1], text.data(), text.size()) == static_cast<ssize_t>(text.size());
        _exit(told ? 0 : 1);
    }
    close(ends[1]);
    std::string text;
    char piece[4096];
    for (ssize_t got = 0; (got = read(ends[0], piece, sizeof piece)) > 0;)
        text.append(piece, static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    if (child < 0 || waitpid(child, &status, 0) != child)
        return "no process";
    if (WIFSIGNALED(status))
        return text +
               (WTERMSIG(status) == SIGALRM ? "hangs" : "ends by signal " + std::to_string(WTERMSIG(status)));
    return WEXITSTATUS(status) == 0 ? text : text + "exits with " + std::to_string(WEXITSTATUS(status));
}
