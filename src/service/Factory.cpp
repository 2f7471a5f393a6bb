// The module's C entry points.
#include <vector>

#include "core/logging.h"
#include "qv/QVService.h"
#include "service/DeviceControlService.h"

using Qv::Bridge::Logging::LogManager;
using Qv::Bridge::Server::Services::QVService;
using namespace Qv::Bridge::Server::Services::DeviceControl;

extern "C" QV_API QVService* QVCreateService() {
    auto* service = new DeviceControlService();
    LogManager::SetProvider(kLogProvider);
    LogManager::GetLogger()->LogInfo(L"DeviceControlService::() - Checking if service needs to be loaded.");
    return service;
}

extern "C" QV_API const QVCommandInfo* QVDescribeCommands(unsigned int* count) {
    static const std::vector<QVCommandInfo> rows = [] {
        std::vector<QVCommandInfo> out;
        for (const CommandRow& row : CommandTable::Standard().Rows())
            out.push_back({row.number, row.name, FormName(row.form), row.Live() ? 1 : 0});
        return out;
    }();
    if (count != nullptr) *count = static_cast<unsigned int>(rows.size());
    return rows.data();
}
