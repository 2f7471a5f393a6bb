#include "core/status.h"

namespace Qv::Status {

const char* Meaning(int status) {
    switch (status) {
        case kSuccess: return "success";
        case kUnsupportedFunction: return "unsupported function number";
        case kGeneralFailure: return "general failure";
        case kInvalidJson: return "input is not valid JSON";
        case kValueNotRead: return "a value could not be read";
        case kArgumentCheckFailed: return "the request failed the argument check";
        case kWmiPropertyNotFound: return "the WMI property does not exist";
        case kWmiClassNotFound: return "the WMI class does not exist";
        case kWmiInvalidQuery: return "the WMI query is invalid";
        case kWmiInvalidNamespace: return "the WMI namespace does not exist";
        default: return "unknown status";
    }
}

}  // namespace Qv::Status
