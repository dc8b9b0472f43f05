#include "simulator/card/CardKey.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

namespace
{

using Simulator::Bytes;
using Simulator::ByteView;

// Padding type 2: 00 02, at least eight bytes that are not zero, 00, the message.
std::optional<Bytes> WithoutPaddingType2(ByteView block)
{
    constexpr std::ptrdiff_t kFirstPaddingByte = 2;
    constexpr std::ptrdiff_t kLeastPadding = 8;
    if (std::ssize(block) < kFirstPaddingByte + kLeastPadding + 1 || block[0] != 0x00 || block[1] != 0x02)
    {
        return std::nullopt;
    }
    const auto separator = std::find(block.begin() + kFirstPaddingByte, block.end(), 0x00);
    if (separator == block.end() || separator - block.begin() < kFirstPaddingByte + kLeastPadding)
    {
        return std::nullopt;
    }
    return Bytes(separator + 1, block.end());
}

std::optional<Bytes> Sign(EVP_PKEY* key, ByteView input, bool bPkcs1)
{
    const Simulator::PkeyCtxPtr context(EVP_PKEY_CTX_new(key, nullptr));
    if (!context || EVP_PKEY_sign_init(context.get()) <= 0 ||
        (bPkcs1 && EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_PKCS1_PADDING) <= 0))
    {
        return std::nullopt;
    }
    std::size_t length = static_cast<std::size_t>(EVP_PKEY_get_size(key));
    Bytes signature(length);
    if (EVP_PKEY_sign(context.get(), signature.data(), &length, input.data(), input.size()) <= 0)
    {
        ERR_clear_error();
        return std::nullopt;
    }
    signature.resize(length);
    return signature;
}

} // namespace

namespace Simulator
{

std::shared_ptr<const CardKey> CardKey::FromPem(std::string_view pem)
{
    const BioPtr source(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    PkeyPtr key(PEM_read_bio_PrivateKey(source.get(), nullptr, nullptr, nullptr));
    if (!key)
    {
        ERR_clear_error();
        throw std::invalid_argument("not a private key in PEM form");
    }
    return std::make_shared<const CardKey>(std::move(key));
}

std::optional<Bytes> CardKey::SignPkcs1(ByteView input) const
{
    return Sign(m_Key.get(), input, true);
}

std::optional<Bytes> CardKey::DecipherPkcs1(ByteView cryptogram) const
{
    const PkeyCtxPtr context(EVP_PKEY_CTX_new(m_Key.get(), nullptr));
    std::size_t length = Size();
    Bytes block(length);
    if (!context || EVP_PKEY_decrypt_init(context.get()) <= 0 ||
        EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING) <= 0 ||
        EVP_PKEY_decrypt(context.get(), block.data(), &length, cryptogram.data(), cryptogram.size()) <= 0)
    {
        ERR_clear_error();
        return std::nullopt;
    }
    block.resize(length);
    return WithoutPaddingType2(block);
}

std::optional<Bytes> CardKey::SignEcdsa(ByteView digest) const
{
    const std::optional<Bytes> der = Sign(m_Key.get(), digest, false);
    if (!der.has_value())
    {
        return std::nullopt;
    }
    const unsigned char* position = der->data();
    const EcdsaSigPtr pair(d2i_ECDSA_SIG(nullptr, &position, static_cast<long>(der->size())));
    if (!pair)
    {
        return std::nullopt;
    }
    const std::size_t half = Size();
    Bytes raw(half * 2);
    const int width = static_cast<int>(half);
    if (BN_bn2binpad(ECDSA_SIG_get0_r(pair.get()), raw.data(), width) != width ||
        BN_bn2binpad(ECDSA_SIG_get0_s(pair.get()), raw.data() + half, width) != width)
    {
        return std::nullopt;
    }
    return raw;
}

std::size_t CardKey::Size() const
{
    return (static_cast<std::size_t>(EVP_PKEY_get_bits(m_Key.get())) + 7) / 8;
}

Bytes CardKey::Modulus() const
{
    BIGNUM* found = nullptr;
    if (EVP_PKEY_get_bn_param(m_Key.get(), OSSL_PKEY_PARAM_RSA_N, &found) <= 0)
    {
        throw std::logic_error("not an RSA key");
    }
    const BignumPtr modulus(found);
    Bytes bytes(static_cast<std::size_t>(BN_num_bytes(modulus.get())));
    BN_bn2bin(modulus.get(), bytes.data());
    return bytes;
}

Bytes CardKey::PublicKeyDer() const
{
    unsigned char* start = nullptr;
    const int length = i2d_PUBKEY(m_Key.get(), &start);
    if (length <= 0)
    {
        throw std::logic_error("the public key has no DER form");
    }
    const std::unique_ptr<unsigned char, decltype([](unsigned char* memory) { OPENSSL_free(memory); })> owner(
        start);
    return {start, start + length};
}

} // namespace Simulator
