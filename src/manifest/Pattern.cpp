#include "manifest/Pattern.h"

#include <utility>

namespace Qv::Manifest {

// One step of the compiled program. Threads at a Char, Any or Class step take one character;
// Split and Jump fork and move without one; the assertions pass only at the text's ends.
struct Pattern::Instruction {
    enum class Op : uint8_t { Char, Any, Class, Split, Jump, Begin, End, Match };
    Op op = Op::Match;
    wchar_t c = 0;
    size_t x = 0;  // Split's first target, Jump's target, Class's index
    size_t y = 0;  // Split's second target
};

namespace {

using Op = Pattern::Instruction::Op;

// A class item: a range of characters, or one of \d \w \s (negated for their capitals).
struct ClassItem {
    enum class Kind : uint8_t { Range, Digit, Word, Space } kind = Kind::Range;
    bool negated = false;
    wchar_t low = 0;
    wchar_t high = 0;
};

struct CharClass {
    bool negated = false;
    std::vector<ClassItem> items;
};

bool IsDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }
bool IsWord(wchar_t c) { return IsDigit(c) || (c >= L'a' && c <= L'z') || (c >= L'A' && c <= L'Z') || c == L'_'; }
bool IsSpace(wchar_t c) { return c == L' ' || (c >= L'\t' && c <= L'\r'); }

bool ItemHas(const ClassItem& item, wchar_t c) {
    bool in = false;
    switch (item.kind) {
        case ClassItem::Kind::Range:
            return c >= item.low && c <= item.high;
        case ClassItem::Kind::Digit:
            in = IsDigit(c);
            break;
        case ClassItem::Kind::Word:
            in = IsWord(c);
            break;
        case ClassItem::Kind::Space:
            in = IsSpace(c);
            break;
    }
    return in != item.negated;
}

bool ClassHas(const CharClass& set, wchar_t c) {
    bool in = false;
    for (const ClassItem& item : set.items) in = in || ItemHas(item, c);
    return in != set.negated;
}

// The parsed pattern: a tree of these.
struct Node {
    enum class Kind : uint8_t { Empty, Char, Any, Class, Begin, End, Concat, Alternate, Repeat } kind = Kind::Empty;
    wchar_t c = 0;
    size_t classIndex = 0;
    int min = 0;
    int max = 0;  // -1: no upper bound
    std::vector<Node> children;
};

class Parser {
public:
    Parser(std::wstring_view text, std::vector<CharClass>& classes) : text_(text), classes_(classes) {}

    std::optional<Node> Parse(std::wstring& error) {
        Node node = Alternation();
        if (error_.empty() && position_ != text_.size()) Fail(L"an unmatched ')'");
        if (!error_.empty()) {
            error = error_ + L" at " + std::to_wstring(position_);
            return std::nullopt;
        }
        return node;
    }

private:
    static constexpr int kMaxNesting = 64;

    bool AtEnd() const { return position_ >= text_.size(); }
    wchar_t Peek() const { return text_[position_]; }
    void Fail(const wchar_t* why) {
        if (error_.empty()) error_ = why;
    }

    Node Alternation() {
        Node first = Sequence();
        if (AtEnd() || Peek() != L'|') return first;
        Node alternate;
        alternate.kind = Node::Kind::Alternate;
        alternate.children.push_back(std::move(first));
        while (error_.empty() && !AtEnd() && Peek() == L'|') {
            ++position_;
            alternate.children.push_back(Sequence());
        }
        return alternate;
    }

    Node Sequence() {
        Node sequence;
        sequence.kind = Node::Kind::Concat;
        while (error_.empty() && !AtEnd() && Peek() != L'|' && Peek() != L')') {
            Node atom = Atom();
            if (!error_.empty()) break;
            sequence.children.push_back(Quantified(std::move(atom)));
        }
        return sequence;
    }

