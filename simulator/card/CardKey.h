#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/OpenSslPtr.h"

#include <memory>
#include <optional>
#include <string_view>

namespace Simulator
{

/** A private key inside a card. Its operations are those of a card: bytes in, bytes out, no ASN.1. */
class CardKey final
{
public:
    explicit CardKey(PkeyPtr key) : m_Key(std::move(key)) {}

    /** @throws std::invalid_argument when the text is no private key */
    static std::shared_ptr<const CardKey> FromPem(std::string_view pem);

    /**
     * RSA signature over PKCS#1 v1.5 padding of type 1 around the input as it stands.
     *
     * @return nothing when the input leaves no room for the padding
     */
    [[nodiscard]] std::optional<Bytes> SignPkcs1(ByteView input) const;

    /** RSA decryption that takes the PKCS#1 v1.5 padding of type 2 off. @return nothing when there is none */
    [[nodiscard]] std::optional<Bytes> DecipherPkcs1(ByteView cryptogram) const;

    /** ECDSA with a fresh nonce: r and s, each as long as the order of the curve. */
    [[nodiscard]] std::optional<Bytes> SignEcdsa(ByteView digest) const;

    /** Bytes of an RSA modulus, or of the order of the curve. */
    [[nodiscard]] std::size_t Size() const;
    /** The RSA modulus, big-endian, without a leading zero. */
    [[nodiscard]] Bytes Modulus() const;
    /** SubjectPublicKeyInfo in DER. */
    [[nodiscard]] Bytes PublicKeyDer() const;
    [[nodiscard]] EVP_PKEY* Handle() const { return m_Key.get(); }

private:
    PkeyPtr m_Key;
};

} // namespace Simulator
