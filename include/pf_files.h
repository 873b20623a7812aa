/* Parameter-file search path. */
#ifndef TESKPF_PF_FILES_H
#define TESKPF_PF_FILES_H

#include <teskpf/export.h>

#include "pf_tbl.h"

#ifdef __cplusplus
extern "C" {
#endif

/* The parameter files called `name` along the search path, as a list of
   NUL-terminated paths (char *) in search-path order: the last one takes
   precedence. The directories come from the environment variable PFPATH,
   separated by ":"; empty components are skipped; an unset or empty PFPATH
   means ".". A name without "/" is looked for as DIR/NAME in each directory,
   a name with "/" only as itself; either way ".pf" is appended unless the name
   already ends in ".pf". Each candidate is opened (read-only, non-blocking,
   never as a controlling terminal) and closed again: only regular files that
   the real user may read (as access(2) judges) are listed, each file
   once: when several paths name the same file (a directory given twice, or
   by two spellings, or a link), only the last of them is listed, where that
   file takes precedence.
   Returns NULL when there is none. The paths live as long as the list:
   release it with freetbl(list, 0). `flags` is reserved and must be 0.
   NULL also for a NULL or empty name or non-zero flags. */
TESKPF_API Tbl *pffiles(const char *name, int flags);

#ifdef __cplusplus
}
#endif

#endif