    Node Quantified(Node atom) {
        while (error_.empty() && !AtEnd()) {
            int min = 0;
            int max = 0;
            const wchar_t c = Peek();
            if (c == L'*') {
                max = -1;
            } else if (c == L'+') {
                min = 1;
                max = -1;
            } else if (c == L'?') {
                max = 1;
            } else if (c == L'{') {
                if (!Counts(min, max)) return atom;
                --position_;  // Counts stopped after '}'; the common step below passes it again
            } else {
                break;
            }
            ++position_;
            if (!AtEnd() && Peek() == L'?') ++position_;  // lazy: the same yes or no
            if (atom.kind == Node::Kind::Begin || atom.kind == Node::Kind::End) {
                Fail(L"a quantifier on an anchor");
                return atom;
            }
            Node repeat;
            repeat.kind = Node::Kind::Repeat;
            repeat.min = min;
            repeat.max = max;
            repeat.children.push_back(std::move(atom));
            atom = std::move(repeat);
        }
        return atom;
    }

    // "{m}", "{m,}" or "{m,n}", leaving the position after the '}'.
    bool Counts(int& min, int& max) {
        ++position_;
        if (!Number(min)) return false;
        max = min;
        if (!AtEnd() && Peek() == L',') {
            ++position_;
            if (!AtEnd() && Peek() == L'}') {
                max = -1;
            } else if (!Number(max)) {
                return false;
            }
        }
        if (AtEnd() || Peek() != L'}') {
            Fail(L"a malformed count");
            return false;
        }
        ++position_;
        if (max != -1 && max < min) {
            Fail(L"a count whose bounds are out of order");
            return false;
        }
        return true;
    }

    bool Number(int& value) {
        value = 0;
        const size_t start = position_;
        while (!AtEnd() && IsDigit(Peek())) {
            value = value * 10 + (Peek() - L'0');
            if (value > Pattern::kMaxRepeat) {
                Fail(L"a count over the limit");
                return false;
            }
            ++position_;
        }
        if (position_ == start) {
            Fail(L"a malformed count");
            return false;
        }
        return true;
    }

    Node Atom() {
        Node node;
        const wchar_t c = Peek();
        ++position_;
        switch (c) {
            case L'(': {
                if (++nesting_ > kMaxNesting) {
                    Fail(L"groups nested too deep");
                    return node;
                }
                if (text_.substr(position_, 2) == L"?:") position_ += 2;
                else if (!AtEnd() && Peek() == L'?') {
                    Fail(L"an unsupported group");
                    return node;
                }
                node = Alternation();
                --nesting_;
                if (AtEnd() || Peek() != L')') {
                    Fail(L"an unclosed group");
                    return node;
                }
                ++position_;
                return node;
            }
            case L'[':
                return Class();
            case L'.':
                node.kind = Node::Kind::Any;
                return node;
            case L'^':
                node.kind = Node::Kind::Begin;
                return node;
            case L'$':
                node.kind = Node::Kind::End;
                return node;
            case L'*':
            case L'+':
            case L'?':
            case L'{':
                Fail(L"a quantifier with nothing to repeat");
                return node;
            case L'\\': {
                ClassItem item;
                if (!Escape(item)) return node;
                if (item.kind == ClassItem::Kind::Range) {
                    node.kind = Node::Kind::Char;
                    node.c = item.low;
                } else {
                    node.kind = Node::Kind::Class;
                    node.classIndex = classes_.size();
                    classes_.push_back(CharClass{false, {item}});
                }
                return node;
            }
            default:
                node.kind = Node::Kind::Char;
                node.c = c;
                return node;
        }
    }

    // After a backslash: a class shorthand, a control character, or the character itself
    // (punctuation only: an unknown letter or digit is refused rather than guessed).
    bool Escape(ClassItem& item) {
        if (AtEnd()) {
            Fail(L"a pattern ending in a backslash");
            return false;
        }
        const wchar_t c = Peek();
        ++position_;
        item = ClassItem{};
        switch (c) {
            case L'd': item.kind = ClassItem::Kind::Digit; return true;
            case L'D': item.kind = ClassItem::Kind::Digit; item.negated = true; return true;
            case L'w': item.kind = ClassItem::Kind::Word; return true;
            case L'W': item.kind = ClassItem::Kind::Word; item.negated = true; return true;
            case L's': item.kind = ClassItem::Kind::Space; return true;
            case L'S': item.kind = ClassItem::Kind::Space; item.negated = true; return true;
            case L't': item.low = item.high = L'\t'; return true;
            case L'n': item.low = item.high = L'\n'; return true;
            case L'r': item.low = item.high = L'\r'; return true;
            case L'f': item.low = item.high = L'\f'; return true;
            case L'v': item.low = item.high = L'\v'; return true;
            default:
                if (IsWord(c)) {
                    Fail(L"an unsupported escape");
                    return false;
                }
                item.low = item.high = c;
                return true;
        }
    }

