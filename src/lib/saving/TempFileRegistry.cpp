#include "saving/TempFileRegistry.h"

#include <fcntl.h>
#include <limits.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstring>

#include "teskpf/save.h"

namespace teskpf {

namespace {

// A place in the list. A signal handler may interrupt any thread at any
// point, so the state word alone decides who may touch the other fields:
// the saving thread while it fills or empties the place, the handler while
// it removes the file.
enum SlotState : int { kFree, kFilling, kListed, kRemoving };

struct Slot {
    std::atomic<int> state{kFree};
    int dir = -1;
    char name[NAME_MAX + 1] = {};
};

static_assert(std::atomic<int>::is_always_lock_free, "the signal handler needs a lock-free state word");

// Saves running at the same time beyond this many go unlisted.
constexpr int kSlots = 32;
Slot slots[kSlots];

}  // namespace

TempFileRegistration::TempFileRegistration(int dir, const std::string &name) : slot_(-1) {
    if (name.size() > NAME_MAX) return;
    for (int i = 0; i < kSlots; ++i) {
        int expected = kFree;
        if (!slots[i].state.compare_exchange_strong(expected, kFilling, std::memory_order_acquire)) continue;
        slots[i].dir = dir;
        std::memcpy(slots[i].name, name.c_str(), name.size() + 1);
        slots[i].state.store(kListed, std::memory_order_release);
        slot_ = i;
        return;
    }
}

TempFileRegistration::~TempFileRegistration() {
    if (slot_ < 0) return;
    // A handler running on another thread holds the place only for one
    // unlinkat; wait for it to give the place back.
    for (int expected = kListed; !slots[slot_].state.compare_exchange_weak(expected, kFree, std::memory_order_acq_rel);
         expected = kListed) {}
}

void removeTempFilesOnSignal() noexcept {
    int saved = errno;  // a handler must leave errno as it found it
    for (Slot &slot : slots) {
        int expected = kListed;
        if (!slot.state.compare_exchange_strong(expected, kRemoving, std::memory_order_acquire)) continue;
        unlinkat(slot.dir, slot.name, 0);
        slot.state.store(kListed, std::memory_order_release);
    }
    errno = saved;
}

}  // namespace teskpf
