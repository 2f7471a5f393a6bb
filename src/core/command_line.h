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

}  // namespace Qv::Core
