/* Uses every function of the platform layer from C: the headers must be
   valid C and the symbols must have C linkage. Exits non-zero on a mismatch. */
#define _POSIX_C_SOURCE 200809L

#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "pf_platform.h"

static int failures = 0;

static void check(int ok, const char *what) {
    if (!ok) {
        fprintf(stderr, "failed: %s\n", what);
        ++failures;
    }
}

static int same(const char *text, const char *expected) { return text && strcmp(text, expected) == 0; }

static double fixed_clock(void) { return 7.0; }

static void check_tbl(void) {
    Tbl *list = newtbl(1);
    int *one = malloc(sizeof *one);
    check(list && one && settbl(list, -1, one) == 0, "settbl appends");
    check(gettbl(list, 0) == one && cnttbl(list) == 1, "gettbl and cnttbl");
    freetbl(list, free);
}

static void check_strtrim(void) {
    char text[] = " \t value \r\n";
    check(same(strtrim(text), "value") && pf_isspace('\v') && !pf_isspace('x'), "strtrim");
}

static void check_clock(void) {
    pf_set_clock_for_testing(fixed_clock);
    check(std_now() == 7.0, "pinned clock");
    pf_set_clock_for_testing(NULL);
    check(std_now() > 1e9, "system clock");
}

static void check_files(void) {
    char dir[] = "/tmp/pfcapi.XXXXXX";
    char path[64];
    check(mkdtemp(dir) != NULL, "mkdtemp");
    snprintf(path, sizeof path, "%s/c.pf", dir);
    FILE *file = fopen(path, "w");
    check(file != NULL, "create file");
    if (file) fclose(file);
    setenv("PFPATH", dir, 1);
    Tbl *found = pffiles("c", 0);
    check(cnttbl(found) == 1 && same(gettbl(found, 0), path), "pffiles");
    freetbl(found, NULL);
    remove(path);
    rmdir(dir);
}

static void check_compile(void) {
    char text[] = "a 1\nb &Tbl{\n  x\n}\n";
    Pf *pf = NULL;
    check(pfcompile(text, &pf) == 0, "pfcompile");
    check(same(pfvalue(pf, "[\"a\"]"), "1"), "pfvalue");
    Pf *list = pfget(pf, "[\"b\"]");
    check(pfcount(list) == 1 && pfchild(list, 0) && pfchild(list, 0)->type == PF_STRING, "pfcount and pfchild");
    check(same(pfkey(pf, 1), "b"), "pfkey");
    pffree(pf);
}

int main(void) {
    check_tbl();
    check_strtrim();
    check_clock();
    check_files();
    check_compile();
    return failures == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}