    Node Class() {
        Node node;
        CharClass set;
        if (!AtEnd() && Peek() == L'^') {
            set.negated = true;
            ++position_;
        }
        bool first = true;
        while (true) {
            if (AtEnd()) {
                Fail(L"an unclosed class");
                return node;
            }
            if (Peek() == L']' && !first) break;
            if (Peek() == L']') {
                Fail(L"an empty class");
                return node;
            }
            first = false;
            ClassItem item;
            if (!Member(item)) return node;
            // A range: "a-z"; a '-' first or last is itself.
            if (item.kind == ClassItem::Kind::Range && position_ + 1 < text_.size() && Peek() == L'-' &&
                text_[position_ + 1] != L']') {
                ++position_;
                ClassItem high;
                if (!Member(high)) return node;
                if (high.kind != ClassItem::Kind::Range || high.low < item.low) {
                    Fail(L"a malformed range");
                    return node;
                }
                item.high = high.low;
            }
            set.items.push_back(item);
        }
        ++position_;
        node.kind = Node::Kind::Class;
        node.classIndex = classes_.size();
        classes_.push_back(std::move(set));
        return node;
    }

    bool Member(ClassItem& item) {
        const wchar_t c = Peek();
        ++position_;
        if (c == L'\\') return Escape(item);
        item = ClassItem{};
        item.low = item.high = c;
        return true;
    }

    std::wstring_view text_;
    std::vector<CharClass>& classes_;
    size_t position_ = 0;
    int nesting_ = 0;
    std::wstring error_;
};

class Compiler {
public:
    explicit Compiler(std::vector<Pattern::Instruction>& program) : program_(program) {}

    bool Emit(const Node& node) {
        if (program_.size() > Pattern::kMaxProgram) return false;
        switch (node.kind) {
            case Node::Kind::Empty:
                return true;
            case Node::Kind::Char:
                return Add({Op::Char, node.c, 0, 0});
            case Node::Kind::Any:
                return Add({Op::Any, 0, 0, 0});
            case Node::Kind::Class:
                return Add({Op::Class, 0, node.classIndex, 0});
            case Node::Kind::Begin:
                return Add({Op::Begin, 0, 0, 0});
            case Node::Kind::End:
                return Add({Op::End, 0, 0, 0});
            case Node::Kind::Concat:
                for (const Node& child : node.children)
                    if (!Emit(child)) return false;
                return true;
            case Node::Kind::Alternate: {
                // split L1, next; L1: a; jump end; next: split L2, ...; the last alone.
                std::vector<size_t> jumps;
                for (size_t i = 0; i < node.children.size(); ++i) {
                    const bool last = i + 1 == node.children.size();
                    size_t split = 0;
                    if (!last) {
                        split = program_.size();
                        if (!Add({Op::Split, 0, split + 1, 0})) return false;
                    }
                    if (!Emit(node.children[i])) return false;
                    if (!last) {
                        jumps.push_back(program_.size());
                        if (!Add({Op::Jump, 0, 0, 0})) return false;
                        program_[split].y = program_.size();
                    }
                }
                for (size_t jump : jumps) program_[jump].x = program_.size();
                return true;
            }
            case Node::Kind::Repeat: {
                const Node& body = node.children.front();
                for (int i = 0; i < node.min; ++i)
                    if (!Emit(body)) return false;
                if (node.max == -1) {
                    // loop: split body, out; body; jump loop
                    const size_t loop = program_.size();
                    if (!Add({Op::Split, 0, loop + 1, 0}) || !Emit(body) || !Add({Op::Jump, 0, loop, 0})) return false;
                    program_[loop].y = program_.size();
                    return true;
                }
                // up to max - min more, each optional: split body, out
                std::vector<size_t> splits;
                for (int i = node.min; i < node.max; ++i) {
                    splits.push_back(program_.size());
                    if (!Add({Op::Split, 0, program_.size() + 1, 0}) || !Emit(body)) return false;
                }
                for (size_t split : splits) program_[split].y = program_.size();
                return true;
            }
        }
        return false;
    }

private:
    bool Add(Pattern::Instruction instruction) {
        if (program_.size() >= Pattern::kMaxProgram) return false;
        program_.push_back(instruction);
        return true;
    }

