// The watcher: notifications (or polling ticks) in, a settle timer, a reload
// that reads every layer once, checks it and swaps the document only when it
// passes. One epoll descriptor gathers the notification descriptor and the
// timers, so that a caller's event loop or the watcher's own thread waits on
// one descriptor and nothing runs while no file changes.
#include <teskpf/watch.h>

#include <poll.h>
#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <thread>
#include <unordered_map>

#include <teskpf/error.h>
#include <teskpf/search.h>

#include "api/DocumentAccess.h"
#include "diagnostics/DiagnosticRules.h"
#include "files/UniqueFd.h"
#include "store/Layers.h"
#include "watching/ChangeSet.h"
#include "watching/WatchedFiles.h"

namespace teskpf {

namespace {

constexpr uint32_t kDirectoryEvents = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_CLOSE_WRITE | IN_MODIFY |
                                      IN_ATTRIB | IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

using Nanoseconds = int64_t;

Nanoseconds monotonicNow() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<Nanoseconds>(now.tv_sec) * 1000000000 + now.tv_nsec;
}

timespec asTimespec(Nanoseconds at) {
    return {static_cast<time_t>(at / 1000000000), static_cast<long>(at % 1000000000)};
}

// Sets `timer` to fire at `value` (absolute with TFD_TIMER_ABSTIME in
// `flags`) and then every `interval`; a zero value disarms it.
int setTimer(int timer, int flags, Nanoseconds value, Nanoseconds interval = 0) {
    itimerspec timing{};
    timing.it_value = asTimespec(value);
    timing.it_interval = asTimespec(interval);
    return timerfd_settime(timer, flags, &timing, nullptr);
}

Nanoseconds nanosecondsOf(std::chrono::milliseconds duration) {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
}

[[noreturn]] void throwSystem(const std::string &what) {
    throw Error("cannot watch: " + what + ": " + std::strerror(errno));
}

UniqueFd checked(int fd, const char *what) {
    if (fd < 0) throwSystem(what);
    return UniqueFd(fd);
}

// Reads what a timer or event descriptor holds, so that it is no longer readable.
bool drainCounter(int fd) {
    uint64_t count = 0;
    return fd >= 0 && read(fd, &count, sizeof count) == static_cast<ssize_t>(sizeof count) && count > 0;
}

bool hasErrors(const std::vector<Diagnostic> &diagnostics) {
    return std::any_of(diagnostics.begin(), diagnostics.end(),
                       [](const Diagnostic &diagnostic) { return diagnostic.severity == Severity::Error; });
}

}  // namespace

const char *changeKindName(ChangeKind kind) {
    switch (kind) {
    case ChangeKind::Added: return "added";
    case ChangeKind::Removed: return "removed";
    case ChangeKind::Changed: break;
    }
    return "changed";
}

const char *watchEventName(WatchEvent::Kind kind) {
    return kind == WatchEvent::Kind::Rejected ? "rejected" : "changed";
}

struct Watcher::State {
    std::string name;  // the argument, "~" expanded
    WatchOptions options;
    WatchedFiles watched;

    UniqueFd epoll;
    UniqueFd inotify;  // invalid while polling
    UniqueFd settle_timer;
    UniqueFd poll_timer;
    std::unordered_map<int, std::string> watches;  // watch descriptor -> directory

    std::mutex processing;  // one process() at a time
    std::vector<std::optional<FileIdentity>> known;
    bool pending = false;
    Nanoseconds first_change = 0;
    Nanoseconds last_change = 0;
    std::vector<FlatEntry> entries;  // of the current document, so that no reload reads a published one

    mutable std::mutex publishing;
    std::shared_ptr<const Document> document;
    WatchEvent initial;

    std::thread thread;
    UniqueFd stop_event;

    State(std::string expanded, WatchOptions chosen) : name(std::move(expanded)), options(chosen), watched(name) {}

