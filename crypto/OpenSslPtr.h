#pragma once

#include <cstdio>
#include <memory>

#include <openssl/bio.h>
#include <openssl/bn.h>
#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

/* Owners of OpenSSL objects. What a get0 function gives is never wrapped, what a get1 function gives always
 * is. */
namespace Norvik
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
using EvpPkeyPtr = std::unique_ptr<EVP_PKEY, OpenSslFree<EVP_PKEY_free>>;
using EvpMdPtr = std::unique_ptr<EVP_MD, OpenSslFree<EVP_MD_free>>;
using EvpMdCtxPtr = std::unique_ptr<EVP_MD_CTX, OpenSslFree<EVP_MD_CTX_free>>;
using LibCtxPtr = std::unique_ptr<OSSL_LIB_CTX, OpenSslFree<OSSL_LIB_CTX_free>>;
using ProviderPtr = std::unique_ptr<OSSL_PROVIDER, OpenSslFree<OSSL_PROVIDER_unload>>;
using Asn1ObjectPtr = std::unique_ptr<ASN1_OBJECT, OpenSslFree<ASN1_OBJECT_free>>;
using GeneralNamesPtr = std::unique_ptr<GENERAL_NAMES, OpenSslFree<GENERAL_NAMES_free>>;
using CrlDistPointsPtr = std::unique_ptr<CRL_DIST_POINTS, OpenSslFree<CRL_DIST_POINTS_free>>;
using AuthorityInfoAccessPtr =
    std::unique_ptr<AUTHORITY_INFO_ACCESS, OpenSslFree<AUTHORITY_INFO_ACCESS_free>>;
using ExtendedKeyUsagePtr = std::unique_ptr<EXTENDED_KEY_USAGE, OpenSslFree<EXTENDED_KEY_USAGE_free>>;
using Asn1TypePtr = std::unique_ptr<ASN1_TYPE, OpenSslFree<ASN1_TYPE_free>>;

/** Memory that OpenSSL has allocated for its caller. */
struct OpenSslMemoryFree
{
    void operator()(void* memory) const noexcept { OPENSSL_free(memory); }
};
using OpenSslBytesPtr = std::unique_ptr<unsigned char, OpenSslMemoryFree>;
using OpenSslTextPtr = std::unique_ptr<char, OpenSslMemoryFree>;

struct FileClose
{
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileClose>;

} // namespace Norvik
