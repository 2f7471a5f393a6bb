// Constructors are out of line so that the DLL exports them.
#include "security/ClientInformation.h"

#include <utility>

namespace Qv::Bridge::Server {

IClientInformation::IClientInformation() = default;

IClientInformation::IClientInformation(ClientType type) : type(type) {}

IClientInformation::IClientInformation(ClientType type, std::wstring id) : type(type), id(std::move(id)) {}

IClientInformation::IClientInformation(const IClientInformation& other) = default;

IClientInformation& IClientInformation::operator=(const IClientInformation& other) = default;

IClientInformation::~IClientInformation() = default;

namespace Uwp {

UwpInformation::UwpInformation() : IClientInformation(ClientType::Uwp) {}

UwpInformation::UwpInformation(std::wstring packageName, std::wstring packageFamilyName, uint16_t major,
                               uint16_t minor)
    : IClientInformation(ClientType::Uwp, packageFamilyName),
      packageName(std::move(packageName)),
      packageFamilyName(std::move(packageFamilyName)),
      major(major),
      minor(minor) {}

UwpInformation::UwpInformation(const UwpInformation& other) = default;

UwpInformation& UwpInformation::operator=(const UwpInformation& other) = default;

UwpInformation::~UwpInformation() = default;

}  // namespace Uwp

namespace Win32 {

Win32Information::Win32Information() : IClientInformation(ClientType::Win32) {}

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
