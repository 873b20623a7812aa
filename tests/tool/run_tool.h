// Running the built teskpf tool from a test: in a directory, with PFPATH set
// (unset when empty), its output captured or thrown away.
#pragma once

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "test_support.h"

namespace tool_run {

struct ToolRun {
    int status = -1;  // the exit status; -1 when the tool did not exit normally
    std::string out, err;
};

// Starts the tool with `args` in `dir`; standard output and error go to the
// files named (to /dev/null for ""). Returns its process id.
inline pid_t startTool(const std::vector<std::string> &args, const std::string &dir, const std::string &pfpath,
                       const std::string &out = "", const std::string &err = "") {
    const pid_t pid = fork();
    if (pid == 0) {
        std::vector<char *> argv{const_cast<char *>(TESKPF_TOOL)};
        for (const std::string &arg : args) argv.push_back(const_cast<char *>(arg.c_str()));
        argv.push_back(nullptr);
        pfpath.empty() ? unsetenv("PFPATH") : setenv("PFPATH", pfpath.c_str(), 1);
        if (chdir(dir.c_str()) != 0) _exit(127);
        dup2(open(out.empty() ? "/dev/null" : out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 1);
        dup2(open(err.empty() ? "/dev/null" : err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600), 2);
        execv(TESKPF_TOOL, argv.data());
        _exit(127);
    }
    return pid;
}

// Waits for the tool started as `pid`; its exit status, or -1.
inline int waitFor(pid_t pid) {
    int status = 0;
    waitpid(pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

// Runs the tool to its end and captures what it printed.
inline ToolRun runTool(const std::vector<std::string> &args, const std::string &dir, const std::string &pfpath) {
    test_support::TempDir io;
    const std::string out = io.path() + "/out", err = io.path() + "/err";
    const int status = waitFor(startTool(args, dir, pfpath, out, err));
    return {status, test_support::readText(out), test_support::readText(err)};
}

}  // namespace tool_run
