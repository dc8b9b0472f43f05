#include "crypto/LowLevelKeys.h"

#include <openssl/ec.h>
#include <openssl/rsa.h>

namespace Norvik
{

void LowLevelKeyFree::operator()(rsa_st* key) const noexcept
{
    RSA_free(key);
}

void LowLevelKeyFree::operator()(ec_key_st* key) const noexcept
{
    EC_KEY_free(key);
}

} // namespace Norvik
