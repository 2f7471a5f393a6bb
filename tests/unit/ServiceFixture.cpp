#include "unit/ServiceFixture.h"

#include "security/Authenticode.h"

namespace Qv::Tests {

std::vector<uint8_t> TrustedTestKey() {
    return Bridge::Security::ParsePublicKey(Bridge::Security::TrustTables::Builtin().main.back().publicKey);
}

}  // namespace Qv::Tests
