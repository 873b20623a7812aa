// Wall-clock time, replaceable by tests.
#include "pf_clock.h"

#include <atomic>
#include <ctime>

namespace {
std::atomic<double (*)(void)> test_clock{nullptr};
}

extern "C" double std_now(void) {
    if (double (*clock)(void) = test_clock.load()) return clock();
    struct timespec now;
    clock_gettime(CLOCK_REALTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

extern "C" void pf_set_clock_for_testing(double (*clock)(void)) { test_clock.store(clock); }
