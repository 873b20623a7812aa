// Live reloading: a service keeps the station settings in effect while an
// operator edits a layer. The watcher's thread delivers each reload; the
// main thread reads the current document whenever it needs it.
//
//   PFPATH=examples:examples/site-override ./watch_reload [SECONDS]
//
// Prints "watching ..." once the watch is set, then one block of lines per
// reload; ends after the first accepted change, or after SECONDS (default:
// never) when none comes.
#include <chrono>
#include <condition_variable>
#include <iostream>
#include <mutex>
#include <string>

#include <teskpf/watch.h>

int main(int argc, char **argv) {
    const long seconds = argc > 1 ? std::stol(argv[1]) : 0;

    teskpf::WatchOptions options;
    options.settle = std::chrono::milliseconds(100);  // one reload per burst of writes
    teskpf::Watcher watcher("station", options);
    if (!watcher.current()) {
        std::cerr << "station: " << watcher.initial().error << '\n';
        return 1;
    }

    std::mutex mutex;
    std::condition_variable changed;
    bool done = false;
    watcher.start([&](const teskpf::WatchEvent &event) {
        // Runs on the watcher's thread.
        if (event.kind == teskpf::WatchEvent::Kind::Rejected) {
            std::cout << "rejected, keeping the previous settings:\n";
            for (const teskpf::Diagnostic &d : event.diagnostics)
                std::cout << "  " << d.file << ':' << d.line << ": " << d.message << '\n';
            if (!event.error.empty()) std::cout << "  " << event.error << '\n';
            std::cout.flush();
            return;
        }
        for (const teskpf::KeyChange &change : event.changes)
            std::cout << teskpf::changeKindName(change.change) << ' ' << change.key << ": '" << change.old_value
                      << "' -> '" << change.new_value << "' (" << change.file << ':' << change.line << ")\n";
        std::cout.flush();
        std::lock_guard<std::mutex> lock(mutex);
        done = true;
        changed.notify_all();
    });

    // Any thread reads the settings in effect through a snapshot of its own.
    std::shared_ptr<const teskpf::Document> settings = watcher.current();
    std::cout << "watching " << settings->files().size() << " files; telemetry port "
              << (*settings)["telemetry"]["port"].valueOr(0) << std::endl;

    std::unique_lock<std::mutex> lock(mutex);
    auto finished = [&] { return done; };
    if (seconds > 0)
        changed.wait_for(lock, std::chrono::seconds(seconds), finished);
    else
        changed.wait(lock, finished);
    if (!done) return 1;
    std::cout << "telemetry port now " << (*watcher.current())["telemetry"]["port"].valueOr(0) << std::endl;
    return 0;
}
