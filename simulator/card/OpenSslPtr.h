#pragma once

#include <memory>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/ec.h>
#include <openssl/evp.h>
#include <openssl/x509v3.h>

namespace Simulator
{

template <auto Free>
struct OpenSslFree
{
    template <typename T>
    void operator()(T* object) const noexcept
    {
        Free(object);
    }
};

using BioPtr = std::unique_ptr<BIO, OpenSslFree<BIO_free_all>>;
using BignumPtr = std::unique_ptr<BIGNUM, OpenSslFree<BN_free>>;
using EcdsaSigPtr = std::unique_ptr<ECDSA_SIG, OpenSslFree<ECDSA_SIG_free>>;
using PkeyPtr = std::unique_ptr<EVP_PKEY, OpenSslFree<EVP_PKEY_free>>;
using PkeyCtxPtr = std::unique_ptr<EVP_PKEY_CTX, OpenSslFree<EVP_PKEY_CTX_free>>;
using X509Ptr = std::unique_ptr<X509, OpenSslFree<X509_free>>;
using X509NamePtr = std::unique_ptr<X509_NAME, OpenSslFree<X509_NAME_free>>;
using X509ExtensionPtr = std::unique_ptr<X509_EXTENSION, OpenSslFree<X509_EXTENSION_free>>;

} // namespace Simulator
