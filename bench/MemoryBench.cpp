// Resident memory of one session after 10^4 commands and after 10^6: it must stay flat.
#include <cstdio>
#include <fstream>
#include <string>

#include "bench/BenchSupport.h"

namespace {

// Resident set size in KiB (Linux).
long ResidentKiB() {
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind("VmRSS:", 0) == 0) return std::stol(line.substr(6));
    }
    return -1;
}

}  // namespace

int main() {
    Qv::Bench::SimulatedHost host;
    // Every kind of answer: unsupported, refused, inline getters, tool commands, a WMI read, malformed.
    const std::pair<unsigned, std::wstring> mix[] = {
        {14, L"{}"},  {92, L"{\"IValue\":0}"}, {101, L"{}"}, {92, L"{\"IValue\":7}"}, {93, L"{"},
        {102, L"{}"}, {121, L"{}"},             {131, L"{}"}, {32, L"{\"eventId\":1002}"},
    };
    long after[2] = {0, 0};
    const long counts[2] = {10000, 1000000};
    long done = 0;
    for (int phase = 0; phase < 2; ++phase) {
        for (; done < counts[phase]; ++done) {
            const auto& command = mix[done % (sizeof mix / sizeof mix[0])];
            host.Execute(command.first, command.second);
        }
        after[phase] = ResidentKiB();
        std::printf("resident after %8ld commands: %6ld KiB\n", done, after[phase]);
    }
    const long growth = after[1] - after[0];
    std::printf("growth: %ld KiB (target: at most 1024 KiB) %s\n", growth, growth <= 1024 ? "ok" : "OVER");
    return growth <= 1024 ? 0 : 1;
}
