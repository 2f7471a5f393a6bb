// libFuzzer target: the manifest's readers and rules on hostile input. The input is an XML
// document, a NUL, then a value (UTF-8). The document is read within the limits; each element
// with a "rule" attribute is evaluated on the value, and each element's text compiled as a
// pattern and run on the value. Anything may be refused; nothing may crash, leak or hang.
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "core/strings.h"
#include "manifest/IXmlReader.h"
#include "manifest/ManifestRules.h"
#include "manifest/Pattern.h"
#include "platform/sim/SimDevice.h"

namespace {

void Walk(const Qv::Manifest::XmlNode& node, const std::wstring& value, int depth) {
    if (const std::wstring* rule = node.Attribute(L"rule")) Qv::Manifest::EvaluateRule(*rule, node, value);
    if (const auto pattern = Qv::Manifest::Pattern::Compile(node.text)) {
        pattern->Matches(value);
        pattern->Finds(value);
    }
    for (const auto& child : node.children) Walk(child, value, depth + 1);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const auto device = [] {
        auto made = std::make_shared<Qv::Sim::SimDevice>();
        Qv::platform::Install(made);
        return made;
    }();
    const std::string input(reinterpret_cast<const char*>(data), size);
    const size_t split = input.find('\0');
    const std::string document = input.substr(0, split);
    const std::wstring value = split == std::string::npos ? L"" : Qv::Core::Widen(input.substr(split + 1));
    auto root = device->AreaPort<Qv::Manifest::IXmlReader>().Parse(document, {});
    if (root) Walk(*root, value, 0);
    return 0;
}
