// Every unit test gets a time limit: a test that hangs (a subscription nobody stops, a join that
// never returns) ends the run with its own name instead of holding the suite until CI gives up.
// QV_TEST_SECONDS sets the limit (default 60; the slowest test takes well under a second).
#include <gtest/gtest.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>

namespace {

// The watch itself lives until the process ends (never destroyed: its thread waits on it), and
// the listener that gtest owns and deletes at exit only tells it when tests start and end.
class Watch {
public:
    Watch() {
        const char* seconds = std::getenv("QV_TEST_SECONDS");
        limit_ = std::chrono::seconds(seconds != nullptr && std::atoi(seconds) > 0 ? std::atoi(seconds) : 60);
        std::thread([this] { Run(); }).detach();
    }

    void Started(const ::testing::TestInfo& test) {
        std::lock_guard<std::mutex> lock(mutex_);
        current_ = std::string(test.test_suite_name()) + "." + test.name();
        deadline_ = std::chrono::steady_clock::now() + limit_;
        changed_.notify_all();
    }
    void Ended() {
        std::lock_guard<std::mutex> lock(mutex_);
        current_.clear();
        changed_.notify_all();
    }

private:
    void Run() {
        std::unique_lock<std::mutex> lock(mutex_);
        for (;;) {
            if (current_.empty()) {
                changed_.wait(lock);
                continue;
            }
            if (changed_.wait_until(lock, deadline_) == std::cv_status::timeout && !current_.empty() &&
                std::chrono::steady_clock::now() >= deadline_) {
                std::fprintf(stderr, "\nTIMEOUT: %s did not finish within %lld s\n", current_.c_str(),
                             static_cast<long long>(limit_.count()));
                std::fflush(stderr);
                std::_Exit(124);
            }
        }
    }

    std::mutex mutex_;
    std::condition_variable changed_;
    std::string current_;
    std::chrono::steady_clock::time_point deadline_;
    std::chrono::seconds limit_{60};
};

class Watchdog : public ::testing::EmptyTestEventListener {
public:
    explicit Watchdog(Watch& watch) : watch_(watch) {}
    void OnTestStart(const ::testing::TestInfo& test) override { watch_.Started(test); }
    void OnTestEnd(const ::testing::TestInfo&) override { watch_.Ended(); }

private:
    Watch& watch_;
};

// Registered before main.
const bool kInstalled = [] {
    static Watch* watch = new Watch;
    ::testing::UnitTest::GetInstance()->listeners().Append(new Watchdog(*watch));
    return true;
}();

}  // namespace
