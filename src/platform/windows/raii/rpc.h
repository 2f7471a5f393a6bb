#pragma once
// Strings the RPC runtime allocates.
#include <windows.h>
#include <rpc.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void free_rpc_string(RPC_WSTR text) { ::RpcStringFreeW(&text); }
}  // namespace detail

using unique_rpc_string = unique_any<RPC_WSTR, &detail::free_rpc_string>;

}  // namespace Qv::platform::windows
