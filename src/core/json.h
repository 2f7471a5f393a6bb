#pragma once
// JSON documents: UTF-16 (wchar_t) text, memory-pool allocation. Every use of RapidJSON in the
// module goes through this header, so that RapidJSON's assertions are ours everywhere.
#include <stdexcept>
#include <string>

namespace Qv::Json {

// A RapidJSON assertion that did not hold. RapidJSON asserts on input it cannot represent (an
// unpaired low-surrogate escape reaches its UTF-16 encoder) and on misuse; instead of ending the
// process in a debug build and going on silently in a release build, every build raises this,
// and the parser's callers treat it as a parse failure.
class AssertionFailure : public std::logic_error {
public:
    using std::logic_error::logic_error;
};

[[noreturn]] void RaiseAssertionFailure(const char* condition);

}  // namespace Qv::Json

#ifdef RAPIDJSON_ASSERT
#error "RapidJSON was included before core/json.h"
#endif
#define RAPIDJSON_ASSERT(condition) \
    ((condition) ? static_cast<void>(0) : ::Qv::Json::RaiseAssertionFailure(#condition))

#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace Qv::Json {

using Encoding = rapidjson::UTF16<wchar_t>;
using Allocator = rapidjson::MemoryPoolAllocator<>;
using Document = rapidjson::GenericDocument<Encoding, Allocator>;
using Value = rapidjson::GenericValue<Encoding, Allocator>;
using StringBuffer = rapidjson::GenericStringBuffer<Encoding>;
using Writer = rapidjson::Writer<StringBuffer, Encoding, Encoding>;

// Parse stack of a request or answer document, in bytes.
constexpr size_t kParseStackBytes = 1024;

// Compact text of a value (no blanks, no line breaks).
std::wstring Serialize(const Value& value);

// The member `key` of an object, or null when `object` is no object or has no such member.
const Value* FindMember(const Value& object, const wchar_t* key);

// Parses a request as the dispatcher does (iteratively, so that deep nesting cannot exhaust the
// stack); false for any text that is not JSON, an unpaired surrogate escape included.
bool ParseRequest(Document& document, const wchar_t* text);

}  // namespace Qv::Json
