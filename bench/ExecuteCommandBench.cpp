// ExecuteCommand on the simulated device, each path beside its floor (the bare RapidJSON work
// of the same call) in the same run, at one and two threads; the summary prints the ratios.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <vector>

#include "bench/BenchSupport.h"

namespace Qv::Bench {
namespace {

struct Path {
    const char* name;
    unsigned int number;
    const wchar_t* input;
};

// The paths measured: what each costs beyond the work that any answer needs.
const Path kPaths[] = {
    {"unsupported_number", 14, L"{}"},
    {"argument_check_failure", 92, L"{\"IValue\":0}"},
    {"inline_getter", 101, L"{}"},
    {"power_mode_getter", 102, L"{}"},
    {"feature_string_wmi", 131, L"{}"},
    {"setter_through_tool", 92, L"{\"IValue\":7}"},
    {"toast_getter_tool", 121, L"{}"},
    {"camera_getter_tool", 2, L"{}"},
    {"audio_mute_inline", 42, L"{\"dataFlow\":0}"},
    {"audio_device_list", 41, L"{\"dataFlow\":0}"},
    {"display_library_inline", 70, L"{}"},
    {"display_schedule_filled", 72, L"{}"},
};

SimulatedHost& Host() {
    static SimulatedHost host;
    return host;
}

void RunPath(benchmark::State& state, const Path& path) {
    const std::wstring input = path.input;
    SimulatedHost& host = Host();
    for (auto _ : state) benchmark::DoNotOptimize(host.Execute(path.number, input));
    state.SetItemsProcessed(state.iterations());
}

void RunFloor(benchmark::State& state, const Path& path) {
    const std::wstring input = path.input;
    for (auto _ : state) Floor(input);
    state.SetItemsProcessed(state.iterations());
}

// Collects each run's time per command and throughput, then prints the ratios.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        std::vector<Run> shown;
        for (const Run& run : runs) {
            if (run.run_type == Run::RT_Aggregate) {
                shown.push_back(run);
                continue;
            }
            // The best of the repetitions: noise on a shared machine only ever adds time, so the
            // fastest run of each is the fairest to compare.
            if (run.error_occurred) continue;
            const double perSecond = run.counters.count("items_per_second") ? run.counters.at("items_per_second").value : 0;
            double& best = results_[run.run_name.function_name][run.threads];
            best = std::max(best, perSecond);
        }
        if (!shown.empty()) ConsoleReporter::ReportRuns(shown);
    }

    void Summary() const {
        std::printf("\n%-24s %7s %12s %12s %7s %8s %8s %9s\n", "path (best runs)", "threads", "ns/command", "floor ns", "ratio",
                    "gain", "floor", "gain/fl.");
        for (const Path& path : kPaths) {
            const auto measured = results_.find(std::string("path/") + path.name);
            const auto floor = results_.find(std::string("floor/") + path.name);
            if (measured == results_.end() || floor == results_.end()) continue;
            for (int threads : {1, 2}) {
                const double p = Get(measured->second, threads);
                const double f = Get(floor->second, threads);
                if (p <= 0 || f <= 0) continue;
                // Time per command as the host sees it: threads in parallel share the wall clock.
                const double pathNs = 1e9 / p * threads;
                const double floorNs = 1e9 / f * threads;
                if (threads == 1) {
                    std::printf("%-24s %7d %12.0f %12.0f %6.2fx\n", path.name, threads, pathNs, floorNs, pathNs / floorNs);
                } else {
                    const double gain = p / Get(measured->second, 1);
                    const double floorGain = f / Get(floor->second, 1);
                    std::printf("%-24s %7d %12.0f %12.0f %6.2fx %7.2fx %7.2fx %8.2fx\n", path.name, threads, pathNs,
                                floorNs, pathNs / floorNs, gain, floorGain, gain / floorGain);
                }
            }
        }
        std::printf("\ntargets: ratio at most 1.10x; 2-thread gain at least 0.95x the floor's own gain\n");
    }

private:
    static double Get(const std::map<int, double>& byThreads, int threads) {
        auto it = byThreads.find(threads);
        return it == byThreads.end() ? 0 : it->second;
    }

    std::map<std::string, std::map<int, double>> results_;
};

}  // namespace
}  // namespace Qv::Bench

int main(int argc, char** argv) {
    using namespace Qv::Bench;
    Host();  // the service and its session exist before any thread starts
    for (const Path& path : kPaths) {
        benchmark::RegisterBenchmark((std::string("path/") + path.name).c_str(),
                                     [&path](benchmark::State& state) { RunPath(state, path); })
            ->Threads(1)->Threads(2)->UseRealTime();
        benchmark::RegisterBenchmark((std::string("floor/") + path.name).c_str(),
                                     [&path](benchmark::State& state) { RunFloor(state, path); })
            ->Threads(1)->Threads(2)->UseRealTime();
    }
    // Repeated and interleaved, so that the ratios compare the best runs of each; the options can
    // be overridden on the command line.
    std::vector<char*> args(argv, argv + argc);
    static char repetitions[] = "--benchmark_repetitions=9";
    static char interleaving[] = "--benchmark_enable_random_interleaving=true";
    static char minTime[] = "--benchmark_min_time=0.1";
    args.insert(args.begin() + 1, {repetitions, interleaving, minTime});
    argc = static_cast<int>(args.size());
    argv = args.data();
    benchmark::Initialize(&argc, argv);
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    reporter.Summary();
    benchmark::Shutdown();
    return 0;
}