    void add(int fd) {
        epoll_event event{};
        event.events = EPOLLIN;
        event.data.fd = fd;
        if (epoll_ctl(epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0) throwSystem("epoll_ctl");
    }

    // Notifications when they can be had; polling otherwise.
    void setUp() {
        epoll = checked(epoll_create1(EPOLL_CLOEXEC), "epoll_create1");
        settle_timer = checked(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create");
        add(settle_timer.get());
        if (options.poll.count() <= 0) {
            inotify = UniqueFd(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
            if (inotify.get() >= 0 && refreshWatches()) {
                add(inotify.get());
                return;
            }
            inotify = UniqueFd();
            watches.clear();
        }
        startPolling();
    }

    void startPolling() {
        const auto interval = options.poll.count() > 0 ? options.poll : options.fallback_poll;
        const Nanoseconds every = std::max<Nanoseconds>(nanosecondsOf(interval), 1000000);
        poll_timer = checked(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "timerfd_create");
        if (setTimer(poll_timer.get(), 0, every, every) != 0) throwSystem("timerfd_settime");
        add(poll_timer.get());
    }

    // Watches the directories that cover the candidates now, and no others.
    // False when the kernel refuses a watch for want of resources.
    bool refreshWatches() {
        const std::vector<std::string> wanted = watched.directories();
        std::unordered_map<int, std::string> now;
        for (const std::string &directory : wanted) {
            const int wd = inotify_add_watch(inotify.get(), directory.c_str(), kDirectoryEvents);
            if (wd >= 0) {
                now[wd] = directory;
            } else if (errno == ENOSPC || errno == ENOMEM) {
                return false;
            }
            // Any other failure: the directory went meanwhile, and its parent's event brings us back.
        }
        for (const auto &[wd, directory] : watches)
            if (!now.count(wd)) inotify_rm_watch(inotify.get(), wd);
        watches = std::move(now);
        return true;
    }

    // Takes in every notification; whether one may concern a layer, and
    // whether it was a write into a file of a candidate's name (which may
    // leave the identity as it was: same size within one timestamp tick).
    bool drainNotifications(bool &written) {
        if (!inotify.valid()) return false;
        bool any = false;
        alignas(inotify_event) char buffer[16384];
        for (;;) {
            const ssize_t got = read(inotify.get(), buffer, sizeof buffer);
            if (got <= 0) break;
            for (ssize_t at = 0; at < got;) {
                const auto *event = reinterpret_cast<const inotify_event *>(buffer + at);
                at += static_cast<ssize_t>(sizeof(inotify_event) + event->len);
                any = true;
                if (event->mask & IN_Q_OVERFLOW) written = true;
                if ((event->mask & (IN_MODIFY | IN_CLOSE_WRITE)) && event->len > 0 &&
                    watched.isCandidateName(event->name))
                    written = true;
            }
        }
        return any;
    }

    void armSettleTimer(Nanoseconds at) { setTimer(settle_timer.get(), TFD_TIMER_ABSTIME, at); }

    void disarmSettleTimer() { setTimer(settle_timer.get(), 0, 0); }

    Nanoseconds due() const {
        return std::min(last_change + nanosecondsOf(options.settle), first_change + nanosecondsOf(options.max_delay));
    }

    // Reads every layer once, checks them and swaps the document when they
    // pass. The outcome to deliver; nothing when no value changed.
    std::optional<WatchEvent> reload(bool first) {
        known = watched.identities();
        WatchEvent event;
        std::optional<Layers> layers;
        try {
            layers.emplace(Layers::ofName(name));
        } catch (const Error &error) {
            event.kind = WatchEvent::Kind::Rejected;
            event.error = error.what();
            event.document = current();
            return event;
        }
        for (const Layer &layer : layers->files) event.files.push_back(layer.path);
        event.diagnostics = checkAll(*layers);
        std::shared_ptr<const Document> loaded;
        if (!hasErrors(event.diagnostics)) {
            try {
                loaded = std::make_shared<const Document>(detail::DocumentAccess::ofLayers(*layers));
            } catch (const Error &error) {
                event.error = error.what();
            }
        }
        if (!loaded) {
            event.kind = WatchEvent::Kind::Rejected;
            event.document = current();
            return event;
        }
        std::vector<FlatEntry> now = flatEntries(*loaded);
        if (!first) event.changes = changesBetween(entries, now);
        entries = std::move(now);
        {
            std::lock_guard<std::mutex> lock(publishing);
            document = loaded;
        }
        event.document = std::move(loaded);
        if (!first && event.changes.empty()) return std::nullopt;
        return event;
    }

    std::shared_ptr<const Document> current() const {
        std::lock_guard<std::mutex> lock(publishing);
        return document;
    }

    std::optional<WatchEvent> process() {
        std::lock_guard<std::mutex> lock(processing);
        bool written = false;
        bool touched = drainNotifications(written);
        if (drainCounter(poll_timer.get())) touched = true;
        drainCounter(settle_timer.get());
        if (touched) {
            if (inotify.valid() && !refreshWatches()) {
                // Out of watches: fall back to polling for good.
                epoll_ctl(epoll.get(), EPOLL_CTL_DEL, inotify.get(), nullptr);
                inotify = UniqueFd();
                watches.clear();
                startPolling();
                written = true;
            }
            std::vector<std::optional<FileIdentity>> identities = watched.identities();
            if (written || identities != known) {
                known = std::move(identities);
                const Nanoseconds now = monotonicNow();
                if (!pending) first_change = now;
                pending = true;
                last_change = now;
            }
        }
        if (!pending) return std::nullopt;
        if (monotonicNow() < due()) {
            armSettleTimer(due());
            return std::nullopt;
        }
        pending = false;
        disarmSettleTimer();
        return reload(false);
    }
};

Watcher::Watcher(std::string_view name, WatchOptions options)
    : state_(std::make_unique<State>(homeExpanded(name), options)) {
    state_->setUp();
    std::optional<WatchEvent> first = state_->reload(true);
    state_->initial = std::move(*first);
}

Watcher::~Watcher() { stop(); }

std::shared_ptr<const Document> Watcher::current() const { return state_->current(); }

const WatchEvent &Watcher::initial() const { return state_->initial; }

bool Watcher::polling() const { return !state_->inotify.valid(); }

int Watcher::fd() const { return state_->epoll.get(); }

std::optional<WatchEvent> Watcher::process() { return state_->process(); }

void Watcher::start(Callback callback) {
    if (state_->thread.joinable()) throw Error("the watcher is already started");
    state_->stop_event = checked(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK), "eventfd");
    State *state = state_.get();
    state_->thread = std::thread([state, callback = std::move(callback)] {
        pollfd fds[2] = {{state->epoll.get(), POLLIN, 0}, {state->stop_event.get(), POLLIN, 0}};
        for (;;) {
            if (::poll(fds, 2, -1) < 0 && errno != EINTR) return;
            if (fds[1].revents) return;
            try {
                std::optional<WatchEvent> event = state->process();
                if (event && callback) callback(*event);
            } catch (...) {
                // A failing callback, or memory running out, costs this
                // outcome only; the watcher goes on.
            }
        }
    });
}

void Watcher::stop() {
    if (!state_ || !state_->thread.joinable()) return;
    const uint64_t one = 1;
    if (write(state_->stop_event.get(), &one, sizeof one) != static_cast<ssize_t>(sizeof one)) return;
    state_->thread.join();
    state_->stop_event = UniqueFd();
}

}  // namespace teskpf
