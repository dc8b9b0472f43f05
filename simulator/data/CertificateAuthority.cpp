#include "simulator/data/CertificateAuthority.h"

#include "simulator/card/OpenSslPtr.h"
#include "simulator/data/TestKeys.h"

#include <stdexcept>

#include <openssl/conf.h>

namespace
{

using namespace Simulator;

constexpr const char* kNotBefore = "20200101000000Z";
constexpr const char* kNotAfter = "20491231235959Z";
constexpr long kVersion3 = 2;
constexpr std::uint32_t kAuthoritySerial = 1;

struct ExtensionRow
{
    int nid;
    const char* value;
};

constexpr ExtensionRow kAuthorityExtensions[] = {
    {NID_basic_constraints, "critical,CA:TRUE"},
    {NID_key_usage, "critical,keyCertSign,cRLSign"},
    {NID_subject_key_identifier, "hash"},
};

constexpr ExtensionRow kHolderExtensions[] = {
    {NID_basic_constraints, "CA:FALSE"},
    {NID_subject_key_identifier, "hash"},
    {NID_authority_key_identifier, "keyid:always"},
    {NID_certificate_policies, "1.3.6.1.4.1.99999.1.1"},
    {NID_crl_distribution_points, "URI:http://crl.example.org/muster-ca.crl"},
    {NID_info_access, "OCSP;URI:http://ocsp.example.org/muster-ca"},
};

constexpr const char* kEncryptionKeyUsage = "critical,digitalSignature,keyEncipherment,dataEncipherment";
constexpr const char* kSignatureKeyUsage = "critical,nonRepudiation";

// A refusal of OpenSSL here is a fault of this file or of the caller's texts, never of the card's use.
void Require(bool bSucceeded)
{
    if (!bSucceeded)
    {
        throw std::runtime_error("cannot make a certificate");
    }
}

const CardKey& AuthorityKey()
{
    static const std::shared_ptr<const CardKey> key = CardKey::FromPem(TestKeys::kAuthority);
    return *key;
}

void AddEntry(X509_NAME* name, int nid, const std::string& text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    Require(X509_NAME_add_entry_by_NID(name, nid, MBSTRING_UTF8, bytes, static_cast<int>(text.size()), -1,
                                       0) == 1);
}

X509NamePtr AuthorityName()
{
    X509NamePtr name(X509_NAME_new());
    AddEntry(name.get(), NID_countryName, "AT");
    AddEntry(name.get(), NID_organizationName, "Muster Vertrauensdienste");
    AddEntry(name.get(), NID_commonName, "Muster CA");
    return name;
}

X509NamePtr NameOf(const Holder& holder, std::uint32_t serialNumber)
{
    X509NamePtr name(X509_NAME_new());
    AddEntry(name.get(), NID_countryName, "AT");
    AddEntry(name.get(), NID_surname, holder.surname);
    AddEntry(name.get(), NID_givenName, holder.givenName);
    AddEntry(name.get(), NID_commonName, holder.FullName());
    AddEntry(name.get(), NID_serialNumber, std::to_string(serialNumber));
    return name;
}

X509Ptr NewCertificate(std::uint32_t serialNumber, X509_NAME* subject, X509_NAME* issuer, EVP_PKEY* key)
{
    X509Ptr certificate(X509_new());
    Require(certificate && X509_set_version(certificate.get(), kVersion3) == 1 &&
            ASN1_INTEGER_set_uint64(X509_get_serialNumber(certificate.get()), serialNumber) == 1 &&
            ASN1_TIME_set_string_X509(X509_getm_notBefore(certificate.get()), kNotBefore) == 1 &&
            ASN1_TIME_set_string_X509(X509_getm_notAfter(certificate.get()), kNotAfter) == 1 &&
            X509_set_subject_name(certificate.get(), subject) == 1 &&
            X509_set_issuer_name(certificate.get(), issuer) == 1 &&
            X509_set_pubkey(certificate.get(), key) == 1);
    return certificate;
}

void AddExtension(X509* certificate, X509* issuer, int nid, const char* value)
{
    X509V3_CTX context;
    X509V3_set_ctx(&context, issuer, certificate, nullptr, nullptr, 0);
    // Some extensions want a configuration, if only an empty one.
    const std::unique_ptr<CONF, OpenSslFree<NCONF_free>> configuration(NCONF_new(nullptr));
    X509V3_set_nconf(&context, configuration.get());
    const X509ExtensionPtr extension(X509V3_EXT_conf_nid(nullptr, &context, nid, value));
    Require(extension && X509_add_ext(certificate, extension.get(), -1) == 1);
}

Bytes SignedDer(X509* certificate)
{
    Require(X509_sign(certificate, AuthorityKey().Handle(), EVP_sha256()) > 0);
    Bytes der(static_cast<std::size_t>(i2d_X509(certificate, nullptr)));
    unsigned char* position = der.data();
    i2d_X509(certificate, &position);
    return der;
}

X509Ptr Parse(const Bytes& der)
{
    const unsigned char* position = der.data();
    return X509Ptr(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
}

Bytes MakeAuthorityCertificate()
{
    const X509NamePtr name = AuthorityName();
    const X509Ptr certificate =
        NewCertificate(kAuthoritySerial, name.get(), name.get(), AuthorityKey().Handle());
    for (const ExtensionRow& row : kAuthorityExtensions)
    {
        AddExtension(certificate.get(), certificate.get(), row.nid, row.value);
    }
    return SignedDer(certificate.get());
}

} // namespace

namespace Simulator::CertificateAuthority
{

const Bytes& Certificate()
{
    static const Bytes certificate = MakeAuthorityCertificate();
    return certificate;
}

Bytes Issue(const Holder& holder, const CardKey& key, CertificatePurpose purpose, std::uint32_t serialNumber)
{
    const X509Ptr issuer = Parse(Certificate());
    const X509Ptr certificate =
        NewCertificate(serialNumber, NameOf(holder, serialNumber).get(), AuthorityName().get(), key.Handle());
    for (const ExtensionRow& row : kHolderExtensions)
    {
        AddExtension(certificate.get(), issuer.get(), row.nid, row.value);
    }
    const bool bSignature = purpose == CertificatePurpose::Signature;
    AddExtension(certificate.get(), issuer.get(), NID_key_usage,
                 bSignature ? kSignatureKeyUsage : kEncryptionKeyUsage);
    AddExtension(certificate.get(), issuer.get(), NID_subject_alt_name, ("email:" + holder.mail).c_str());
    return SignedDer(certificate.get());
}

Bytes Sign(ByteView content)
{
    const std::unique_ptr<EVP_MD_CTX, OpenSslFree<EVP_MD_CTX_free>> context(EVP_MD_CTX_new());
    std::size_t length = AuthorityKey().Size();
    Bytes signature(length);
    Require(context &&
            EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, AuthorityKey().Handle()) == 1 &&
            EVP_DigestSign(context.get(), signature.data(), &length, content.data(), content.size()) == 1);
    signature.resize(length);
    return signature;
}

} // namespace Simulator::CertificateAuthority
