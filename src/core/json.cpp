#include "core/json.h"

namespace Qv::Json {

std::wstring Serialize(const Value& value) {
    StringBuffer buffer;
    Writer writer(buffer);
    value.Accept(writer);
    return std::wstring(buffer.GetString(), buffer.GetSize() / sizeof(Encoding::Ch));
}

}  // namespace Qv::Json
