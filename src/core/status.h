#pragma once
// Return codes of the command interface.
namespace Qv::Status {

constexpr int kSuccess = 0;
constexpr int kUnsupportedFunction = 0x20000001;
constexpr int kGeneralFailure = 0x20000002;
constexpr int kInvalidJson = 0x20000003;
constexpr int kValueNotRead = 0x20000004;
constexpr int kArgumentCheckFailed = 0x20000006;
// The WMI access layer's own.
constexpr int kWmiPropertyNotFound = 0x2000000d;
constexpr int kWmiClassNotFound = 0x2000000f;
constexpr int kWmiInvalidQuery = 0x20000010;
constexpr int kWmiInvalidNamespace = 0x20000012;

// A short English meaning for people reading devicectl output, e.g. "unsupported function number".
const char* Meaning(int status);

}  // namespace Qv::Status
