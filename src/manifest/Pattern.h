#pragma once
// Regular expressions for the manifest's rules, matched in time bounded by the text's length
// times the pattern's size: the pattern is compiled to a small program of instructions and run
// over the text by every thread at once (no backtracking), so no pattern and value, however
// hostile, take long. The usual syntax minus what needs backtracking: literals, ".", classes
// ("[a-z]", "[^...]", "\d \w \s" and their capitals, inside classes too), escapes, "^" and "$",
// groups "(...)" and "(?:...)", "|", and the quantifiers "*", "+", "?", "{m}", "{m,}", "{m,n}"
// (lazy forms accepted, same answer). No back-references, look-arounds or flags.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Qv::Manifest {

class Pattern {
public:
    // Bounds of what is compiled: a pattern longer, or with a larger program or counted
    // repetition, is refused.
    static constexpr size_t kMaxPatternLength = 1024;
    static constexpr size_t kMaxProgram = 4096;
    static constexpr int kMaxRepeat = 100;

    // The compiled pattern, or nothing with `error` saying why.
    static std::optional<Pattern> Compile(std::wstring_view pattern, std::wstring* error = nullptr);

    // The whole text matches.
    bool Matches(std::wstring_view text) const;
    // Some part of the text matches (from its start only when the pattern begins with "^").
    bool Finds(std::wstring_view text) const;

    struct Instruction;
    struct Program;

private:
    bool Run(std::wstring_view text, bool whole) const;

    std::shared_ptr<const Program> program_;
};

}  // namespace Qv::Manifest
