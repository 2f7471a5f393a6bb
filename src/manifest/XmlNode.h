#pragma once
// An element of an XML document as the manifest's logic sees it: its name, its attributes in
// document order, its text (the character data directly inside it, whitespace-only runs left
// out) and its child elements. Comments and processing instructions are not kept.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Qv::Manifest {

// An element's text as both readers keep it: without the whitespace around it.
inline std::wstring TrimmedText(const std::wstring& text) {
    const size_t begin = text.find_first_not_of(L" \t\r\n");
    if (begin == std::wstring::npos) return {};
    return text.substr(begin, text.find_last_not_of(L" \t\r\n") - begin + 1);
}

struct XmlNode {
    std::wstring name;
    std::vector<std::pair<std::wstring, std::wstring>> attributes;
    std::wstring text;
    std::vector<XmlNode> children;

    // The attribute's value; null when the element has none of that name.
    const std::wstring* Attribute(std::wstring_view attribute) const {
        for (const auto& [key, value] : attributes)
            if (key == attribute) return &value;
        return nullptr;
    }
    // The child elements of that name, in document order.
    std::vector<const XmlNode*> Children(std::wstring_view element) const {
        std::vector<const XmlNode*> found;
        for (const XmlNode& child : children)
            if (child.name == element) found.push_back(&child);
        return found;
    }
};

}  // namespace Qv::Manifest
