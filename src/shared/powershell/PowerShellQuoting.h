#pragma once
// How the service starts PowerShell, the texts inside single-quoted strings of its scripts, and
// how PowerShell reads them back (the simulated PowerShell uses that side).
#include <optional>
#include <string>

namespace Qv::PowerShell {

// PowerShell below the system folder, named in full: a search of PATH would run whatever a user
// put in a folder on it first.
inline constexpr wchar_t kBelowSystemFolder[] = L"\\WindowsPowerShell\\v1.0\\powershell.exe";
// Every PowerShell the module starts: no profile script (a user's profile is the user's to
// write, and would run with the token the service hands over) and nothing that waits for input.
inline constexpr wchar_t kSwitches[] = L"-NoProfile -NonInteractive";

// The characters a -like pattern reads as wildcards, and its escape character.
inline bool IsWildcard(wchar_t c) { return c == L'*' || c == L'?' || c == L'[' || c == L']' || c == L'`'; }

// `text` as a -like pattern that matches exactly it: each wildcard character escaped.
inline std::wstring EscapeWildcards(const std::wstring& text) {
    std::wstring escaped;
    for (wchar_t c : text) {
        if (IsWildcard(c)) escaped += L'`';
        escaped += c;
    }
    return escaped;
}

// The characters PowerShell takes for a single quote: the apostrophe and the typographic ones.
inline bool IsPowerShellQuote(wchar_t c) {
    return c == L'\'' || c == L'\u2018' || c == L'\u2019' || c == L'\u201A' || c == L'\u201B';
}

// `text` made safe inside '...' of a script that is itself a double-quoted program argument:
// every single quote doubled (PowerShell's rule), and every double quote escaped for the
// argument's parser with the backslashes before it doubled (so that it stays a literal quote
// of the script). A text with neither is unchanged.
inline std::wstring QuoteForScript(const std::wstring& text) {
    std::wstring quoted;
    size_t backslashes = 0;
    for (wchar_t c : text) {
        if (c == L'\\') {
            ++backslashes;
            quoted += c;
            continue;
        }
        if (c == L'"') {
            quoted.append(backslashes + 1, L'\\');
        } else if (IsPowerShellQuote(c)) {
            quoted += c;
        }
        backslashes = 0;
        quoted += c;
    }
    return quoted;
}

// The body of a single-quoted string that starts `text` (after its opening quote), read as
// PowerShell reads it, up to the closing quote; with the rest of `text` from that quote on.
// Nothing when the string does not close.
inline std::optional<std::wstring> ReadQuotedLiteral(const std::wstring& text, std::wstring* rest = nullptr) {
    std::wstring literal;
    for (size_t i = 0; i < text.size(); ++i) {
        if (!IsPowerShellQuote(text[i])) {
            literal += text[i];
        } else if (i + 1 < text.size() && IsPowerShellQuote(text[i + 1])) {
            literal += text[i];
            ++i;
        } else {
            if (rest != nullptr) *rest = text.substr(i);
            return literal;
        }
    }
    return std::nullopt;
}

}  // namespace Qv::PowerShell
