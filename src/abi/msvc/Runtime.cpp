// What a Visual C++ program takes from the static part of its runtime, written for the exported
// classes: the global operator new and delete, and the table every type descriptor points at.
//
// Memory the classes hand to a Visual C++ program is freed by that program's runtime, the
// Universal C runtime, and memory it hands to us is freed here: both sides allocate on that
// runtime's heap. Its malloc and free are imported under names of their own (ucrt-heap.def), so
// that they cannot be mixed up with the C runtime the rest of the module uses.
#include <new>

extern "C" {
__declspec(dllimport) void* __cdecl qv_ucrt_malloc(size_t bytes);
__declspec(dllimport) void __cdecl qv_ucrt_free(void* block);
}

namespace {

// Blocks allocated and freed on this side, for the development export below.
long long allocations = 0;
long long frees = 0;

}  // namespace

void* __cdecl operator new(size_t bytes) {
    void* block = qv_ucrt_malloc(bytes != 0 ? bytes : 1);
    if (block == nullptr) throw std::bad_alloc();
    __atomic_add_fetch(&allocations, 1, __ATOMIC_RELAXED);
    return block;
}

void __cdecl operator delete(void* block) noexcept {
    if (block == nullptr) return;
    __atomic_add_fetch(&frees, 1, __ATOMIC_RELAXED);
    qv_ucrt_free(block);
}

void __cdecl operator delete(void* block, size_t) noexcept { operator delete(block); }

// How many blocks the exported classes have allocated and freed so far: a consumer's test adds
// its own counts and sees every block freed exactly once.
extern "C" __declspec(dllexport) void QVBoundaryHeapCounts(long long* allocated, long long* freed) {
    if (allocated != nullptr) *allocated = __atomic_load_n(&allocations, __ATOMIC_RELAXED);
    if (freed != nullptr) *freed = __atomic_load_n(&frees, __ATOMIC_RELAXED);
}

// type_info's table. Type descriptors only point at it; no exception dispatch calls through it.
extern "C" void QvTypeInfoDestructor(void*, unsigned) {}
extern "C" void* const QvTypeInfoTable[1] __asm__("??_7type_info@@6B@") = {
    reinterpret_cast<void*>(&QvTypeInfoDestructor)};
