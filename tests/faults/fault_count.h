// The numbers that a program shares with the test. They are in a mapped file, so that they survive a crash.
#pragma once

#include <stdint.h>

struct fault_count {
    uint64_t allocations, allocations_before_main;
    uint64_t system_calls, system_calls_before_main; // of one kind
};
