#pragma once
// The part of JSON Schema (draft 7) that the device profiles use, checked against a document:
// "type" (one or several), "properties", "required", "additionalProperties": false, "items",
// "minimum", "maximum", "minLength", "maxLength", "minItems", "maxItems", "enum" and local
// "$ref"s ("#/definitions/<name>"). Keywords it does not know are refused when the schema is
// read, so that the schema cannot promise more than is checked.
#include <string>

#include "core/json.h"

namespace Qv::Profile {

// The first way `document` breaks `schema`, as "<path>: <reason>" with the member's path in
// JSON Pointer form ("/display/library/contrast"); empty when it breaks none.
std::string FirstViolation(const Json::Value& schema, const Json::Value& document);

}  // namespace Qv::Profile
