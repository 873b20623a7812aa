// teskpf watch NAME [--settle MS] [--poll MS]: follows the files NAME reads
// and prints one JSON line per reload, until SIGINT or SIGTERM.
#include <poll.h>
#include <signal.h>
#include <sys/signalfd.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <iostream>

#include <teskpf/watch.h>

#include "command.h"
#include "diagnostic_output.h"
#include "json_output.h"
#include "tool_error.h"

namespace teskpf_tool {

namespace {

// The value of option `name` as a number of milliseconds; `fallback` when absent.
std::chrono::milliseconds milliseconds(const CommandLine &line, const std::string &name, long fallback) {
    if (!line.has(name)) return std::chrono::milliseconds(fallback);
    const std::string text = line.value(name);
    char *end = nullptr;
    errno = 0;
    const long value = std::strtol(text.c_str(), &end, 10);
    if (text.empty() || *end != '\0' || errno == ERANGE || value < 0 || value > 86400000)
        throw UsageError("watch: " + name + " takes milliseconds from 0 to 86400000, not '" + text + "'", "watch");
    return std::chrono::milliseconds(value);
}

Json eventJson(const teskpf::WatchEvent &event, const char *name) {
    Json json = {{"event", name}, {"files", event.files}};
    if (event.kind == teskpf::WatchEvent::Kind::Changed && !event.changes.empty()) {
        Json changes = Json::array();
        for (const teskpf::KeyChange &change : event.changes) {
            changes.push_back({{"key", change.key},
                               {"change", teskpf::changeKindName(change.change)},
                               {"old", change.change == teskpf::ChangeKind::Added ? Json() : Json(change.old_value)},
                               {"new", change.change == teskpf::ChangeKind::Removed ? Json() : Json(change.new_value)},
                               {"file", change.file},
                               {"line", change.line}});
        }
        json["changes"] = std::move(changes);
    }
    if (!event.diagnostics.empty()) {
        Json diagnostics = Json::array();
        for (const teskpf::Diagnostic &diagnostic : event.diagnostics)
            diagnostics.push_back(diagnosticJson(diagnostic));
        json["diagnostics"] = std::move(diagnostics);
    }
    if (!event.error.empty()) json["error"] = event.error;
    return json;
}

// SIGINT and SIGTERM as a descriptor, blocked for their default action, so
// that the loop ends cleanly between two reloads.
int endingSignalsFd() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    if (sigprocmask(SIG_BLOCK, &signals, nullptr) != 0)
        throw ToolError(std::string("watch: cannot block signals: ") + std::strerror(errno), kExitError);
    const int fd = signalfd(-1, &signals, SFD_CLOEXEC);
    if (fd < 0) throw ToolError(std::string("watch: signalfd: ") + std::strerror(errno), kExitError);
    return fd;
}

int runWatch(const CommandLine &line) {
    teskpf::WatchOptions options;
    options.settle = milliseconds(line, "--settle", 100);
    options.poll = milliseconds(line, "--poll", 0);
    const int signals = endingSignalsFd();
    teskpf::Watcher watcher(line.positional[0], options);
    const teskpf::WatchEvent &first = watcher.initial();
    printJsonLine(eventJson(first, first.kind == teskpf::WatchEvent::Kind::Rejected ? "rejected" : "loaded"),
                  std::cout);
    pollfd ready[2] = {{watcher.fd(), POLLIN, 0}, {signals, POLLIN, 0}};
    for (;;) {
        if (poll(ready, 2, -1) < 0) {
            if (errno == EINTR) continue;
            throw ToolError(std::string("watch: poll: ") + std::strerror(errno), kExitError);
        }
        if (ready[1].revents) break;
        if (std::optional<teskpf::WatchEvent> event = watcher.process())
            printJsonLine(eventJson(*event, teskpf::watchEventName(event->kind)), std::cout);
        if (!std::cout) throw ToolError("cannot write to standard output", kExitError);
    }
    close(signals);
    return kExitOk;
}

}  // namespace

Command watchCommand() {
    return {"watch",
            "watch NAME [--settle MS] [--poll MS]",
            "follow the files NAME reads and print each reload as a JSON line",
            "Watches every file NAME stands for (see 'teskpf help'), including\n"
            "layers that do not exist yet, and reloads once the files have been\n"
            "quiet for --settle milliseconds (100 by default). A reload that passes\n"
            "'teskpf check' without errors replaces the document in effect; one\n"
            "that does not is rejected and the previous document stays. One JSON\n"
            "line per outcome, flushed at once:\n"
            "  {\"event\":\"loaded\",\"files\":[...]} at the start (or \"rejected\");\n"
            "  {\"event\":\"changed\",\"files\":[...],\"changes\":[{\"key\":...,\n"
            "   \"change\":\"added|removed|changed\",\"old\":...,\"new\":...,\"file\":...,\n"
            "   \"line\":...}]} when values changed (a reload that changes no value\n"
            "   prints nothing);\n"
            "  {\"event\":\"rejected\",\"files\":[...],\"diagnostics\":[...]} (as\n"
            "   'check --format json' writes them), or with \"error\" when no file\n"
            "   could be read.\n"
            "--poll MS compares the files' identities every MS milliseconds instead\n"
            "of listening to the kernel's notifications. Runs until SIGINT or\n"
            "SIGTERM, then exits with status 0.\n",
            {{{"--settle", true}, {"--poll", true}}, {"NAME"}, 1, false},
            runWatch,
            "teskpf watch station --settle 200"};
}

}  // namespace teskpf_tool
