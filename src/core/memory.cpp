// Memory handed across the C boundary: allocated and freed by the library's
// own runtime, so callers built with another runtime free it with dplFree.
#include <cstdlib>

#include "dpl/dpl.h"

extern "C" void dplFree(void *memory) {
    std::free(memory);
}
