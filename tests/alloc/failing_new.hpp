// The program's operator new, which can be told to fail: the Nth
// allocation after arming throws std::bad_alloc (the nothrow forms answer
// null), and with `persistent` every later one too.
#pragma once

#include <cstdint>

namespace dpl::test::alloc {

void arm(uint64_t fail_at, bool persistent);  // fail_at 0: count only
void disarm();
uint64_t allocations();  // since the last arm()
uint64_t failures();     // since the last arm()

}  // namespace dpl::test::alloc
