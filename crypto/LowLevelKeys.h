#pragma once

#include <memory>

struct ec_key_st;
struct rsa_st;

namespace Norvik
{

/** Releases the key objects of OpenSSL's older interface, which our own interfaces pass around. */
struct LowLevelKeyFree
{
    void operator()(rsa_st* key) const noexcept;
    void operator()(ec_key_st* key) const noexcept;
};

using RsaPtr = std::unique_ptr<rsa_st, LowLevelKeyFree>;
using EcKeyPtr = std::unique_ptr<ec_key_st, LowLevelKeyFree>;

} // namespace Norvik
