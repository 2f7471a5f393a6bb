#pragma once
#include <cstddef>
#include <deque>
#include <vector>

namespace Qv::Sim {

// The last few of something a fake was asked to do, for tests to read back. Bounded, so that a
// long-running simulated device does not grow.
template <class T, size_t Capacity = 64>
class Recent {
public:
    void Add(T item) {
        if (items_.size() == Capacity) items_.pop_front();
        items_.push_back(std::move(item));
        ++total_;
    }
    std::vector<T> Items() const { return std::vector<T>(items_.begin(), items_.end()); }
    size_t Total() const { return total_; }

private:
    std::deque<T> items_;
    size_t total_ = 0;
};

}  // namespace Qv::Sim
