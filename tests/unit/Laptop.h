#pragma once
// A simulated laptop from a device profile, with a service reached through the slot table as the
// host reaches it.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "abi/HostView.h"
#include "platform/sim/SimDevice.h"
#include "unit/ServiceFixture.h"

namespace Qv::Tests {

// The text of a profile in profiles/ ("full-featured-laptop.json").
std::string ProfileText(const std::string& fileName);

class Laptop {
public:
    // The full-featured laptop that every profile starts from, arranged by `profile` (a profile's
    // text; empty: none). A refused profile fails the test.
    explicit Laptop(const std::string& profile = "");
    ~Laptop();
    Laptop(const Laptop&) = delete;
    Laptop& operator=(const Laptop&) = delete;

    // A session of a client, started on first use, ended with the laptop.
    void* Session();
    // Through the slot table, as the host calls: an exception is the boundary's to answer.
    Answer Call(unsigned int number, const std::wstring& json = L"{}", void* session = nullptr);

    Sim::SimDevice& Device() { return *device_; }
    Abi::HostService& Service() { return *service_; }

    // What a command may hold only while it runs, named; empty when nothing is held.
    std::string Leftovers();

private:
    std::shared_ptr<Sim::SimDevice> device_ = std::make_shared<Sim::SimDevice>();
    std::unique_ptr<Abi::HostService> service_;
    void* session_ = nullptr;
};

}  // namespace Qv::Tests
