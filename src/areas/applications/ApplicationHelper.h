#pragma once
// Opening an installed application by its display name, closing a running one, and handing a
// text to the user's session as a document.
#include <string>

#include "core/json.h"
#include "core/logging.h"

namespace Qv::Bridge::Server::Services::DeviceControl {

// The fixed name of the document's file in the service's temporary folder.
constexpr const wchar_t* kDocumentFileName = L"WrenServiceTemp.txt";

class ApplicationHelper {
public:
    using Document = Json::Document;

    static ApplicationHelper* GetInstance();

    ApplicationHelper& operator=(const ApplicationHelper&) = default;
    ApplicationHelper& operator=(ApplicationHelper&&) = default;

    // The Start menu's application id for the name (PowerShell, as the user), then the shell's
    // apps folder with that id.
    bool OpenApplication(std::wstring& name);
    // The application's install folder (tool), the first process running from it (PowerShell, as
    // the user), then taskkill for that executable in the service's own context.
    bool CloseApplication(std::wstring& name);
    // The text as UTF-8 in the service's temporary folder, shown to the user by the tool.
    bool WriteToDoc(std::wstring& text);

    // JSON-facing: 0 with "result", or 0x20000006 without a string "SValue".
    int OpenApplication(Document* request, Document* response);
    int CloseApplication(Document* request, Document* response);
    int WriteToDoc(Document* request, Document* response);

private:
    ApplicationHelper();
    ApplicationHelper(const ApplicationHelper&) = default;

    Logging::TraceLogger* logger_ = nullptr;
};

}  // namespace Qv::Bridge::Server::Services::DeviceControl
