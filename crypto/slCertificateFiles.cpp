#include "crypto/slCertificate.h"

#include "crypto/Base64.h"
#include "crypto/MemoryBio.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"
#include "crypto/slCertificateLog.h"

#include <cstddef>

#include <openssl/pem.h>

namespace Norvik
{

namespace
{

constexpr std::size_t kLoggedPemBytes = 8000;

/** Without a callback OpenSSL would ask on the terminal for the passphrase of an encrypted PEM. */
int NoPassphrase(char* /*buffer*/, int /*size*/, int /*forWriting*/, void* /*user*/)
{
    return -1;
}

} // namespace

bool slCertificate::LoadFromB64(std::string text)
{
    const ErrorQueueGuard errorQueue;
    const BioPtr memory = MemoryBioOver(text.data(), text.size());
    m_Certificate.reset(memory != nullptr ? PEM_read_bio_X509(memory.get(), nullptr, NoPassphrase, nullptr)
                                          : nullptr);
    return m_Certificate != nullptr || LoadFromBuffer(b64Decode(text));
}

bool slCertificate::LoadFromFile(std::string path)
{
    const ErrorQueueGuard errorQueue;
    const FilePtr textFile(std::fopen(path.c_str(), "r"));
    if (textFile == nullptr)
    {
        return false;
    }
    m_Certificate.reset(PEM_read_X509(textFile.get(), nullptr, NoPassphrase, nullptr));
    if (m_Certificate != nullptr)
    {
        return true;
    }
    const FilePtr binaryFile(std::fopen(path.c_str(), "rb"));
    if (binaryFile != nullptr)
    {
        m_Certificate.reset(d2i_X509_fp(binaryFile.get(), nullptr));
    }
    return m_Certificate != nullptr;
}

bool slCertificate::SaveCert(std::string path) const
{
    if (m_Certificate == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    FilePtr file(std::fopen(path.c_str(), "w"));
    if (file == nullptr || PEM_write_X509(file.get(), m_Certificate.get()) != 1)
    {
        return false;
    }
    // A full disk often shows only here.
    return std::fclose(file.release()) == 0;
}

bool slCertificate::LogCertificate(std::string title) const
{
    if (m_Certificate == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    const BioPtr memory(BIO_new(BIO_s_mem()));
    if (memory == nullptr || PEM_write_bio_X509(memory.get(), m_Certificate.get()) != 1)
    {
        return false;
    }
    SLCERT_LogDebug(title + ": " + MemoryBioText(memory.get()).substr(0, kLoggedPemBytes));
    return true;
}

} // namespace Norvik
