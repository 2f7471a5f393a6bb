#pragma once
// Objects of distinct types held by one owner, each made on first use and kept until the owner
// ends: the ports that only one area uses (on the platform), an area's state in a session, an
// area's state in the simulated tool. The owner never names the types it holds, so an area adds
// its own without editing the owner.
#include <memory>
#include <mutex>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <vector>

namespace Qv::Core {

class TypeSlots {
public:
    TypeSlots() = default;
    TypeSlots(const TypeSlots&) = delete;
    TypeSlots& operator=(const TypeSlots&) = delete;

    // The object of type T, made by `make()` (a shared_ptr<T>) when there is none yet.
    template <class T, class Make>
    T& GetOrMake(Make&& make) {
        std::lock_guard<std::mutex> lock(mutex_);
        if (void* found = FindLocked(Key<T>())) return *static_cast<T*>(found);
        std::shared_ptr<T> made = std::forward<Make>(make)();
        T& object = *made;
        entries_.push_back({Key<T>(), std::move(made)});
        return object;
    }
    template <class T>
    T& GetOrMake() {
        return GetOrMake<T>([] { return std::make_shared<T>(); });
    }

    // Puts `object` in T's place, before anyone asked for T (a stand-in made elsewhere).
    template <class T>
    void Put(std::shared_ptr<T> object) {
        std::lock_guard<std::mutex> lock(mutex_);
        for (auto& entry : entries_)
            if (entry.key == Key<T>()) {
                entry.object = std::move(object);
                return;
            }
        entries_.push_back({Key<T>(), std::move(object)});
    }

    // The object of type T, or null when none was made.
    template <class T>
    T* Find() const {
        std::lock_guard<std::mutex> lock(mutex_);
        return static_cast<T*>(FindLocked(Key<T>()));
    }

private:
    // Keyed by the type's identity, which is the same in the module and in a program of the same
    // compiler that looks into a session across the module's boundary.
    template <class T>
    static std::type_index Key() {
        return std::type_index(typeid(T));
    }
    void* FindLocked(std::type_index key) const {
        for (const auto& entry : entries_)
            if (entry.key == key) return entry.object.get();
        return nullptr;
    }

    struct Entry {
        std::type_index key;
        std::shared_ptr<void> object;
    };
    mutable std::mutex mutex_;
    std::vector<Entry> entries_;
};

}  // namespace Qv::Core
