// libFuzzer target: a text of any UTF-16 code units (the input as UTF-16LE) as a client's
// application name, an install location, an endpoint id, an executable name and an application
// id. The program's parser and PowerShell's single quotes give it back whole, in its one place;
// anything else ends the run.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "core/strings.h"
#include "unit/shared/CommandLineChecks.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::wstring text;
    for (size_t i = 0; i + 1 < size; i += 2) text += static_cast<wchar_t>(data[i] | (data[i + 1] << 8));
    const std::string problem = Qv::Tests::CommandLines::CheckAll(text);
    if (!problem.empty()) {
        std::fprintf(stderr, "%s: %s\n", problem.c_str(), Qv::Core::Narrow(text).c_str());
        std::abort();
    }
    return 0;
}
