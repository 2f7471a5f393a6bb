#pragma once
// A fresh service on its own simulated device, with the log captured.
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include "core/logging.h"
#include "platform/sim/SimDevice.h"
#include "service/DeviceControlService.h"

namespace Qv::Tests {

using Bridge::Logging::LogLevel;
using Bridge::Server::Services::DeviceControl::CommandTable;
using Bridge::Server::Services::DeviceControl::DeviceControlService;

struct Answer {
    int status;
    std::optional<std::wstring> text;  // empty when the module handed back no text
    bool operator==(const Answer&) const = default;
};

inline void PrintTo(const Answer& answer, std::ostream* out) {
    *out << "status 0x" << std::hex << answer.status << std::dec << ", ";
    if (!answer.text) {
        *out << "no text";
        return;
    }
    *out << '"';
    for (wchar_t c : *answer.text) *out << (c < 0x80 ? static_cast<char>(c) : '?');
    *out << '"';
}

// Blocks until `done` holds; a test that would hang fails instead.
template <class Predicate>
bool WaitFor(Predicate done) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!done()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

// The public key of the test build's signing certificate, as DER bytes.
std::vector<uint8_t> TrustedTestKey();

// Installs a fresh simulated device as the process's platform for the test.
class ServiceFixture : public ::testing::Test {
protected:
    explicit ServiceFixture(const CommandTable& table = CommandTable::Standard())
        : service(std::make_unique<DeviceControlService>(device, table)) {
        platform::Install(devicePtr);
    }

    // Runs one command the way the host does and releases the answer through slot 4.
    Answer Call(unsigned int number, const std::wstring& json = L"{}", void* session = nullptr,
                std::function<void(wchar_t*)> callback = {}) {
        std::wstring input = json;
        wchar_t* output = nullptr;
        Answer answer{service->ExecuteCommand(session, number, input.data(), &output, std::move(callback), nullptr),
                      std::nullopt};
        if (output != nullptr) answer.text = std::wstring(output);
        service->ReleaseOutput(output);
        return answer;
    }

    Bridge::Logging::ScopedLogCapture log;
    std::shared_ptr<Sim::SimDevice> devicePtr = std::make_shared<Sim::SimDevice>();
    Sim::SimDevice& device = *devicePtr;
    std::unique_ptr<DeviceControlService> service;
};

}  // namespace Qv::Tests
