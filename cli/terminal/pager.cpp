// SPDX-License-Identifier: Apache-2.0

#include "cli/terminal/pager.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

extern char** environ;

namespace {

// $PAGER is a command with arguments, which a shell takes apart, as all programs do; nothing
// is added to it.
pid_t spawn(const char* pager, int input) {
    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
    sigset_t signals;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawnattr_init(&attributes);
    sigemptyset(&signals);
    for (int signal : {SIGPIPE, SIGXFSZ, SIGINT, SIGQUIT}) sigaddset(&signals, signal);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF);
    std::string shell = "sh", option = "-c", command = pager ? pager : "less";
    char* const words[] = {shell.data(), option.data(), command.data(), nullptr};
    pid_t process = 0;
    const int error = pager ? posix_spawn(&process, "/bin/sh", &actions, &attributes, words, environ)
                            : posix_spawnp(&process, "less", &actions, &attributes, words + 2, environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    return error == 0 ? process : 0;
}

}  // namespace

bool Pager::start() {
    const char* pager = std::getenv("PAGER");
    if (pager && (!*pager || std::string_view(pager) == "cat")) return false;
    int pipe[2];
    if (::pipe(pipe) != 0) return false;
    for (int end : pipe) fcntl(end, F_SETFD, FD_CLOEXEC);
    // As others do: short texts stay on the screen, and colours are colours.
    setenv("LESS", "FRX", /*overwrite*/ 0);
    m_process = spawn(pager, pipe[0]);
    std::fflush(stdout);
    if (isRunning()) dup2(pipe[1], STDOUT_FILENO);
    close(pipe[0]);
    close(pipe[1]);
    // The terminal's keys are the pager's.
    if (isRunning())
        for (int signal : {SIGINT, SIGQUIT}) std::signal(signal, SIG_IGN);
    return isRunning();
}

void Pager::wait() {
    while (isRunning() && waitpid(m_process, nullptr, 0) < 0 && errno == EINTR) {
    }
    m_process = 0;
}
