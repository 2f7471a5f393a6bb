// The client records and the caller's package, for Visual C++ programs. The records are plain
// data, made and copied here; the caller's package is found by the module.
#include "abi/msvc/Support.h"
#include "qv/ClientInformation.h"
#include "qv/Exemptions.h"

namespace Qv::Bridge::Server {

IClientInformation::IClientInformation() : type(ClientType::Uwp) {}
IClientInformation::IClientInformation(ClientType type) : type(type) {}
IClientInformation::IClientInformation(ClientType type, std::wstring id) : type(type), id(std::move(id)) {}
IClientInformation::IClientInformation(const IClientInformation& other) = default;
IClientInformation& IClientInformation::operator=(const IClientInformation& other) = default;
IClientInformation::~IClientInformation() = default;

namespace Uwp {

UwpInformation::UwpInformation() : IClientInformation(ClientType::Uwp), major(0), minor(0), architecture(0) {}
UwpInformation::UwpInformation(std::wstring packageName, std::wstring packageFamilyName, uint16_t major,
                               uint16_t minor)
    : IClientInformation(ClientType::Uwp, packageFamilyName),
      packageName(std::move(packageName)),
      packageFamilyName(std::move(packageFamilyName)),
      major(major),
      minor(minor),
      architecture(0) {}
UwpInformation::UwpInformation(const UwpInformation& other) = default;
UwpInformation& UwpInformation::operator=(const UwpInformation& other) = default;
UwpInformation::~UwpInformation() = default;

}  // namespace Uwp

namespace Win32 {

Win32Information::Win32Information() : IClientInformation(ClientType::Win32), major(0), minor(0) {}
Win32Information::Win32Information(std::wstring path, uint16_t major, uint16_t minor)
    : Win32Information(std::move(path), std::wstring(), major, minor) {}
Win32Information::Win32Information(std::wstring path, std::wstring detail, uint16_t major, uint16_t minor)
    : IClientInformation(ClientType::Win32, path),
      path(std::move(path)),
      detail(std::move(detail)),
      major(major),
      minor(minor) {}
Win32Information::Win32Information(const Win32Information& other) = default;
Win32Information& Win32Information::operator=(const Win32Information& other) = default;
Win32Information::~Win32Information() = default;

}  // namespace Win32

}  // namespace Qv::Bridge::Server

namespace Qv::Bridge::Security {

MatchingDescriptor::MatchingDescriptor() : operation(Exempt) {}
MatchingDescriptor::MatchingDescriptor(const MatchingDescriptor& other) = default;
MatchingDescriptor& MatchingDescriptor::operator=(const MatchingDescriptor& other) = default;

UwpMatchingDescriptor::UwpMatchingDescriptor(Server::Uwp::UwpInformation client, Operation operation)
    : client(std::move(client)) {
    this->operation = operation;
}
UwpMatchingDescriptor::UwpMatchingDescriptor(const UwpMatchingDescriptor& other) = default;
UwpMatchingDescriptor& UwpMatchingDescriptor::operator=(const UwpMatchingDescriptor& other) = default;
UwpMatchingDescriptor::~UwpMatchingDescriptor() = default;

Win32MatchingDescriptor::Win32MatchingDescriptor(Server::Win32::Win32Information client, Operation operation)
    : client(std::move(client)) {
    this->operation = operation;
}
Win32MatchingDescriptor::Win32MatchingDescriptor(const Win32MatchingDescriptor& other) = default;
Win32MatchingDescriptor& Win32MatchingDescriptor::operator=(const Win32MatchingDescriptor& other) = default;
Win32MatchingDescriptor::~Win32MatchingDescriptor() = default;

const wchar_t* const RpcSecurityHelper::kManifestBaseName = L"QVManifest";
const wchar_t* const RpcSecurityHelper::kManifestExtensions[4] = {L".xml", L".cat", L".p7s", L".qvc"};
const wchar_t* const RpcSecurityHelper::kManifestCatalogs[2] = {L"qvcustomcapcompx64.cat", L"qvcustomcapcompx86.cat"};
const wchar_t* const RpcSecurityHelper::kManifestPublisherHash = L"k4m2x9trq7bw3";

RpcSecurityHelper::RpcSecurityHelper() = default;

RpcSecurityHelper::~RpcSecurityHelper() {
    std::vector<QvbProcessHandle> handles;
    try {
        for (const auto& entry : processHandles) handles.push_back({entry.first, entry.second});
    } catch (...) {
        return;  // no memory to list them in: they stay open rather than the destructor throw
    }
    QvbCloseProcessHandles(handles.data(), handles.size());
}

std::wstring RpcSecurityHelper::GetPFNOfCaller() {
    std::vector<QvbProcessHandle> handles;
    for (const auto& entry : processHandles) handles.push_back({entry.first, entry.second});
    std::wstring name;
    Boundary::Collect<std::wstring> collect{name};
    Boundary::Check(QvbCallerFamilyName(handles.data(), handles.size(), &Boundary::TextSink, &collect), collect);
    return name;
}

}  // namespace Qv::Bridge::Security
