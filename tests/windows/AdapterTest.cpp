// The Windows adapters on their own, under Wine, where Wine keeps the state they act on: the
// store's files (names taken, hard links, folders held), the clock's waits and the user's
// registry. What Wine does not keep (owners and access lists, junctions) is said where a test
// stops short of it.
#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include "areas/companion-launch/IUserRegistry.h"
#include "areas/expmodes/IStoreFiles.h"
#include "platform/windows/WinPlatform.h"

namespace Qv::WindowsTests {
namespace {

using platform::IStoreFiles;

std::string Text(const std::wstring& path) {
    std::ifstream file(path.c_str(), std::ios::binary);
    return std::string((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
}

void Put(const std::wstring& path, const std::string& text) {
    std::ofstream file(path.c_str(), std::ios::binary | std::ios::trunc);
    file << text;
}

class AdapterTest : public ::testing::Test {
protected:
    void SetUp() override {
        folder_ = L"C:\\ProgramData\\qv-adapter-test-" + std::to_wstring(GetCurrentProcessId());
        ASSERT_TRUE(CreateDirectoryW(folder_.c_str(), nullptr));
    }
    void TearDown() override {
        WIN32_FIND_DATAW entry{};
        HANDLE search = FindFirstFileW((folder_ + L"\\*").c_str(), &entry);
        if (search != INVALID_HANDLE_VALUE) {
            do {
                const std::wstring name = entry.cFileName;
                if (name == L"." || name == L"..") continue;
                if (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY)
                    RemoveDirectoryW((folder_ + L"\\" + name).c_str());
                else
                    DeleteFileW((folder_ + L"\\" + name).c_str());
            } while (FindNextFileW(search, &entry));
            FindClose(search);
        }
        RemoveDirectoryW(folder_.c_str());
    }
    std::wstring Path(const wchar_t* name) const { return folder_ + L"\\" + name; }

    platform::windows::WinPlatform platform_;
    IStoreFiles& store_ = platform_.AreaPort<IStoreFiles>();
    std::wstring folder_;
};

TEST_F(AdapterTest, StoreFilesAreMadeNewAndNeverWrittenThroughALink) {
    // A name that is taken, by a file or by a hard link to another file, is not written at all.
    Put(Path(L"system.ini"), "system");
    ASSERT_TRUE(CreateHardLinkW(Path(L"planted.tmp").c_str(), Path(L"system.ini").c_str(), nullptr));
    for (const wchar_t* taken : {L"system.ini", L"planted.tmp"}) {
        const auto written = store_.WriteNew(Path(taken), "overwritten");
        EXPECT_FALSE(written) << taken;
        EXPECT_EQ(written.Status(), 80) << taken;  // ERROR_FILE_EXISTS
    }
    EXPECT_EQ(Text(Path(L"system.ini")), "system");

    // A file with a second name is not read; renaming over a link replaces the name only.
    EXPECT_EQ(store_.Read(Path(L"planted.tmp")).Status(), 1307);  // ERROR_INVALID_OWNER
    ASSERT_TRUE(store_.WriteNew(Path(L"state.json.1.tmp"), "{\"ModeName\":\"restorestate\"}"));
    ASSERT_TRUE(store_.Rename(Path(L"state.json.1.tmp"), Path(L"planted.tmp")));
    EXPECT_EQ(Text(Path(L"system.ini")), "system");
    const auto read = store_.Read(Path(L"planted.tmp"));
    ASSERT_TRUE(read) << read.Status();
    EXPECT_EQ(*read, "{\"ModeName\":\"restorestate\"}");
    EXPECT_EQ(GetFileAttributesW(Path(L"state.json.1.tmp").c_str()), INVALID_FILE_ATTRIBUTES);

    // Removing a link's name leaves the other name and its text.
    ASSERT_TRUE(CreateHardLinkW(Path(L"second.tmp").c_str(), Path(L"system.ini").c_str(), nullptr));
    EXPECT_TRUE(store_.Remove(Path(L"second.tmp")));
    EXPECT_EQ(Text(Path(L"system.ini")), "system");
    EXPECT_EQ(store_.Remove(Path(L"second.tmp")).Status(), ERROR_FILE_NOT_FOUND);
}

TEST_F(AdapterTest, StoreFoldersAreHeldMadeOnceAndListed) {
    EXPECT_TRUE(store_.CreateFolder(Path(L"ExpModes")));
    EXPECT_EQ(store_.CreateFolder(Path(L"ExpModes")).Status(), 183);  // ERROR_ALREADY_EXISTS
    EXPECT_EQ(store_.CreateFolder(Path(L"missing\\ExpModes")).Status(), ERROR_PATH_NOT_FOUND);

    auto held = store_.HoldFolder(Path(L"ExpModes"));
    ASSERT_TRUE(held) << held.Status();
    EXPECT_NE(held->get(), nullptr);
    EXPECT_EQ(store_.HoldFolder(Path(L"nothing")).Status(), ERROR_FILE_NOT_FOUND);
    Put(Path(L"file"), "x");
    EXPECT_EQ(store_.HoldFolder(Path(L"file")).Status(), ERROR_DIRECTORY);

    // The service's own folders are its own: Wine gives every object the account it runs as.
    const auto ownership = store_.FolderOwnership(Path(L"ExpModes"));
    ASSERT_TRUE(ownership) << ownership.Status();
    EXPECT_TRUE(ownership->trustedOwner) << std::string(ownership->owner.begin(), ownership->owner.end());
    EXPECT_FALSE(ownership->othersMayChange);
    EXPECT_TRUE(store_.TakeOver(Path(L"ExpModes")));

    for (const wchar_t* name : {L"restorestate.json", L"restorestate.json.tmp", L"restorestate.json.4f2a.tmp",
                                L"restorestate.jsonx", L"other.tmp"})
        Put(folder_ + L"\\ExpModes\\" + name, "x");
    ASSERT_TRUE(CreateDirectoryW((folder_ + L"\\ExpModes\\restorestate.json.dir.tmp").c_str(), nullptr));
    const auto leftovers = store_.List(Path(L"ExpModes"), L"restorestate.json", L".tmp");
    ASSERT_TRUE(leftovers) << leftovers.Status();
    std::vector<std::wstring> expected{folder_ + L"\\ExpModes\\restorestate.json.4f2a.tmp",
                                       folder_ + L"\\ExpModes\\restorestate.json.tmp"};
    std::vector<std::wstring> listed = *leftovers;
    std::sort(listed.begin(), listed.end());
    EXPECT_EQ(listed, expected);
    for (const wchar_t* name : {L"restorestate.json", L"restorestate.json.tmp", L"restorestate.json.4f2a.tmp",
                                L"restorestate.jsonx", L"other.tmp"})
        DeleteFileW((folder_ + L"\\ExpModes\\" + name).c_str());
    RemoveDirectoryW((folder_ + L"\\ExpModes\\restorestate.json.dir.tmp").c_str());
    held = platform::Result<platform::OwnedHandle>(platform::Failure{0});
    EXPECT_TRUE(RemoveDirectoryW(Path(L"ExpModes").c_str()));
}

TEST(ClockAdapterTest, SleepUntilAnswersWhetherTheDeadlineCame) {
    platform::windows::WinClock clock;
    std::atomic<bool> stop{false};
    const uint64_t start = clock.SteadyMilliseconds();
    EXPECT_TRUE(clock.SleepUntil(start + 50, stop));
    EXPECT_GE(clock.SteadyMilliseconds(), start + 50);

    // Stopped and woken long before its deadline: it answers false at once.
    const uint64_t later = clock.SteadyMilliseconds();
    std::thread stopper([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        stop = true;
        clock.Wake();
    });
    EXPECT_FALSE(clock.SleepUntil(later + 60000, stop));
    stopper.join();
    EXPECT_LT(clock.SteadyMilliseconds(), later + 30000);
}

TEST(UserRegistryAdapterTest, OnlyATextValueIsRead) {
    platform::windows::WinPlatform platform;
    auto& registry = platform.AreaPort<platform::IUserRegistry>();
    using Outcome = platform::IUserRegistry::Read::Outcome;
    const wchar_t* key = L"Software\\QV\\AdapterTest";
    HKEY opened = nullptr;
    ASSERT_EQ(RegCreateKeyExW(HKEY_CURRENT_USER, key, 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr),
              ERROR_SUCCESS);
    const wchar_t text[] = L"True";
    const DWORD number = 1;
    RegSetValueExW(opened, L"Launch", 0, REG_SZ, reinterpret_cast<const BYTE*>(text), sizeof text);
    RegSetValueExW(opened, L"AsNumber", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), sizeof number);
    RegSetValueExW(opened, L"AsExpandable", 0, REG_EXPAND_SZ, reinterpret_cast<const BYTE*>(text), sizeof text);
    RegCloseKey(opened);

    const auto launch = registry.ReadString(key, L"Launch");
    EXPECT_EQ(launch.outcome, Outcome::Value);
    EXPECT_EQ(launch.text, L"True");
    for (const wchar_t* other : {L"AsNumber", L"AsExpandable"}) {
        const auto read = registry.ReadString(key, other);
        EXPECT_EQ(read.outcome, Outcome::ValueInvalid) << other;
        EXPECT_EQ(read.status, ERROR_INVALID_DATA) << other;
    }
    const auto absent = registry.ReadString(key, L"Nothing");
    EXPECT_EQ(absent.outcome, Outcome::ValueInvalid);
    EXPECT_EQ(absent.status, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(registry.ReadString(L"Software\\QV\\NoSuchKey", L"Launch").outcome, Outcome::KeyNotFound);
    RegDeleteTreeW(HKEY_CURRENT_USER, key);
}

}  // namespace
}  // namespace Qv::WindowsTests
