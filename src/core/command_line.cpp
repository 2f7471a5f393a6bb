#include "core/command_line.h"

namespace Qv::Core {

std::vector<std::wstring> SplitCommandLine(const std::wstring& line) {
    std::vector<std::wstring> args;
    size_t i = 0;
    const size_t n = line.size();

    // The program name: quotes only group, no escapes.
    std::wstring program;
    bool quoted = false;
    for (; i < n; ++i) {
        const wchar_t c = line[i];
        if (c == L'"') {
            quoted = !quoted;
        } else if (!quoted && (c == L' ' || c == L'\t')) {
            break;
        } else {
            program += c;
        }
    }
    args.push_back(program);

    while (true) {
        while (i < n && (line[i] == L' ' || line[i] == L'\t')) ++i;
        if (i >= n) break;
        std::wstring arg;
        quoted = false;
        while (i < n) {
            const wchar_t c = line[i];
            if (!quoted && (c == L' ' || c == L'\t')) break;
            if (c == L'\\') {
                size_t slashes = 0;
                while (i < n && line[i] == L'\\') ++slashes, ++i;
                if (i < n && line[i] == L'"') {
                    arg.append(slashes / 2, L'\\');
                    if (slashes % 2 == 1) {
                        arg += L'"';
                        ++i;
                    }
                } else {
                    arg.append(slashes, L'\\');
                }
                continue;
            }
            if (c == L'"') {
                if (quoted && i + 1 < n && line[i + 1] == L'"') {
                    arg += L'"';
                    i += 2;
                    continue;
                }
                quoted = !quoted;
                ++i;
                continue;
            }
            arg += c;
            ++i;
        }
        args.push_back(arg);
    }
    return args;
}

std::wstring QuoteArgument(const std::wstring& text) {
    std::wstring quoted = L"\"";
    size_t backslashes = 0;
    for (wchar_t c : text) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        // n backslashes before a quote are 2n+1 in front of the escaped quote; before anything
        // else they stand as they are.
        quoted.append(c == L'"' ? 2 * backslashes + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(2 * backslashes, L'\\');  // before the closing quote
    quoted += L'"';
    return quoted;
}

}  // namespace Qv::Core
