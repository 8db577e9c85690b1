#pragma once

// Runs a measurement in a process of its own, so that its peak resident memory is the whole
// process's, and reads the figures it prints.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

extern char** environ;

namespace ostradb::bench {

// Runs argv and returns what it wrote to standard output; ok tells whether it ran and exited
// with status 0.
inline std::string RunChild(const std::vector<std::string>& args, bool& ok) {
    std::vector<char*> argv;
    for (const std::string& arg : args)
        argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    ok = false;
    int fds[2];
    if (pipe(fds) != 0) return {};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, fds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, fds[0]);
    pid_t pid = 0;
    const int spawned = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(fds[1]);
    std::string text;
    char buf[256];
    for (ssize_t n; (n = read(fds[0], buf, sizeof buf)) > 0;)
        text.append(buf, static_cast<std::size_t>(n));
    close(fds[0]);
    if (spawned != 0) return text;
    int status = 0;
    waitpid(pid, &status, 0);
    ok = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return text;
}

}  // namespace ostradb::bench
