// The consumer's own runtime: its entry point, its global operator new and delete on the
// Universal C runtime's heap (counted, and each block freed checked to belong to that heap), and
// what a Visual C++ program's static runtime would give it besides.
#include <new>

#include "ConsumerRuntime.h"

extern "C" {
__declspec(dllimport) void* __cdecl malloc(size_t bytes);
__declspec(dllimport) void __cdecl free(void* block);
__declspec(dllimport) void* __cdecl _get_heap_handle();
__declspec(dllimport) int __stdcall HeapValidate(void* heap, unsigned long flags, const void* block);
__declspec(dllimport) void* __stdcall GetStdHandle(unsigned long which);
__declspec(dllimport) int __stdcall WriteFile(void* file, const void* bytes, unsigned long count,
                                             unsigned long* written, void* overlapped);
__declspec(dllimport) void __stdcall ExitProcess(unsigned int code);
}

namespace Consumer {

HeapCounts heap;

void Print(const char* text) {
    unsigned long length = 0;
    while (text[length] != 0) ++length;
    unsigned long written = 0;
    WriteFile(GetStdHandle(static_cast<unsigned long>(-11)), text, length, &written, nullptr);
}

void Print(const wchar_t* text) {
    char narrow[512];
    size_t i = 0;
    for (; text[i] != 0 && i + 1 < sizeof(narrow); ++i) narrow[i] = text[i] < 0x80 ? static_cast<char>(text[i]) : '?';
    narrow[i] = 0;
    Print(narrow);
}

void Print(long long number) {
    char digits[24];
    int i = sizeof(digits) - 1;
    digits[i] = 0;
    const bool negative = number < 0;
    unsigned long long value = negative ? 0ull - static_cast<unsigned long long>(number) : number;
    do {
        digits[--i] = static_cast<char>('0' + value % 10);
        value /= 10;
    } while (value != 0);
    if (negative) digits[--i] = '-';
    Print(digits + i);
}

}  // namespace Consumer

void* __cdecl operator new(size_t bytes) {
    void* block = malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr) throw std::bad_alloc();
    __atomic_add_fetch(&Consumer::heap.allocations, 1, __ATOMIC_RELAXED);
    return block;
}

void __cdecl operator delete(void* block) noexcept {
    if (block == nullptr) return;
    __atomic_add_fetch(&Consumer::heap.frees, 1, __ATOMIC_RELAXED);
    // Whatever we free, ours or the module's, must be a block of the runtime's heap.
    if (HeapValidate(_get_heap_handle(), 0, block) == 0)
        __atomic_add_fetch(&Consumer::heap.foreign, 1, __ATOMIC_RELAXED);
    free(block);
}

void __cdecl operator delete(void* block, size_t) noexcept { operator delete(block); }

extern "C" void ConsumerTypeInfoDestructor(void*, unsigned) {}
extern "C" void* const ConsumerTypeInfoTable[1] __asm__("??_7type_info@@6B@") = {
    reinterpret_cast<void*>(&ConsumerTypeInfoDestructor)};

// The initializers of the program's statics lie between these two, in sections the linker sorts
// by name; the functions registered to run at exit, in a table of our own.
using Function = void(__cdecl*)();
#pragma section(".CRT$XCA", read)
#pragma section(".CRT$XCZ", read)
extern "C" __declspec(allocate(".CRT$XCA")) const Function ConsumerInitializersBegin[] = {nullptr};
extern "C" __declspec(allocate(".CRT$XCZ")) const Function ConsumerInitializersEnd[] = {nullptr};

namespace {
Function atExit[64];
int atExitCount = 0;
}  // namespace

extern "C" int __cdecl atexit(Function function) {
    if (atExitCount == 64) return -1;
    atExit[atExitCount++] = function;
    return 0;
}

int ConsumerMain();

extern "C" void mainCRTStartup() {
    for (const Function* initializer = ConsumerInitializersBegin; initializer < ConsumerInitializersEnd; ++initializer)
        if (*initializer != nullptr) (*initializer)();
    const int result = ConsumerMain();
    while (atExitCount > 0) atExit[--atExitCount]();
    ExitProcess(static_cast<unsigned int>(result));
}
