#pragma once

#include "crypto/Hash.h"

#include <memory>
#include <string>
#include <vector>

struct asn1_string_st;
struct ec_key_st;
struct rsa_st;
struct x509_st;

namespace Norvik
{

struct X509Free
{
    void operator()(x509_st* certificate) const noexcept;
};
using X509Ptr = std::unique_ptr<x509_st, X509Free>;

/** A deep copy by way of DER; null for null. */
X509Ptr myX509_duplicate(const x509_st* certificate);

/**
 * One X.509 certificate, answered in plain types.
 *
 * While it holds none, texts and vectors come back empty, numbers 0 and every question is answered with
 * false. Text for certificate names is at most 1024 characters long.
 */
class slCertificate final
{
public:
    slCertificate() = default;
    /** Copies the certificate. */
    explicit slCertificate(const x509_st* certificate);
    slCertificate(const slCertificate& other);
    slCertificate& operator=(const slCertificate& other);
    ~slCertificate() = default;

    /** Intended: the same object, not the same content. */
    bool operator==(const slCertificate& other) const { return m_Certificate == other.m_Certificate; }

    /**
     * Reads DER; what follows the certificate is ignored.
     *
     * Intended: an earlier certificate is overwritten and not released, a wrapper is loaded once.
     */
    bool LoadFromBuffer(const unsigned char* data, unsigned long length);
    bool LoadFromBuffer(const std::vector<unsigned char>& data);
    /** Reads PEM or, failing that, base64 of DER. */
    bool LoadFromB64(std::string text);
    /** Reads PEM or, failing that, DER. The object is untouched when the file does not open. */
    bool LoadFromFile(std::string path);
    /** Copies the certificate. */
    bool LoadFromX509(x509_st* certificate);
    /** Writes PEM. */
    [[nodiscard]] bool SaveCert(std::string path) const;

    [[nodiscard]] std::vector<unsigned char> ToBin() const;
    [[nodiscard]] std::string ToB64() const;
    /** Borrowed; lives as long as this object holds it. */
    [[nodiscard]] x509_st* GetX509() const { return m_Certificate.get(); }
    /** A copy that the caller frees with X509_free(). */
    [[nodiscard]] x509_st* GetX509Copy() const;

    // Names and numbers

    /**
     * DER of the name.
     *
     * @param buffer  null asks for the length alone
     * @param length  in: room in @p buffer; out: length; unchanged on failure
     */
    bool GetSubjectDER(unsigned char* buffer, unsigned int& length) const;
    bool GetIssuerDER(unsigned char* buffer, unsigned int& length) const;
    /** Intended: the content bytes alone, without tag and length. Otherwise as GetSubjectDER(). */
    bool GetSerialNumberDER(unsigned char* buffer, unsigned int& length) const;

    /** "/C=.../CN=...". */
    [[nodiscard]] std::string GetSubject() const;
    [[nodiscard]] std::string GetIssuer() const;
    /** @param flags the XN_FLAG_ values of OpenSSL */
    [[nodiscard]] std::string GetSubjectWithFormat(unsigned long flags) const;
    [[nodiscard]] std::string GetIssuerWithFormat(unsigned long flags) const;
    /** The components of GetIssuer() from the last to the first, with commas between them. */
    [[nodiscard]] std::string GetIssuerSepByComa() const;
    /** The first value of the attribute in the name. */
    [[nodiscard]] std::string GetSubjectVal(int nid) const;
    [[nodiscard]] std::string GetIssuerVal(int nid) const;
    [[nodiscard]] std::string GetSubjectCN() const;
    [[nodiscard]] std::string GetSubjectOU() const;
    /** Given name. */
    [[nodiscard]] std::string GetSubjectGN() const;
    /** Surname. */
    [[nodiscard]] std::string GetSubjectSN() const;
    /** The serial number attribute of the name. */
    [[nodiscard]] std::string GetSubjectSerial() const;
    [[nodiscard]] std::string GetIssuerCN() const;
    [[nodiscard]] std::string GetIssuerC() const;
    [[nodiscard]] std::string GetIssuerO() const;
    [[nodiscard]] std::string GetIssuerOU() const;
    /** OpenSSL's hash of the name, eight lower-case hexadecimal digits. */
    [[nodiscard]] std::string GetSubjectNameHash() const;
    [[nodiscard]] std::string GetIssuerNameHash() const;

