#pragma once

#include "crypto/LibCrypto.h"

#include <string>
#include <vector>

/** Collects what the digest routines log while it lives. One at a time. */
class CapturedCryptoLog final
{
public:
    CapturedCryptoLog()
    {
        Lines().clear();
        LibCrypto::acPKCS11_SetErrorLoggingFunc([](std::string text) { Lines().push_back("ERROR " + text); });
        LibCrypto::acPKCS11_SetMessageLoggingFunc(
            [](std::string text) { Lines().push_back("MESSAGE " + text); });
    }
    ~CapturedCryptoLog()
    {
        LibCrypto::acPKCS11_SetErrorLoggingFunc(nullptr);
        LibCrypto::acPKCS11_SetMessageLoggingFunc(nullptr);
    }
    CapturedCryptoLog(const CapturedCryptoLog&) = delete;
    CapturedCryptoLog& operator=(const CapturedCryptoLog&) = delete;

    static std::vector<std::string>& Lines()
    {
        static std::vector<std::string> lines;
        return lines;
    }
};
