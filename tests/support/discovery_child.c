/* A stand-in for the programs that discovery and upgrade meet:
   "mark SERVER" holds the running-instance marker of SERVER, as a running
   server would, until it is killed (or a minute has passed);
   any other arguments make it an uninstaller that writes them, one a line,
   to the file named by DPL_TEST_UNINSTALL_ARGS and exits with status 3. */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

#include "dpl/dpl.h"

static void pause_one_second(void) {
#if defined(_WIN32)
    Sleep(1000);
#else
    sleep(1);
#endif
}

int main(int argc, char **argv) {
    const char *record = getenv("DPL_TEST_UNINSTALL_ARGS");
    FILE *out;
    int i;
    if (argc == 3 && strcmp(argv[1], "mark") == 0) {
        if (dplCreateInstanceMarker(argv[2]) != 0) return 2;
        for (i = 0; i < 60; ++i) pause_one_second();
        return 0;
    }
    if (record == NULL) return 2;
    out = fopen(record, "wb");
    if (out == NULL) return 2;
    for (i = 1; i < argc; ++i) fprintf(out, "%s\n", argv[i]);
    fclose(out);
    return 3;
}
