#pragma once
// The trusted signer keys as compiled into this build (generated from config/trust).
// Each array ends with a null entry.
namespace Qv::Bridge::Security::TrustMaterial {

extern const char* const kMainKeys[];
extern const char* const kExtendedKeys[];
extern const char* const kExtendedExtraKeys[];
extern const char* const kLaunchArgumentKeys[];
// True only in the test build, whose main table also holds the key made by scripts/make-test-certs.
extern const bool kIncludesTestKey;

}  // namespace Qv::Bridge::Security::TrustMaterial
