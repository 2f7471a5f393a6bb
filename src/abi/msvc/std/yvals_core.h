#pragma once
// Our own declarations of the few standard-library types that cross the module's boundary with
// Visual C++ programs, laid out as the Microsoft C++ library lays them out in an x64 release
// build (_ITERATOR_DEBUG_LEVEL 0). The layouts are facts of that library's public headers; the
// code is ours. Compiled only by clang for x86_64-pc-windows-msvc: the module's boundary and the
// test consumer use it in place of the Microsoft library, which cannot be part of this build.
#if !defined(_MSC_VER) || !defined(_M_X64)
#error "these declarations are for the Microsoft x64 ABI (clang --target=x86_64-pc-windows-msvc)"
#endif

// What a release /MD build of the Microsoft library defines: no iterator debugging.
#define _ITERATOR_DEBUG_LEVEL 0

typedef unsigned long long size_t;
typedef long long ptrdiff_t;
typedef decltype(nullptr) nullptr_t;

namespace std {
using ::size_t;
using ::ptrdiff_t;
using nullptr_t = decltype(nullptr);
}  // namespace std

// The global allocation functions, defined by the program (the module: src/abi/msvc/Runtime.cpp)
// on the Universal C runtime's heap.
void* __cdecl operator new(size_t bytes);
void __cdecl operator delete(void* block) noexcept;
void __cdecl operator delete(void* block, size_t bytes) noexcept;
inline void* __cdecl operator new(size_t, void* where) noexcept { return where; }
inline void __cdecl operator delete(void*, void*) noexcept {}
