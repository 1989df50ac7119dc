/* The public header must compile alone as C. */
#include "dpl/dpl.h"

int dpl_header_compiles_as_c(void) {
    return DPL_OK;
}
