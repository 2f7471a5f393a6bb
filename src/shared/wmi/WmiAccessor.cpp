#include "shared/wmi/WmiAccessor.h"

#include <type_traits>

#include "core/logging.h"
#include "core/status.h"

namespace Qv::Bridge::Server::Services::DeviceControl {
namespace {

// The WMI errors that have statuses of their own; 0 for any other HRESULT.
int StatusOf(int32_t hresult) {
    switch (static_cast<uint32_t>(hresult)) {
        case 0x8004100E: return Status::kWmiInvalidNamespace;
        case 0x80041010: return Status::kWmiClassNotFound;
        case 0x80041017: return Status::kWmiInvalidQuery;
        case 0x80041002: return Status::kWmiPropertyNotFound;
        default: return 0;
    }
}

Json::Value ToJson(const platform::WmiValue& value, Json::Allocator& allocator) {
    return std::visit(
        [&](const auto& v) -> Json::Value {
            using T = std::decay_t<decltype(v)>;
            if constexpr (std::is_same_v<T, std::wstring>) {
                return Json::Value(v.c_str(), static_cast<rapidjson::SizeType>(v.size()), allocator);
            } else if constexpr (std::is_same_v<T, int32_t> || std::is_same_v<T, bool>) {
                return Json::Value(v);
            } else {
                Json::Value array(rapidjson::kArrayType);
                for (const auto& item : v) {
                    if constexpr (std::is_same_v<typename T::value_type, std::wstring>) {
                        array.PushBack(Json::Value(item.c_str(), static_cast<rapidjson::SizeType>(item.size()), allocator),
                                       allocator);
                    } else {
                        array.PushBack(Json::Value(static_cast<typename T::value_type>(item)), allocator);
                    }
                }
                return array;
            }
        },
        value);
}

}  // namespace

WmiAccessor::WmiAccessor(std::string owner) : platform_(nullptr), owner_(std::move(owner)) {}

WmiAccessor::WmiAccessor(platform::Platform& platform, std::string owner)
    : platform_(&platform), owner_(std::move(owner)) {}

platform::Result<std::vector<platform::WmiValue>> WmiAccessor::ReadValues(const wchar_t* propertyName,
                                                                       const wchar_t* className,
                                                                       const wchar_t* condition,
                                                                       const wchar_t* wmiNamespace) {
    platform::Platform& ports = platform_ != nullptr ? *platform_ : platform::Current();
    const platform::WmiPropertyRead read =
        ports.Wmi().ReadProperty(wmiNamespace != nullptr ? wmiNamespace : L"", className != nullptr ? className : L"",
                                 condition != nullptr ? condition : L"", propertyName != nullptr ? propertyName : L"");
    int status = Status::kGeneralFailure;
    for (const platform::WmiCallFailure& failure : read.failures) {
        Logging::LogComFailure(Logging::LogManager::GetLogger(), owner_.c_str(), failure.operation, failure.call,
                               static_cast<unsigned long>(failure.hresult));
        if (const int mapped = StatusOf(failure.hresult)) status = mapped;
    }
    if (read.values.empty()) return platform::Failure{status};
    return read.values;
}

std::optional<std::wstring> WmiAccessor::ReadString(const wchar_t* propertyName, const wchar_t* className,
                                                    const wchar_t* condition, const wchar_t* wmiNamespace) {
    const auto values = ReadValues(propertyName, className, condition, wmiNamespace);
    if (!values) return std::nullopt;
    // The callers read single instances; the first one read wins.
    const auto* text = std::get_if<std::wstring>(&values->front());
    return text != nullptr ? std::optional<std::wstring>(*text) : std::nullopt;
}

int WmiAccessor::GetPropertyValue(const wchar_t* propertyName, const wchar_t* className, const wchar_t* condition,
                                  const wchar_t* wmiNamespace, bool asArray, Json::Document& response) {
    const auto read = ReadValues(propertyName, className, condition, wmiNamespace);
    if (!read) return read.Status();

    auto& allocator = response.GetAllocator();
    if (!response.IsObject()) response.SetObject();
    if (asArray) {
        Json::Value array(rapidjson::kArrayType);
        for (const auto& value : *read) array.PushBack(ToJson(value, allocator), allocator);
        response.AddMember(L"result", array, allocator);
    } else {
        // The callers read single instances; the first one read wins.
        response.AddMember(L"result", ToJson(read->front(), allocator), allocator);
    }
    return Status::kSuccess;
}

}  // namespace Qv::Bridge::Server::Services::DeviceControl
