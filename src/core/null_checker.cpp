#include "core/null_checker.h"

#include "core/logging.h"
#include "core/strings.h"

namespace Qv::Core {

bool NullChecker::Check(std::initializer_list<Argument> arguments) {
    bool allPresent = true;
    for (const Argument& argument : arguments) {
        if (argument.value != nullptr) continue;
        allPresent = false;
        Bridge::Logging::LogManager::GetLogger()->LogWarning(L"%S.%S - %S cannot be null", TypeName<NullChecker>(),
                                                             "NullChecker", argument.name);
    }
    return allPresent;
}

}  // namespace Qv::Core
