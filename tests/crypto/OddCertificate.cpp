#include "tests/crypto/OddCertificate.h"

#include <memory>

#include <openssl/evp.h>
#include <openssl/x509.h>

namespace
{

struct Free
{
    void operator()(X509* object) const { X509_free(object); }
    void operator()(EVP_PKEY* object) const { EVP_PKEY_free(object); }
    void operator()(X509_EXTENSION* object) const { X509_EXTENSION_free(object); }
    void operator()(ASN1_OBJECT* object) const { ASN1_OBJECT_free(object); }
    void operator()(ASN1_STRING* object) const { ASN1_STRING_free(object); }
};
template <typename T>
using Ptr = std::unique_ptr<T, Free>;

EVP_PKEY* Key()
{
    static const Ptr<EVP_PKEY> key(EVP_RSA_gen(1024));
    return key.get();
}

Ptr<ASN1_STRING> StringOf(int type, const unsigned char* bytes, std::size_t length)
{
    Ptr<ASN1_STRING> text(ASN1_STRING_type_new(type));
    ASN1_STRING_set(text.get(), bytes, static_cast<int>(length));
    return text;
}

Ptr<ASN1_STRING> TimeOf(const OddCertificate::Time& time)
{
    return StringOf(time.type, reinterpret_cast<const unsigned char*>(time.text.data()), time.text.size());
}

void AddTo(X509_NAME* name, const std::vector<OddCertificate::NameEntry>& entries)
{
    for (const OddCertificate::NameEntry& entry : entries)
    {
        X509_NAME_add_entry_by_NID(name, entry.nid, V_ASN1_UTF8STRING,
                                   reinterpret_cast<const unsigned char*>(entry.value.data()),
                                   static_cast<int>(entry.value.size()), -1, 0);
    }
}

void AddTo(X509* certificate, const OddCertificate::Extension& extension)
{
    const Ptr<ASN1_OBJECT> oid(OBJ_txt2obj(extension.oid.c_str(), 1));
    const Ptr<ASN1_STRING> value =
        StringOf(V_ASN1_OCTET_STRING, extension.value.data(), extension.value.size());
    const Ptr<X509_EXTENSION> encoded(X509_EXTENSION_create_by_OBJ(nullptr, oid.get(), 0, value.get()));
    X509_add_ext(certificate, encoded.get(), -1);
}

} // namespace

Norvik::ByteArray OddCertificate::Der() const
{
    const Ptr<X509> certificate(X509_new());
    X509_set_version(certificate.get(), 2);
    ASN1_INTEGER_set(X509_get_serialNumber(certificate.get()), serial);
    AddTo(X509_get_subject_name(certificate.get()), subject);
    AddTo(X509_get_issuer_name(certificate.get()), issuer);
    X509_set1_notBefore(certificate.get(), TimeOf(notBefore).get());
    X509_set1_notAfter(certificate.get(), TimeOf(notAfter).get());
    X509_set_pubkey(certificate.get(), Key());
    for (const Extension& extension : extensions)
    {
        AddTo(certificate.get(), extension);
    }
    X509_sign(certificate.get(), Key(), EVP_sha256());

    unsigned char* encoded = nullptr;
    const int length = i2d_X509(certificate.get(), &encoded);
    Norvik::ByteArray der(encoded, static_cast<unsigned long>(length));
    OPENSSL_free(encoded);
    return der;
}
