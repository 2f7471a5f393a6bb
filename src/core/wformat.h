#pragma once
// printf-style formatting of wide format strings with the Microsoft meaning of the
// string conversions, identical in every build:
//   %s %ls %ws  wide string (const wchar_t*)      %S %hs  narrow string (const char*)
//   %c %lc      wide character                    %C %hc  narrow character
//   %d %i %u %x %X %o with h, l, ll, I64, z length modifiers, flags "-0+ #", width, precision.
// glibc, msvcrt and mingw's C99 mode disagree on %s/%S in wide formats, so none of them is used.
#include <cstdarg>
#include <string>

namespace Qv::Core {

std::wstring FormatWideV(const wchar_t* format, va_list args);
std::wstring FormatWide(const wchar_t* format, ...);

}  // namespace Qv::Core
