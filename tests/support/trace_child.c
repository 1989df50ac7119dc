/* Appends numbered lines to the log and debug files named on the command
   line, as one of several installers running at once would. */
#include <stdio.h>
#include <stdlib.h>

#include "dpl/dpl.h"

int main(int argc, char **argv) {
    int count;
    int i;
    if (argc != 5) return 2;
    count = atoi(argv[4]);
    if (ht_trace_start(argv[1], argv[2], 9, HT_TIMESTAMP, "child") != HT_OK) return 3;
    for (i = 0; i < count; ++i) {
        ht_log("child %s line %d of the shared log", argv[3], i);
        ht_debug(5, "API/API", i, "child %s debug line %d", argv[3], i);
    }
    return ht_trace_stop(NULL) == HT_OK ? 0 : 4;
}
