#include "platform/sim/SimDevice.h"

namespace Qv::Sim {

SimDevice::SimDevice() = default;

SimFaults& FaultsOf(platform::Platform& platform) {
    auto* device = dynamic_cast<SimDevice*>(&platform);
    if (device == nullptr) throw std::logic_error("faults are armed on the simulated device only");
    return device->Faults();
}

void SimDevice::SetSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.signatures[Lower(path)] = std::move(signatures);
}

void SimDevice::SetCatalogSignatures(const std::wstring& path, std::vector<platform::RawSignature> signatures) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.catalogSignatures[Lower(path)] = std::move(signatures);
}

void SimDevice::SetEnvironment(const std::wstring& name, const std::wstring& value) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.environment[Upper(name)] = value;
}

void SimDevice::SetUserEnvironment(const std::wstring& name, const std::wstring& value) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.userEnvironment[Upper(name)] = value;
}

void SimDevice::AddFile(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.files.insert(Lower(path));
}

void SimDevice::RemoveFile(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.files.erase(Lower(path));
}

void SimDevice::SetModulePath(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.modulePath = path;
}

void SimDevice::SetSignedIn(bool signedIn) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.signedIn = signedIn;
}

void SimDevice::SetRunningAsSystem(bool system) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.runningAsSystem = system;
}

bool SimDevice::Impersonating() {
    std::lock_guard<std::mutex> lock(world_.mutex);
    return !world_.impersonations.empty();
}

void SimDevice::InstallTool(const std::vector<uint8_t>& key, int32_t status) {
    InstallSigned(L"DeviceControlTool.exe", key, status);
}

std::wstring SimDevice::InstallSigned(const std::wstring& fileName, const std::vector<uint8_t>& key, int32_t status) {
    std::wstring folder;
    {
        std::lock_guard<std::mutex> lock(world_.mutex);
        folder = world_.modulePath.substr(0, world_.modulePath.find_last_of(L'\\'));
    }
    const std::wstring path = folder + L"\\" + fileName;
    AddFile(path);
    SetSignatures(path, {{key, status, L"CN=QV Inc., O=QV Inc., L=Lakeside, S=California, C=US", L"CN=Test CA"}});
    return path;
}

std::string SimDevice::FileText(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    auto found = world_.contents.find(Lower(path));
    return found != world_.contents.end() && found->second ? *found->second : std::string();
}

void SimDevice::WriteFile(const std::wstring& path, const std::string& text) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.files.insert(Lower(path));
    world_.contents[Lower(path)] = std::make_shared<std::string>(text);
    world_.owners.erase(Lower(path));  // a file of the system's, as the service writes its own
}

void SimDevice::LinkFile(const std::wstring& link, const std::wstring& target) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    auto& text = world_.contents[Lower(target)];
    if (!text) text = std::make_shared<std::string>();
    world_.files.insert(Lower(link));
    world_.contents[Lower(link)] = text;
}

void SimDevice::SetUndeletable(const std::wstring& path) {
    std::lock_guard<std::mutex> lock(world_.mutex);
    world_.undeletable.insert(Lower(path));
}

}  // namespace Qv::Sim