    /** Borrowed from the certificate. */
    [[nodiscard]] const asn1_string_st* GetSerialNumberAsn1() const;
    /** "0x" and upper-case hexadecimal. */
    [[nodiscard]] std::string GetSerialNumber() const;
    /** Ends at the range of a long. */
    [[nodiscard]] long GetSerialNumberInt() const;

    // Validity. Intended: the times in the certificate are read as local time of the host and shown as UTC.

    void ValidFrom(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                   unsigned short& minute, unsigned short& second) const;
    void ValidTo(unsigned short& year, unsigned short& month, unsigned short& day, unsigned short& hour,
                 unsigned short& minute, unsigned short& second) const;
    /** "2031-12-24 18:00:00". */
    [[nodiscard]] std::string ValidFrom() const;
    [[nodiscard]] std::string ValidTo() const;
    /** Both ends belong to the time of validity. */
    [[nodiscard]] bool IsValid(const long& time) const;

    // Key

    /** 1 for RSA, 0 for elliptic curves, 3 for anything else. */
    [[nodiscard]] int GetKeyAlgorithm() const;
    [[nodiscard]] bool IsRsaKey() const;
    [[nodiscard]] bool IsEcdsaKey() const;
    /**
     * Copies the key.
     *
     * @param rsa  receives the key, which the caller owns (RsaPtr); unchanged on failure
     */
    bool GetRsaPublicKey(rsa_st** rsa) const;
    /** The same for a key on an elliptic curve (EcKeyPtr). */
    bool GetEcdsaPublicKey(ec_key_st** key) const;
    /** Big-endian, without leading zeros; false for any other key. */
    bool GetRsaPubKeyComponents(std::vector<unsigned char>& modulus,
                                std::vector<unsigned char>& exponent) const;
    /**
     * The content of the subjectPublicKey BIT STRING.
     *
     * @param value  receives a new array for the caller to free with delete[]; unchanged on failure
     */
    bool GetPublicKeyValue(unsigned char** value, unsigned long* length) const;
    /** SHA-1 over the content of the subjectPublicKey BIT STRING. */
    [[nodiscard]] std::vector<unsigned char> GetPubKeyHashBytes() const;
    /** Intended: the 20 bytes themselves as characters, not digits. */
    [[nodiscard]] std::string GetPubKeyHashHex() const;
    [[nodiscard]] std::string GetPubKeyHashB64() const;

    // Thumbprint

    /** @param thumbprint  unchanged on failure */
    bool GetThumbprint(std::vector<unsigned char>& thumbprint, HashAlgorithm algorithm) const;
    /**
     * SHA-1.
     *
     * @param thumbprint  receives a new array for the caller to free with delete[]; unchanged on failure
     */
    bool GetThumbprint(unsigned char** thumbprint, unsigned long* length) const;
    /** SHA-1 in upper-case hexadecimal. Intended: a byte below 0x10 is one digit. */
    [[nodiscard]] std::wstring GetThumbprint() const;

    // Extensions

    /** @param oid name or dotted numbers. Intended: the first extension of the certificate is never found. */
    [[nodiscard]] bool GetExtAvailable(std::string oid) const;
    /** The same search; whether a BOOLEAN of 0xFF was found. */
    [[nodiscard]] bool GetBoolExt(std::string oid) const;
    [[nodiscard]] bool IsCaCert() const;
    /** Whether subject and issuer are the same name. */
    [[nodiscard]] bool IsSelfSigned() const;
    [[nodiscard]] bool IsOcspSigner() const;
    /** The raw value of the subject key identifier extension. */
    [[nodiscard]] std::vector<unsigned char> GetSKI() const;
    /** The raw value of the authority key identifier extension. */
    [[nodiscard]] std::vector<unsigned char> GetAKI() const;
    [[nodiscard]] std::vector<std::string> Get_SAN_DNS() const;
    /** URIs of the CRL distribution points. */
    [[nodiscard]] std::vector<std::string> Get_CRL_Dp() const;
    /** URIs of the authority information access, with "ocsp:" or "ca:" in front. */
    [[nodiscard]] std::vector<std::string> Get_AIA() const;
    [[nodiscard]] std::vector<std::string> Get_AIA_OCSP() const;
    [[nodiscard]] std::vector<std::string> Get_AIA_CAIssuers() const;

    /** Writes @p title, ": " and the PEM, at most 8000 bytes of it, to the debug log; false without a PEM. */
    bool LogCertificate(std::string title) const;

private:
    X509Ptr m_Certificate;
};

} // namespace Norvik
