#pragma once
// Threads the module starts itself (the companion launch's wait, the low-memory polling). A host
// stops the service before it unloads the module, and the service joins its threads on the way;
// a host that unloads without stopping it must still not pull the code from under a thread. So
// on Windows each thread holds a reference on the module while it runs and ends with
// FreeLibraryAndExitThread, the one way a thread can let go of the code it runs in.
#include <functional>
#include <memory>

namespace Qv::platform {

class IThreads {
public:
    // One running thread of the module.
    class Running {
    public:
        virtual ~Running() = default;
        virtual void Join() = 0;
        virtual void Detach() = 0;
        virtual bool IsCallingThread() const = 0;
    };

    virtual ~IThreads() = default;
    // Starts `body` on a thread of its own; nothing when no thread could be started.
    virtual std::unique_ptr<Running> Start(std::function<void()> body) = 0;
};

// A module thread, held as a std::thread is: joinable until it is joined or detached.
class ModuleThread {
public:
    ModuleThread() = default;
    explicit ModuleThread(std::unique_ptr<IThreads::Running> running) : running_(std::move(running)) {}

    bool joinable() const { return running_ != nullptr; }
    void join() {
        if (running_) running_->Join();
        running_.reset();
    }
    void detach() {
        if (running_) running_->Detach();
        running_.reset();
    }
    bool is_calling_thread() const { return running_ != nullptr && running_->IsCallingThread(); }

private:
    std::unique_ptr<IThreads::Running> running_;
};

}  // namespace Qv::platform
