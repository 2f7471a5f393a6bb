// Exemption criteria, the built-in lists and the access manager, for Visual C++ programs. The
// criteria's rules are the module's own: each check hands the list and the client across and
// takes the answer (and an executable's folded name) back. The manager lives on this side, since
// it calls criteria the host may have written and throws to the host.
#include "abi/msvc/Support.h"
#include "qv/Exemptions.h"

namespace Qv::Bridge::Security {
namespace {

using Server::Uwp::UwpInformation;
using Server::Win32::Win32Information;

QvbClient RecordOf(const UwpInformation& client) {
    return {Boundary::View(client.packageName), Boundary::View(client.packageFamilyName), client.major, client.minor};
}

QvbClient RecordOf(const Win32Information& client) {
    return {Boundary::View(client.path), Boundary::View(client.detail), client.major, client.minor};
}

template <class List>
std::vector<QvbClient> RecordsOf(const List* list) {
    std::vector<QvbClient> records;
    if (list != nullptr)
        for (const auto& descriptor : *list) records.push_back(RecordOf(descriptor.client));
    return records;
}

template <class List, class Client>
void AddExcused(void* context, const QvbClient* excused) {
    Boundary::Sunk<List>(context, [&](List& list) {
        list.emplace_back(Client(Boundary::Wide(excused->first), Boundary::Wide(excused->second), excused->major,
                                 excused->minor),
                          MatchingDescriptor::Exempt);
    });
}

template <class List, class Client>
List BuiltIn(int (*exemptions)(QvbClientSink, void*)) {
    List list;
    Boundary::Collect<List> collect{list};
    Boundary::Check(exemptions(&AddExcused<List, Client>, &collect), collect);
    return list;
}

}  // namespace

IClientWithNoQvManifestCheckCriteria::~IClientWithNoQvManifestCheckCriteria() = default;

UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    std::shared_ptr<UwpExemptionList> exemptions, std::shared_ptr<UwpInformation> client)
    : exemptions(std::move(exemptions)), client(std::move(client)) {}
UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& other) = default;
UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::operator=(
    const UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion& other) = default;
UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::~UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion() = default;

bool UwpWithNoQvManifestCheckBasedOnMajorAndMinorVersion::IsAnException() {
    const std::vector<QvbClient> list = RecordsOf(exemptions.get());
    const QvbClient record = client ? RecordOf(*client) : QvbClient{};
    int exempt = 0;
    Boundary::Check(QvbStoreAppIsExempt(list.data(), list.size(), exemptions ? 1 : 0, client ? &record : nullptr,
                                        &exempt));
    return exempt != 0;
}

Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    std::shared_ptr<Win32ExemptionList> exemptions, std::shared_ptr<Win32Information> client)
    : exemptions(std::move(exemptions)), client(std::move(client)) {}
Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion(
    const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& other) = default;
Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion&
Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::operator=(
    const Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion& other) = default;
Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::~Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion() =
    default;

bool Win32WithNoQvManifestCheckBasedOnMajorAndMinorVersion::IsAnException() {
    const std::vector<QvbClient> list = RecordsOf(exemptions.get());
    const QvbClient record = client ? RecordOf(*client) : QvbClient{};
    int exempt = 0;
    // The check folds the client's name in the record itself.
    std::wstring folded;
    bool answered = false;
    struct Folded {
        std::wstring& into;
        bool& answered;
    } fold{folded, answered};
    Boundary::Collect<Folded> collect{fold};
    const int status = QvbExecutableIsExempt(
        list.data(), list.size(), exemptions ? 1 : 0, client ? &record : nullptr, &exempt,
        [](void* context, const wchar_t* text, size_t length) {
            Boundary::Sunk<Folded>(context, [&](Folded& to) {
                to.into = Boundary::Wide(text, length);
                to.answered = true;
            });
        },
        &collect);
    Boundary::Check(status, collect);
    if (answered) client->path = static_cast<std::wstring&&>(folded);
    return exempt != 0;
}

const UwpExemptionList UwpWithNoQVManifestExemptionWhiteList::_white_list =
    BuiltIn<UwpExemptionList, UwpInformation>(&QvbStoreAppExemptions);

std::shared_ptr<UwpExemptionList> UwpWithNoQVManifestExemptionWhiteList::GetExemption() {
    return std::make_shared<UwpExemptionList>(_white_list);
}

const Win32ExemptionList Win32WithNoQVManifestExemptionWhiteList::_white_list =
    BuiltIn<Win32ExemptionList, Win32Information>(&QvbExecutableExemptions);

std::shared_ptr<Win32ExemptionList> Win32WithNoQVManifestExemptionWhiteList::GetExemption() {
    return std::make_shared<Win32ExemptionList>(_white_list);
}

bridge_access_exception::bridge_access_exception(const char* message) : std::exception(message) {}
bridge_access_exception::bridge_access_exception(const bridge_access_exception& other) = default;
bridge_access_exception::bridge_access_exception(bridge_access_exception&& other) noexcept
    : std::exception(other) {}
bridge_access_exception& bridge_access_exception::operator=(const bridge_access_exception& other) = default;
bridge_access_exception::~bridge_access_exception() = default;
const char* bridge_access_exception::what() const { return std::exception::what(); }

BridgeAccessManager::BridgeAccessManager() = default;
BridgeAccessManager::BridgeAccessManager(const BridgeAccessManager& other) = default;
BridgeAccessManager& BridgeAccessManager::operator=(const BridgeAccessManager& other) = default;
BridgeAccessManager::~BridgeAccessManager() = default;

void BridgeAccessManager::SetUwpChecker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker) {
    uwpChecker = std::move(checker);
}

void BridgeAccessManager::SetWin32Checker(std::shared_ptr<IClientWithNoQvManifestCheckCriteria> checker) {
    win32Checker = std::move(checker);
}

bool BridgeAccessManager::IsUwpExempt() {
    if (!uwpChecker) {
        throw bridge_access_exception("The Behavior was not defined. A call to SetUwpChecker must be done.");
    }
    return uwpChecker->IsAnException();
}

bool BridgeAccessManager::IsWin32Exempt() {
    if (!win32Checker) {
        throw bridge_access_exception("The Behavior was not defined. A call to SetWin32Checker must be done.");
    }
    return win32Checker->IsAnException();
}

}  // namespace Qv::Bridge::Security
