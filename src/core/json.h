#pragma once
// JSON documents: UTF-16 (wchar_t) text, memory-pool allocation.
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <string>

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

}  // namespace Qv::Json
