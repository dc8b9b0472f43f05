#include "crypto/OpenSslErrors.h"

#include <openssl/err.h>

namespace Norvik
{

ErrorQueueGuard::ErrorQueueGuard() noexcept
{
    ERR_set_mark();
}

ErrorQueueGuard::~ErrorQueueGuard()
{
    ERR_pop_to_mark();
}

std::string OpenSslErrorText()
{
    char text[256] = {};
    ERR_error_string_n(ERR_peek_last_error(), text, sizeof(text));
    return text;
}

} // namespace Norvik
