#pragma once
// Catalog administration and CNG hashing.
#include <windows.h>
#include <bcrypt.h>
#include <wintrust.h>
#include <mscat.h>

#include "platform/windows/raii/owner.h"

namespace Qv::platform::windows {

namespace detail {
inline void release_catalog_admin(HCATADMIN admin) { ::CryptCATAdminReleaseContext(admin, 0); }
// A catalog found through an admin context is released through that context.
struct catalog_context {
    HCATADMIN admin = nullptr;
    HCATINFO info = nullptr;
    bool operator!=(const catalog_context& other) const { return info != other.info; }
};
inline void release_catalog(const catalog_context& c) { ::CryptCATAdminReleaseCatalogContext(c.admin, c.info, 0); }
inline void close_algorithm(BCRYPT_ALG_HANDLE algorithm) { ::BCryptCloseAlgorithmProvider(algorithm, 0); }
inline void destroy_hash(BCRYPT_HASH_HANDLE hash) { ::BCryptDestroyHash(hash); }
}  // namespace detail

using unique_catalog_admin = unique_any<HCATADMIN, &detail::release_catalog_admin>;
using unique_catalog = unique_any<detail::catalog_context, &detail::release_catalog>;
using unique_bcrypt_algorithm = unique_any<BCRYPT_ALG_HANDLE, &detail::close_algorithm>;
using unique_bcrypt_hash = unique_any<BCRYPT_HASH_HANDLE, &detail::destroy_hash>;

}  // namespace Qv::platform::windows
