// The listening socket lives with the other shared helpers.
#pragma once

#include "support/test_support.hpp"
