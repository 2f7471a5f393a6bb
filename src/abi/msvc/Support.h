#pragma once
// What the exported classes share on their side of the bridge: texts to and from the bridge's
// records, sinks that fill our containers and keep any failure for after the call, the answers
// of the bridge turned into ours, the few system calls this side makes, and tables built once.
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "abi/msvc/ClassBridge.h"

extern "C" {
__declspec(dllimport) int __stdcall InitOnceExecuteOnce(void** once, int(__stdcall* build)(void**, void*, void**),
                                                       void* parameter, void** context);
int __cdecl atexit(void(__cdecl* function)());
}

namespace Qv::Boundary {

inline std::wstring Wide(const wchar_t* text, size_t length) {
    return text != nullptr ? std::wstring(text, length) : std::wstring();
}
inline std::wstring Wide(const QvbText& text) { return Wide(text.text, text.length); }
inline QvbText View(const std::wstring& text) { return {text.c_str(), text.size()}; }

// A sink's context: where it puts what it is handed, and whether that failed (an allocation:
// nothing may be thrown through the module's frames, so it is thrown once they have returned).
template <class Into>
struct Collect {
    Into& into;
    bool failed = false;
};

template <class Into, class Add>
void Sunk(void* context, Add&& add) noexcept {
    auto& collect = *static_cast<Collect<Into>*>(context);
    if (collect.failed) return;
    try {
        add(collect.into);
    } catch (...) {
        collect.failed = true;
    }
}

inline void TextSink(void* context, const wchar_t* text, size_t length) {
    Sunk<std::wstring>(context, [&](std::wstring& into) { into = Wide(text, length); });
}

// The bridge's answer: an allocation that failed on either side is ours to throw; anything else
// the module caught leaves the call's result as it was (false or empty), as its checks do.
inline void Check(int status, bool sinkFailed = false) {
    if (status == kQvbOutOfMemory || sinkFailed) throw std::bad_alloc();
}

template <class Into>
inline void Check(int status, const Collect<Into>& collect) {
    Check(status, collect.failed);
}

// An object built on first use by `Build` (a function answering a new T), on any number of
// threads at once, and destroyed when the module is unloaded. A failed build is thrown as
// bad_alloc and tried again on the next use.
template <class T, T* (*Build)()>
class BuiltOnce {
public:
    static const T& Get() {
        T* built = nullptr;
        if (InitOnceExecuteOnce(&once_, &Run, nullptr, reinterpret_cast<void**>(&built)) == 0 || built == nullptr)
            throw std::bad_alloc();
        return *built;
    }

private:
    static int __stdcall Run(void**, void*, void** context) {
        try {
            object_ = Build();
        } catch (...) {
            return 0;
        }
        atexit(&Destroy);
        *context = object_;
        return 1;
    }
    static void __cdecl Destroy() { delete object_; }

    static inline void* once_ = nullptr;
    static inline T* object_ = nullptr;
};

}  // namespace Qv::Boundary
