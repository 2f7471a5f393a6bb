#pragma once
// Base64 on the simulated laptop, read as the system's library reads it (CRYPT_STRING_BASE64):
// blanks and line ends are skipped, a character outside the alphabet or a wrong length is
// refused by the size call.

#include "packages/IBase64.h"
#include "platform/sim/SimDevice.h"

namespace Qv::Sim {

class SimBase64 : public platform::IBase64 {
public:
    explicit SimBase64(SimFaults& faults) : faults_(faults) {}
    platform::Result<size_t> DecodedSize(const std::wstring& text) override;
    platform::Result<std::vector<uint8_t>> Decode(const std::wstring& text, size_t size) override;
    platform::Result<std::wstring> Encode(const std::vector<uint8_t>& bytes) override;

private:
    SimFaults& faults_;
};

}  // namespace Qv::Sim
