#include "crypto/slCertificate.h"

#include "crypto/Asn1.h"
#include "crypto/OpenSslPtr.h"

#include <cstdio>
#include <ctime>
#include <limits>

namespace Norvik
{

namespace
{

struct TimeParts
{
    unsigned short year = 0;
    unsigned short month = 0;
    unsigned short day = 0;
    unsigned short hour = 0;
    unsigned short minute = 0;
    unsigned short second = 0;
};

/** A year that cannot be shown is one that no calendar knows either: all parts are 0 then. */
TimeParts Asn1TimeToTimeParts(const ASN1_TIME* time)
{
    const std::time_t seconds = ASN1_TIME_to_time_t(time);
    std::tm parts{};
    if (gmtime_r(&seconds, &parts) == nullptr)
    {
        return {};
    }
    const int year = parts.tm_year + 1900;
    if (year < 0 || year > std::numeric_limits<unsigned short>::max())
    {
        return {};
    }
    const auto toPart = [](int value) { return static_cast<unsigned short>(value); };
    return {toPart(year),          toPart(parts.tm_mon + 1), toPart(parts.tm_mday),
            toPart(parts.tm_hour), toPart(parts.tm_min),     toPart(parts.tm_sec)};
}

std::string Asn1TimeToString(const ASN1_TIME* time)
{
    const TimeParts parts = Asn1TimeToTimeParts(time);
    char text[64] = {};
    std::snprintf(text, sizeof(text), "%04d-%02d-%02d %02d:%02d:%02d", parts.year, parts.month, parts.day,
                  parts.hour, parts.minute, parts.second);
    return text;
}

} // namespace

void slCertificate::ValidFrom(unsigned short& year, unsigned short& month, unsigned short& day,
                              unsigned short& hour, unsigned short& minute, unsigned short& second) const
{
    const TimeParts parts = m_Certificate != nullptr
                                ? Asn1TimeToTimeParts(X509_get0_notBefore(m_Certificate.get()))
                                : TimeParts();
    year = parts.year;
    month = parts.month;
    day = parts.day;
    hour = parts.hour;
    minute = parts.minute;
    second = parts.second;
}

void slCertificate::ValidTo(unsigned short& year, unsigned short& month, unsigned short& day,
                            unsigned short& hour, unsigned short& minute, unsigned short& second) const
{
    const TimeParts parts =
        m_Certificate != nullptr ? Asn1TimeToTimeParts(X509_get0_notAfter(m_Certificate.get())) : TimeParts();
    year = parts.year;
    month = parts.month;
    day = parts.day;
    hour = parts.hour;
    minute = parts.minute;
    second = parts.second;
}

std::string slCertificate::ValidFrom() const
{
    return m_Certificate != nullptr ? Asn1TimeToString(X509_get0_notBefore(m_Certificate.get()))
                                    : std::string();
}

std::string slCertificate::ValidTo() const
{
    return m_Certificate != nullptr ? Asn1TimeToString(X509_get0_notAfter(m_Certificate.get()))
                                    : std::string();
}

bool slCertificate::IsValid(const long& time) const
{
    if (m_Certificate == nullptr)
    {
        return false;
    }
    const std::time_t notBefore = ASN1_TIME_to_time_t(X509_get0_notBefore(m_Certificate.get()));
    const std::time_t notAfter = ASN1_TIME_to_time_t(X509_get0_notAfter(m_Certificate.get()));
    return std::difftime(time, notBefore) >= 0 && std::difftime(notAfter, time) >= 0;
}

} // namespace Norvik
