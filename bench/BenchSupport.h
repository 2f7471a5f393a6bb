#pragma once
// What the benchmarks share: a service on the simulated laptop (the tool installed and signed
// with the build's trusted key), reached through the host's binary interface, and the floor of
// a command: the bare RapidJSON work of the same call.
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

#include "abi/HostView.h"
#include "core/json.h"
#include "platform/sim/SimDevice.h"
#include "security/Authenticode.h"

namespace Qv::Bench {

class SimulatedHost {
public:
    SimulatedHost() {
        auto device = std::make_shared<Sim::SimDevice>();
        const auto& trusted = Bridge::Security::TrustTables::Builtin().main;
        if (!trusted.empty()) {
            device->InstallTool(Bridge::Security::ParsePublicKey(trusted.back().publicKey));
            device->InstallSigned(L"QVDC.dll", Bridge::Security::ParsePublicKey(trusted.back().publicKey));
        }
        platform::Install(device);
        device_ = device.get();
        service_ = std::make_unique<Abi::HostService>(QVCreateService());
        wchar_t client[] = L"bench";
        service_->StartSession(client, &session_);
    }
    ~SimulatedHost() { service_->EndSession(&session_); }

    // One command as the host sends it: a callback built, the answer released.
    int Execute(unsigned int number, const std::wstring& json) {
        std::wstring input = json;
        wchar_t* output = nullptr;
        const int status = service_->ExecuteCommand(session_, number, input.data(), &output, [](wchar_t*) {});
        service_->ReleaseOutput(output);
        return status;
    }

    Sim::SimDevice& Device() { return *device_; }

private:
    Sim::SimDevice* device_ = nullptr;
    std::unique_ptr<Abi::HostService> service_;
    void* session_ = nullptr;
};

// The floor of a command: parse the same input with the same flags and allocator settings,
// build a one-member answer, write it compactly, copy it into malloc'ed memory.
inline void Floor(const std::wstring& json) {
    std::wstring input = json;
    Json::Document request(nullptr, Json::kParseStackBytes);
    Json::ParseRequest(request, input.data());
    Json::Document response(nullptr, Json::kParseStackBytes);
    response.SetObject();
    response.AddMember(L"result", true, response.GetAllocator());
    const std::wstring text = Json::Serialize(response);
    auto* copy = static_cast<wchar_t*>(std::malloc((text.size() + 1) * sizeof(wchar_t)));
    std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    asm volatile("" : : "r"(copy) : "memory");  // the copy is made, as the host would read it
    std::free(copy);
}

}  // namespace Qv::Bench
