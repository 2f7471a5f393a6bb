#pragma once
// Splitting a command line into arguments with the rules of CommandLineToArgvW, the same on
// every build: blanks and tabs separate arguments outside double quotes; 2n backslashes before a
// quote give n backslashes and toggle quoting; 2n+1 give n backslashes and a literal quote;
// inside quotes a doubled quote is a literal quote; the program name (first argument) ends at
// the first blank outside quotes and takes no escapes.
#include <string>
#include <vector>

namespace Qv::Core {

std::vector<std::wstring> SplitCommandLine(const std::wstring& commandLine);

// `text` as one argument of a command line, in double quotes, for SplitCommandLine (and
// CommandLineToArgvW and the C runtime) to give back exactly: each quote escaped, and the
// backslashes before a quote or the closing quote doubled. A text holding a NUL cannot be
// passed whole (a command line ends at its first NUL): the caller refuses it (HasNul).
std::wstring QuoteArgument(const std::wstring& text);
inline bool HasNul(const std::wstring& text) { return text.find(L'\0') != std::wstring::npos; }

}  // namespace Qv::Core