    std::vector<Pattern::Instruction>& program_;
};

}  // namespace

struct Pattern::Program {
    std::vector<Instruction> steps;
    std::vector<CharClass> classes;
};

std::optional<Pattern> Pattern::Compile(std::wstring_view text, std::wstring* error) {
    std::wstring why;
    auto compiled = std::make_shared<Program>();
    std::optional<Node> tree;
    if (text.size() > kMaxPatternLength) {
        why = L"a pattern longer than " + std::to_wstring(kMaxPatternLength) + L" characters";
    } else {
        tree = Parser(text, compiled->classes).Parse(why);
    }
    if (tree && !(Compiler(compiled->steps).Emit(*tree) && compiled->steps.size() < kMaxProgram)) {
        why = L"a pattern whose program is over " + std::to_wstring(kMaxProgram) + L" steps";
        tree.reset();
    }
    if (!tree) {
        if (error != nullptr) *error = why;
        return std::nullopt;
    }
    compiled->steps.push_back({Op::Match, 0, 0, 0});
    Pattern pattern;
    pattern.program_ = std::move(compiled);
    return pattern;
}

bool Pattern::Matches(std::wstring_view text) const { return Run(text, true); }

bool Pattern::Finds(std::wstring_view text) const { return Run(text, false); }

bool Pattern::Run(std::wstring_view text, bool whole) const {
    const std::vector<Instruction>& program = program_->steps;
    const std::vector<CharClass>& classes = program_->classes;
    const size_t size = program.size();
    std::vector<size_t> current;
    std::vector<size_t> next;
    std::vector<size_t> seen(size, static_cast<size_t>(-1));
    std::vector<size_t> stack;
    bool matched = false;

    // Every step reachable from `start` at `position` without a character joins `list`.
    const auto add = [&](std::vector<size_t>& list, size_t start, size_t position, size_t generation) {
        stack.push_back(start);
        while (!stack.empty()) {
            const size_t pc = stack.back();
            stack.pop_back();
            if (seen[pc] == generation) continue;
            seen[pc] = generation;
            const Instruction& step = program[pc];
            switch (step.op) {
                case Op::Jump:
                    stack.push_back(step.x);
                    break;
                case Op::Split:
                    stack.push_back(step.y);
                    stack.push_back(step.x);
                    break;
                case Op::Begin:
                    if (position == 0) stack.push_back(pc + 1);
                    break;
                case Op::End:
                    if (position == text.size()) stack.push_back(pc + 1);
                    break;
                case Op::Match:
                    if (!whole || position == text.size()) matched = true;
                    break;
                default:
                    list.push_back(pc);
            }
        }
    };

    for (size_t position = 0;; ++position) {
        // A search may start anywhere; a whole match only at the start.
        if (position == 0 || !whole) add(current, 0, position, position);
        if (matched) return true;
        if (position == text.size() || (current.empty() && whole)) break;
        const wchar_t c = text[position];
        next.clear();
        for (size_t pc : current) {
            const Instruction& step = program[pc];
            const bool takes = step.op == Op::Any || (step.op == Op::Char && step.c == c) ||
                               (step.op == Op::Class && ClassHas(classes[step.x], c));
            if (takes) add(next, pc + 1, position + 1, position + 1);
        }
        std::swap(current, next);
        if (matched) return true;
    }
    return matched;
}

}  // namespace Qv::Manifest
