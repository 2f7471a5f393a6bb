// XML on Windows: the system's XmlLite, with document type declarations prohibited and no
// resolver (nothing is fetched), its depth limit set, and our own element count and depth.
#include <windows.h>
#include <ole2.h>
#include <shlwapi.h>
#include <xmllite.h>

#include "core/strings.h"
#include "manifest/IXmlReader.h"
#include "platform/windows/raii/com.h"
#include "platform/windows/raii/kernel.h"

namespace Qv::Manifest {
namespace {

using platform::windows::com_ptr;

using CreateReader = HRESULT(WINAPI*)(REFIID, void**, IMalloc*);

class WinXmlReader final : public IXmlReader {
public:
    platform::Result<XmlNode> Parse(const std::string& document, const XmlLimits& limits) override {
        if (document.size() > limits.maxBytes) return platform::Failure{kTooLarge};
        // Not in mingw's import libraries: found by name, from the system folder only.
        static const HMODULE library = LoadLibraryExW(L"xmllite.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
        const auto create = platform::windows::proc_address<CreateReader>(library, "CreateXmlReader");
        if (create == nullptr) return platform::Failure{static_cast<int32_t>(ERROR_PROC_NOT_FOUND)};

        com_ptr<::IXmlReader> reader;
        HRESULT hr = create(__uuidof(::IXmlReader), reinterpret_cast<void**>(reader.put()), nullptr);
        if (FAILED(hr)) return platform::Failure{hr};
        reader.get()->SetProperty(XmlReaderProperty_DtdProcessing, DtdProcessing_Prohibit);
        reader.get()->SetProperty(XmlReaderProperty_XmlResolver, 0);
        reader.get()->SetProperty(XmlReaderProperty_MaxElementDepth, static_cast<LONG_PTR>(limits.maxDepth + 2));
        com_ptr<IStream> stream(SHCreateMemStream(reinterpret_cast<const BYTE*>(document.data()),
                                                  static_cast<UINT>(document.size())));
        if (!stream) return platform::Failure{static_cast<int32_t>(E_OUTOFMEMORY)};
        hr = reader.get()->SetInput(stream.get());
        if (FAILED(hr)) return platform::Failure{hr};

        XmlNode root;
        std::vector<XmlNode*> open;
        size_t elements = 0;
        bool done = false;
        XmlNodeType type = XmlNodeType_None;
        while ((hr = reader.get()->Read(&type)) == S_OK) {
            switch (type) {
                case XmlNodeType_Element: {
                    if (done || open.size() >= limits.maxDepth || ++elements > limits.maxElements)
                        return platform::Failure{done ? static_cast<int32_t>(0xC00CEE2D) : kTooDeep};
                    XmlNode* node = &root;
                    if (!open.empty()) {
                        open.back()->children.emplace_back();
                        node = &open.back()->children.back();
                    }
                    node->name = Text(reader.get(), &::IXmlReader::GetQualifiedName);
                    const bool empty = reader.get()->IsEmptyElement();
                    for (hr = reader.get()->MoveToFirstAttribute(); hr == S_OK;
                         hr = reader.get()->MoveToNextAttribute())
                        node->attributes.emplace_back(Text(reader.get(), &::IXmlReader::GetQualifiedName),
                                                      Text(reader.get(), &::IXmlReader::GetValue));
                    reader.get()->MoveToElement();
                    if (empty) {
                        done = open.empty();
                    } else {
                        open.push_back(node);
                    }
                    break;
                }
                case XmlNodeType_EndElement:
                    if (open.empty()) return platform::Failure{static_cast<int32_t>(0xC00CEE3B)};
                    open.back()->text = TrimmedText(open.back()->text);
                    open.pop_back();
                    done = open.empty();
                    break;
                case XmlNodeType_Text:
                case XmlNodeType_CDATA:
                    if (!open.empty()) open.back()->text += Text(reader.get(), &::IXmlReader::GetValue);
                    break;
                case XmlNodeType_DocumentType:
                    return platform::Failure{kDocumentType};
                default:
                    break;
            }
        }
        if (FAILED(hr)) return platform::Failure{hr};
        if (!done || !open.empty()) return platform::Failure{static_cast<int32_t>(0xC00CEE3B)};
        return root;
    }

private:
    static std::wstring Text(::IXmlReader* reader, HRESULT (STDMETHODCALLTYPE ::IXmlReader::*get)(LPCWSTR*, UINT*)) {
        LPCWSTR text = nullptr;
        UINT length = 0;
        if (FAILED((reader->*get)(&text, &length)) || text == nullptr) return {};
        return std::wstring(text, length);
    }
};

}  // namespace

std::shared_ptr<IXmlReader> IXmlReader::Make(platform::Platform&) { return std::make_shared<WinXmlReader>(); }

}  // namespace Qv::Manifest
