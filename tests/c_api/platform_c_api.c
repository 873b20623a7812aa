// The platform headers compile as C and each function links with C linkage;
// what the functions do is tested from C++.
#include "pf_platform.h"

int main(void) {
    char text[] = " a 1 ";
    Pf *pf = 0;
    Tbl *list = newtbl(0);
    pf_set_clock_for_testing(0);
    int ok = settbl(list, -1, text) == 0 && gettbl(list, 0) == text && cnttbl(list) == 1 && std_now() > 0 &&
             !pf_isspace(*strtrim(text)) && pfcompile(text, &pf) == 0 && pfchild(pf, 0) == pfget(pf, "[\"a\"]") &&
             pfcount(pf) == 1 && pfkey(pf, 0) && pfvalue(pf, "[\"a\"]") && !pffiles(0, 0);
    freetbl(list, 0);
    pffree(pf);
    return !ok;
}
