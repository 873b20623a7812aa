// In-place trimming with a fixed, locale-independent white-space set.
#include "pf_strtrim.h"

#include <cstring>

extern "C" char *strtrim(char *text) {
    if (!text) return text;
    const char *start = text;
    while (pf_isspace(static_cast<unsigned char>(*start))) ++start;
    size_t length = strlen(start);
    while (length > 0 && pf_isspace(static_cast<unsigned char>(start[length - 1]))) --length;
    memmove(text, start, length);
    text[length] = '\0';
    return text;
}
