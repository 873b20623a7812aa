/* The platform layer: search path, lists, trimming, clock and compiled Pf. */
#ifndef TESKPF_PF_PLATFORM_H
#define TESKPF_PF_PLATFORM_H

#include "pf_clock.h"
#include "pf_compile.h"
#include "pf_files.h"
#include "pf_strtrim.h"
#include "pf_tbl.h"

#endif
