#include "unit/Laptop.h"

#include <fstream>
#include <sstream>

#include "areas/audio/sim/SimAudio.h"
#include "profile/DeviceProfile.h"

namespace Qv::Tests {

std::string ProfileText(const std::string& fileName) {
    std::ifstream file(std::string(QV_SOURCE_DIR) + "/profiles/" + fileName, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    if (text.str().empty()) ADD_FAILURE() << "no profile " << fileName;
    return text.str();
}

Laptop::Laptop(const std::string& profile) {
    Profile::PrepareLaptop(*device_);
    if (!profile.empty()) {
        EXPECT_EQ(Profile::ApplyProfile(profile, *device_), "");
    }
    platform::Install(device_);
    service_ = std::make_unique<Abi::HostService>(QVCreateService());
    device_->Faults().Reset();
}

Laptop::~Laptop() {
    if (session_ != nullptr) service_->EndSession(&session_);
    service_.reset();
}

void* Laptop::Session() {
    if (session_ == nullptr) {
        EXPECT_EQ(service_->StartSession(const_cast<wchar_t*>(L"laptop"), &session_), 0);
    }
    return session_;
}

Answer Laptop::Call(unsigned int number, const std::wstring& json, void* session) {
    std::wstring input = json;
    wchar_t* output = nullptr;
    Answer answer{service_->ExecuteCommand(session, number, input.data(), &output, [](wchar_t*) {}), std::nullopt};
    if (output != nullptr) answer.text = std::wstring(output);
    service_->ReleaseOutput(output);
    return answer;
}

std::string Laptop::Leftovers() {
    std::string left;
    if (device_->OpenProcessHandles() != 0) left += " process handles";
    if (device_->PinnedFiles() != 0) left += " pinned files";
    if (device_->SimulatedEvents().OpenHandles() != 0) left += " event handles";
    if (Sim::SimulatedAudio(*device_).OpenVolumes() != 0) left += " volume controls";
    if (device_->Impersonating()) left += " impersonation";
    return left;
}

}  // namespace Qv::Tests
