#pragma once
// The consumer's runtime (ConsumerRuntime.cpp): output, and its heap's counts.
#include <cstddef>

namespace Consumer {

struct HeapCounts {
    long long allocations = 0;
    long long frees = 0;
    long long foreign = 0;  // blocks freed that were not the Universal C runtime heap's
};

extern HeapCounts heap;

void Print(const char* text);
void Print(const wchar_t* text);
void Print(long long number);

}  // namespace Consumer
