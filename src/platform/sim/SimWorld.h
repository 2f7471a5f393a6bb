#pragma once
// The state that several fakes of the simulated device must agree on: the files and their
// signatures, the signed-in user and the environments, and the installed DeviceControlTool.exe.
// Each fake keeps the rest of its state to itself.
#include <cstdint>
#include <deque>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "platform/ICodeSignatures.h"
#include "platform/sim/SimTool.h"

namespace Qv::Sim {

struct SimWorld {
    SimWorld();

    std::mutex mutex;  // guards every member below

    std::set<std::wstring> files;  // lower-case paths
    std::map<std::wstring, std::vector<platform::RawSignature>> signatures;         // by lower-case path
    std::map<std::wstring, std::vector<platform::RawSignature>> catalogSignatures;  // by lower-case path
    std::wstring modulePath = L"C:\\Program Files\\DeviceControl\\DeviceControlService.dll";

    std::map<std::wstring, std::wstring> environment;      // the service's, by upper-case name
    std::map<std::wstring, std::wstring> userEnvironment;  // the signed-in user's
    bool signedIn = true;
    bool runningAsSystem = true;
    bool impersonating = false;  // the client or the user, on any thread

    SimTool tool;
};

std::wstring Lower(std::wstring text);
std::wstring Upper(std::wstring text);
// %VAR% expansion; unknown names stay as written.
std::wstring Expand(const std::map<std::wstring, std::wstring>& environment, const std::wstring& text);

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
