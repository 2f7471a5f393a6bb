#include "profile/JsonSchema.h"

#include <cstdint>
#include <set>
#include <stdexcept>

#include "core/strings.h"

namespace Qv::Profile {
namespace {

std::string Text(const Json::Value& value) {
    if (value.IsString()) return "\"" + Core::Narrow(std::wstring(value.GetString(), value.GetStringLength())) + "\"";
    return Core::Narrow(Json::Serialize(value));
}

std::string Name(const Json::Value& value) { return Core::Narrow(std::wstring(value.GetString(), value.GetStringLength())); }

// A member name as it stands in a JSON Pointer ("~" and "/" escaped).
std::string PointerPart(const std::string& name) {
    std::string part;
    for (char c : name) {
        if (c == '~') part += "~0";
        else if (c == '/') part += "~1";
        else part += c;
    }
    return part;
}

bool HasType(const Json::Value& value, const std::string& type) {
    if (type == "object") return value.IsObject();
    if (type == "array") return value.IsArray();
    if (type == "string") return value.IsString();
    if (type == "boolean") return value.IsBool();
    if (type == "null") return value.IsNull();
    if (type == "integer") return value.IsInt64();
    if (type == "number") return value.IsNumber();
    throw std::logic_error("the schema names an unknown type \"" + type + "\"");
}

const std::set<std::string>& KnownKeywords() {
    static const std::set<std::string> known{"$schema", "$id", "$ref", "title", "description", "definitions", "type",
                                             "properties", "required", "additionalProperties", "items", "minimum",
                                             "maximum", "minLength", "maxLength", "minItems", "maxItems", "enum",
                                             "default", "examples"};
    return known;
}

class Checker {
public:
    explicit Checker(const Json::Value& root) : root_(root) {}

    // The first violation under `schema` at `path`, or empty.
    std::string Check(const Json::Value& schema, const Json::Value& value, const std::string& path) {
        if (!schema.IsObject()) throw std::logic_error("a schema at " + Where(path) + " is not an object");
        for (const auto& keyword : schema.GetObject()) {
            if (KnownKeywords().count(Name(keyword.name)) == 0)
                throw std::logic_error("the schema uses \"" + Name(keyword.name) + "\", which is not checked");
        }
        if (const Json::Value* ref = Json::FindMember(schema, L"$ref")) return Check(Resolve(*ref), value, path);

        if (const Json::Value* type = Json::FindMember(schema, L"type")) {
            bool matches = false;
            std::string names;
            if (type->IsString()) {
                matches = HasType(value, Name(*type));
                names = Name(*type);
            } else {
                for (const Json::Value& one : type->GetArray()) {
                    matches = matches || HasType(value, Name(one));
                    names += (names.empty() ? "" : " or ") + Name(one);
                }
            }
            if (!matches) return Where(path) + ": expected " + names + ", found " + Text(value);
        }
        if (const Json::Value* options = Json::FindMember(schema, L"enum")) {
            bool listed = false;
            std::string names;
            for (const Json::Value& option : options->GetArray()) {
                listed = listed || option == value;
                names += (names.empty() ? "" : ", ") + Text(option);
            }
            if (!listed) return Where(path) + ": " + Text(value) + " is not one of " + names;
        }
        if (value.IsNumber()) {
            if (const Json::Value* low = Json::FindMember(schema, L"minimum"); low != nullptr && value.GetDouble() < low->GetDouble())
                return Where(path) + ": " + Text(value) + " is below the minimum " + Text(*low);
            if (const Json::Value* high = Json::FindMember(schema, L"maximum"); high != nullptr && value.GetDouble() > high->GetDouble())
                return Where(path) + ": " + Text(value) + " is above the maximum " + Text(*high);
        }
        if (value.IsString()) {
            if (const Json::Value* low = Json::FindMember(schema, L"minLength"); low != nullptr && value.GetStringLength() < low->GetUint())
                return Where(path) + ": the text is shorter than " + Text(*low) + " characters";
            if (const Json::Value* high = Json::FindMember(schema, L"maxLength"); high != nullptr && value.GetStringLength() > high->GetUint())
                return Where(path) + ": the text is longer than " + Text(*high) + " characters";
        }
        if (value.IsArray()) {
            if (const Json::Value* low = Json::FindMember(schema, L"minItems"); low != nullptr && value.Size() < low->GetUint())
                return Where(path) + ": fewer than " + Text(*low) + " items";
            if (const Json::Value* high = Json::FindMember(schema, L"maxItems"); high != nullptr && value.Size() > high->GetUint())
                return Where(path) + ": more than " + Text(*high) + " items";
            if (const Json::Value* items = Json::FindMember(schema, L"items")) {
                for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
                    std::string found = Check(*items, value[i], path + "/" + std::to_string(i));
                    if (!found.empty()) return found;
                }
            }
        }
        if (value.IsObject()) {
            if (const Json::Value* required = Json::FindMember(schema, L"required")) {
                for (const Json::Value& name : required->GetArray()) {
                    if (Json::FindMember(value, name.GetString()) == nullptr)
                        return Where(path + "/" + PointerPart(Name(name))) + ": required, and missing";
                }
            }
            const Json::Value* properties = Json::FindMember(schema, L"properties");
            const Json::Value* additional = Json::FindMember(schema, L"additionalProperties");
            for (const auto& member : value.GetObject()) {
                const std::string name = Name(member.name);
                const Json::Value* property =
                    properties != nullptr ? Json::FindMember(*properties, std::wstring(member.name.GetString(), member.name.GetStringLength()).c_str())
                                          : nullptr;
                if (property == nullptr) {
                    if (additional != nullptr && additional->IsFalse())
                        return Where(path + "/" + PointerPart(name)) + ": not a member of this profile";
                    continue;
                }
                std::string found = Check(*property, member.value, path + "/" + PointerPart(name));
                if (!found.empty()) return found;
            }
        }
        return {};
    }

private:
    static std::string Where(const std::string& path) { return path.empty() ? "/" : path; }

    const Json::Value& Resolve(const Json::Value& ref) {
        const std::wstring target(ref.GetString(), ref.GetStringLength());
        const std::wstring prefix = L"#/definitions/";
        const Json::Value* definitions = Json::FindMember(root_, L"definitions");
        const Json::Value* found = target.rfind(prefix, 0) == 0 && definitions != nullptr
                                       ? Json::FindMember(*definitions, target.substr(prefix.size()).c_str())
                                       : nullptr;
        if (found == nullptr) throw std::logic_error("the schema refers to " + Core::Narrow(target) + ", which it lacks");
        return *found;
    }

    const Json::Value& root_;
};

}  // namespace

std::string FirstViolation(const Json::Value& schema, const Json::Value& document) {
    return Checker(schema).Check(schema, document, "");
}

}  // namespace Qv::Profile
