// Store packages and base64 for Visual C++ programs: the module's own queries, their answers
// copied into the consumer's types.
#include "abi/msvc/Support.h"
#include "qv/StorePackages.h"

namespace Qv::Bridge::Server::Uwp {
namespace {

using Models = std::vector<std::shared_ptr<UwpPackageModel>>;

void AddModel(void* context, const wchar_t* userName, size_t length, int32_t installState) {
    Boundary::Sunk<Models>(context, [&](Models& models) {
        models.push_back(std::make_shared<UwpPackageModel>(Boundary::Wide(userName, length), installState));
    });
}

void AddPackage(void* context, const QvbPackage* package) {
    Boundary::Sunk<std::vector<UwpPackage>>(context, [&](std::vector<UwpPackage>& packages) {
        UwpPackage record;
        record.name = Boundary::Wide(package->name);
        record.publisher = Boundary::Wide(package->publisher);
        record.publisherId = Boundary::Wide(package->publisherId);
        record.familyName = Boundary::Wide(package->familyName);
        record.fullName = Boundary::Wide(package->fullName);
        record.version = Boundary::Wide(package->version);
        record.installLocation = Boundary::Wide(package->installLocation);
        packages.push_back(static_cast<UwpPackage&&>(record));
    });
}

}  // namespace

UwpPackageModel::UwpPackageModel() : installState_(0) {}
UwpPackageModel::UwpPackageModel(std::wstring userName, int32_t installState)
    : userName_(std::move(userName)), installState_(installState) {}
UwpPackageModel::UwpPackageModel(const UwpPackageModel& other) = default;
UwpPackageModel& UwpPackageModel::operator=(const UwpPackageModel& other) = default;
UwpPackageModel::~UwpPackageModel() = default;
const std::wstring& UwpPackageModel::UserName() const { return userName_; }
int32_t UwpPackageModel::InstallState() const { return installState_; }

UwpPackageDataAccess::UwpPackageDataAccess() : implementation_(nullptr) {
    Boundary::Check(QvbPackagesNew(&implementation_));
    if (implementation_ == nullptr) throw std::bad_alloc();
}

UwpPackageDataAccess::~UwpPackageDataAccess() { QvbPackagesDelete(implementation_); }

std::vector<std::shared_ptr<UwpPackageModel>> UwpPackageDataAccess::GetPackagesPerUser(
    const std::wstring& packageFamilyName) {
    Models models;
    Boundary::Collect<Models> collect{models};
    Boundary::Check(QvbPackagesPerUser(implementation_, packageFamilyName.c_str(), packageFamilyName.size(),
                                       &AddModel, &collect),
                    collect);
    return models;
}

std::wstring UwpPackageDataAccess::GetPackageFullName(const std::wstring& packageFamilyName) {
    std::wstring name;
    Boundary::Collect<std::wstring> collect{name};
    Boundary::Check(QvbPackageFullName(implementation_, packageFamilyName.c_str(), packageFamilyName.size(),
                                       &Boundary::TextSink, &collect),
                    collect);
    return name;
}

bool UwpPackageDataAccess::RegisterPackage(const std::wstring& packageFamilyName) {
    int registered = 0;
    const int status =
        QvbRegisterPackage(implementation_, packageFamilyName.c_str(), packageFamilyName.size(), &registered);
    Boundary::Check(status);
    return status == kQvbDone && registered != 0;
}

bool UwpPackageDataAccess::FindPackages(const std::wstring& publisherId, const std::wstring& appName) {
    int found = 0;
    const int status = QvbFindPackages(implementation_, publisherId.c_str(), publisherId.size(), appName.c_str(),
                                       appName.size(), &found);
    Boundary::Check(status);
    return status == kQvbDone && found != 0;
}

std::vector<UwpPackage> UwpPackageDataAccess::GetPackages(const std::wstring& packageFamilyName) {
    std::vector<UwpPackage> packages;
    Boundary::Collect<std::vector<UwpPackage>> collect{packages};
    Boundary::Check(QvbPackagesOfFamily(implementation_, packageFamilyName.c_str(), packageFamilyName.size(),
                                        &AddPackage, &collect),
                    collect);
    return packages;
}

}  // namespace Qv::Bridge::Server::Uwp

namespace Qv::Bridge::Server::Services::Registration {
namespace {

void AddBytes(void* context, const uint8_t* bytes, size_t length) {
    Boundary::Sunk<std::vector<uint8_t>>(context, [&](std::vector<uint8_t>& into) {
        into.reserve(length);
        for (size_t i = 0; i < length; ++i) into.push_back(bytes[i]);
    });
}

}  // namespace

CryptographyHelper::CryptographyHelper() = default;
CryptographyHelper::~CryptographyHelper() = default;

std::vector<uint8_t> CryptographyHelper::DecodeBase64(const std::wstring& text) const {
    std::vector<uint8_t> bytes;
    Boundary::Collect<std::vector<uint8_t>> collect{bytes};
    Boundary::Check(QvbDecodeBase64(text.c_str(), text.size(), &AddBytes, &collect), collect);
    return bytes;
}

std::wstring CryptographyHelper::EncodeBase64(const std::vector<uint8_t>& bytes) const {
    std::wstring text;
    Boundary::Collect<std::wstring> collect{text};
    Boundary::Check(QvbEncodeBase64(bytes.data(), bytes.size(), &Boundary::TextSink, &collect), collect);
    return text;
}

}  // namespace Qv::Bridge::Server::Services::Registration

extern "C" Qv::Bridge::Server::Uwp::UwpPackageModel* CreateUwpPackageModel() {
    return new Qv::Bridge::Server::Uwp::UwpPackageModel();
}

extern "C" std::shared_ptr<Qv::Bridge::Server::Services::Registration::CryptographyHelper> CreateCryptographyHelper() {
    return std::make_shared<Qv::Bridge::Server::Services::Registration::CryptographyHelper>();
}
