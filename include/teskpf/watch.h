// Live reloading: a Watcher follows every file a parameter-file name stands
// for and reloads the document when one of them changes, keeping the last
// good document when a change does not pass the checks. See docs/watching.md.
//
// What is watched: the argument is resolved by the rule of search.h (a name
// without "/" is every NAME.pf along PFPATH, a path with "/" that file). The
// watcher follows every candidate file, including layers that do not exist
// yet and layers that disappear, by watching directories (never the files
// themselves), so in-place writes, saves through a temporary file and a
// rename, symbolic links swapped anywhere in the chain (a "..data" directory
// link, say) and deletions are all seen. A directory of the path that does
// not exist yet is covered by watching its nearest existing parent.
//
// Threads: a Watcher is used either with its own thread (start: the
// callback runs on that thread) or from the caller's event loop (fd and
// process: everything happens on the thread that calls process). current()
// may be called from any thread at any time: it returns a snapshot that stays
// valid and unchanged while the caller holds it, even across reloads.
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <teskpf/diagnostics.h>
#include <teskpf/document.h>
#include <teskpf/error.h>
#include <teskpf/export.h>

namespace teskpf {

struct WatchOptions {
    // Quiet time: a reload happens once no change was seen for this long, so
    // that a burst of writes gives one reload.
    std::chrono::milliseconds settle{100};
    // The longest a reload waits after the first change of a burst, so that
    // a file written without pause is still reloaded.
    std::chrono::milliseconds max_delay{1000};
    // Above 0: compare the files' identities (device, inode, size,
    // modification time) at this interval instead of listening to the
    // kernel's notifications. 0: notifications, or polling every
    // `fallback_poll` when they are unavailable.
    std::chrono::milliseconds poll{0};
    // The polling interval used when notifications are unavailable.
    std::chrono::milliseconds fallback_poll{1000};
};

// How a key path differs between the document before a reload and after.
enum class ChangeKind { Added, Removed, Changed };

// "added", "removed" or "changed".
TESKPF_API const char *changeKindName(ChangeKind kind);

// One key path whose value differs. Blocks count as entries whose value is
// "&Arr" or "&Tbl", so an emptied or new block is seen too.
struct KeyChange {
    std::string key;  // the full key path, e.g. ["net"]["port"]
    ChangeKind change = ChangeKind::Changed;
    std::string old_value;  // "" when added
    std::string new_value;  // "" when removed
    std::string file;       // the file supplying the new value (the old one when removed)
    long line = 0;          // 1-based line in `file`
};

// The outcome of a reload that was delivered.
struct WatchEvent {
    enum class Kind {
        Changed,   // accepted: `document` replaced the previous one; `changes` is not empty
        Rejected,  // refused: the previous document stays in effect
    };
    Kind kind = Kind::Changed;
    std::vector<std::string> files;            // the files read, lowest precedence first
    std::vector<KeyChange> changes;            // Changed: every key path added, removed or changed
    std::vector<Diagnostic> diagnostics;       // Rejected: the errors (and warnings); Changed: the warnings
    std::string error;                         // Rejected without diagnostics: why nothing could be read
    std::shared_ptr<const Document> document;  // the document in effect after this reload; null when none ever was
};

// "changed" or "rejected".
TESKPF_API const char *watchEventName(WatchEvent::Kind kind);

class TESKPF_API Watcher {
public:
    using Callback = std::function<void(const WatchEvent &event)>;

    // Starts watching what `name` stands for and reads it once. Never throws
    // for the files themselves: when they are missing or do not pass the
    // checks, current() is null and initial() says why. Throws Error when "~"
    // cannot be expanded, or when no file descriptor or timer can be made.
    explicit Watcher(std::string_view name, WatchOptions options = {});
    // Stops the thread (as stop()) and closes the descriptors.
    ~Watcher();
    Watcher(const Watcher &) = delete;
    Watcher &operator=(const Watcher &) = delete;

    // The document in effect: the last reading that passed; null when none
    // has. Safe from any thread; the snapshot never changes under its holder.
    std::shared_ptr<const Document> current() const;
    // The outcome of the first reading (kind Changed with no changes when it
    // passed, Rejected with the diagnostics or the error when not).
    const WatchEvent &initial() const;
    // Whether the watcher polls (by option, or because notifications are
    // unavailable) rather than listening to notifications.
    bool polling() const;

    // Event-loop integration: one descriptor that becomes readable when
    // process() has something to do (a notification, the end of the settle
    // time, a polling tick). Owned by the watcher; poll it, never read it.
    // Nothing makes it readable while no file changes.
    int fd() const;
    // Does what is due, without blocking: takes in notifications, and reloads
    // when the settle time has passed. The delivered outcome, or nothing
    // (nothing due yet, or a reload that changed no value: the new document
    // is then in effect silently). Not to be mixed with start().
    std::optional<WatchEvent> process();

    // Thread integration: a thread of the watcher's own waits on fd() and
    // calls `callback` (on that thread) with each delivered outcome. The
    // callback may call current() but not stop() or the destructor. Throws
    // Error when already started.
    void start(Callback callback);
    // Stops and joins the thread; nothing when not started. Returns after
    // any callback in progress has returned.
    void stop();

private:
    struct State;
    std::unique_ptr<State> state_;
};

}  // namespace teskpf
