/* The current time, with a hook for tests. */
#ifndef TESKPF_PF_CLOCK_H
#define TESKPF_PF_CLOCK_H

#include <teskpf/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Seconds since the Unix epoch, with sub-second precision. */
TESKPF_API double std_now(void);

/* Test hook: while `clock` is set, std_now() returns clock() instead of the
   system time. Pass NULL to go back to the system time. Meant for tests that
   need a fixed time; production code never calls it. */
TESKPF_API void pf_set_clock_for_testing(double (*clock)(void));

#ifdef __cplusplus
}
#endif

#endif
