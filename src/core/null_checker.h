#pragma once
// Argument presence checks with one warning per missing argument.
#include <initializer_list>

namespace Qv::Core {

class NullChecker {
public:
    struct Argument {
        const void* value;
        const char* name;
    };
    // Logs "<class>.NullChecker - <name> cannot be null" for every null argument (all of them are
    // checked) and answers whether none was null.
    static bool Check(std::initializer_list<Argument> arguments);
};

}  // namespace Qv::Core
