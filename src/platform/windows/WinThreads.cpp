#include "platform/windows/WinThreads.h"

#include <windows.h>

#include "platform/windows/raii/kernel.h"

namespace Qv::platform::windows {
namespace {

struct ThreadStart {
    std::function<void()> body;
    HMODULE module;  // the reference the thread holds
};

DWORD WINAPI Entry(void* parameter) {
    HMODULE module = nullptr;
    {
        std::unique_ptr<ThreadStart> start(static_cast<ThreadStart*>(parameter));
        module = start->module;
        try {
            start->body();
        } catch (...) {
            // Nothing may leave a thread; the body logs what it can.
        }
    }
    // The reference goes with the thread: should the host have unloaded the module meanwhile,
    // the code is unmapped only after this thread has left it.
    FreeLibraryAndExitThread(module, 0);
}

class WinRunning final : public IThreads::Running {
public:
    explicit WinRunning(unique_handle thread) : thread_(std::move(thread)) {}
    ~WinRunning() override = default;
    void Join() override {
        if (thread_) WaitForSingleObject(thread_.get(), INFINITE);
        thread_.reset();
    }
    void Detach() override { thread_.reset(); }
    bool IsCallingThread() const override { return thread_ && GetThreadId(thread_.get()) == GetCurrentThreadId(); }

private:
    unique_handle thread_;
};

}  // namespace

std::unique_ptr<IThreads::Running> WinThreads::Start(std::function<void()> body) {
    HMODULE module = nullptr;
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&Entry), &module))
        return nullptr;
    unique_hmodule reference(module);
    auto start = std::make_unique<ThreadStart>(ThreadStart{std::move(body), module});
    unique_handle thread(CreateThread(nullptr, 0, &Entry, start.get(), 0, nullptr));
    if (!thread) return nullptr;  // the reference is let go with `reference`
    start.release();
    reference.release();  // now the thread's
    return std::make_unique<WinRunning>(std::move(thread));
}

}  // namespace Qv::platform::windows
