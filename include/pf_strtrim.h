/* In-place trimming of NUL-terminated text. */
#ifndef TESKPF_PF_STRTRIM_H
#define TESKPF_PF_STRTRIM_H

#include <teskpf/export.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Non-zero for the characters strtrim removes: blank, tab, line feed,
   vertical tab, form feed and carriage return (independent of the locale).
   Inline because the line reader asks it for nearly every character. */
static inline int pf_isspace(int c) {
    /* Tab, line feed, vertical tab, form feed and carriage return are 9 to 13. */
    return c == ' ' || (unsigned)(c - '\t') <= (unsigned)('\r' - '\t');
}

/* Removes white space at both ends of `text` in place; the remaining text
   starts at the start of the buffer. Returns `text`. Accepts NULL. */
TESKPF_API char *strtrim(char *text);

#ifdef __cplusplus
}
#endif

#endif
