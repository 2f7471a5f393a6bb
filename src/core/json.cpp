#include "core/json.h"

namespace Qv::Json {

void RaiseAssertionFailure(const char* condition) { throw AssertionFailure(condition); }

std::wstring Serialize(const Value& value) {
    StringBuffer buffer;
    Writer writer(buffer);
    value.Accept(writer);
    return std::wstring(buffer.GetString(), buffer.GetSize() / sizeof(Encoding::Ch));
}

const Value* FindMember(const Value& object, const wchar_t* key) {
    if (!object.IsObject()) return nullptr;
    // RapidJSON's member iterators predate C++20's reversed comparisons; compare by position.
    for (auto it = object.MemberBegin(); it != object.MemberEnd(); ++it) {
        if (it->name == key) return &it->value;
    }
    return nullptr;
}

bool ParseRequest(Document& document, const wchar_t* text) {
    try {
        document.Parse<rapidjson::kParseIterativeFlag>(text);
    } catch (const AssertionFailure&) {
        // RapidJSON 1.1.0 hands a lone low-surrogate escape ("\uDC00") to its encoder, which
        // asserts; the maintained RapidJSON reports it as kParseErrorStringUnicodeSurrogateInvalid.
        return false;
    }
    return !document.HasParseError();
}

}  // namespace Qv::Json
