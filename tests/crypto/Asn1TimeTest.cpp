#include "crypto/Asn1.h"

#include "tests/crypto/ScopedTimeZone.h"

#include <memory>

#include <gtest/gtest.h>
#include <openssl/asn1.h>

namespace
{

struct TimeFree
{
    void operator()(ASN1_STRING* time) const { ASN1_STRING_free(time); }
};

/** An ASN.1 time with any text, as a certificate may carry it. */
std::time_t Seconds(int type, const std::string& text)
{
    const std::unique_ptr<ASN1_STRING, TimeFree> time(ASN1_STRING_type_new(type));
    ASN1_STRING_set(time.get(), text.data(), static_cast<int>(text.size()));
    return Norvik::ASN1_TIME_to_time_t(time.get());
}

struct TimeCase
{
    const char* name;
    int type;
    const char* text;
    std::time_t seconds; ///< by "date -u -d ... +%s"
};

class Asn1Time : public testing::TestWithParam<TimeCase>
{};

TEST_P(Asn1Time, IsReadFieldByField)
{
    const ScopedTimeZone utc("UTC0");

    EXPECT_EQ(Seconds(GetParam().type, GetParam().text), GetParam().seconds);
}

constexpr int kUtc = V_ASN1_UTCTIME;
constexpr int kGeneralized = V_ASN1_GENERALIZEDTIME;

INSTANTIATE_TEST_SUITE_P(
    All, Asn1Time,
    testing::Values(
        TimeCase{"Utc", kUtc, "210315101112Z", 1615803072},
        TimeCase{"UtcLastOf1900", kUtc, "991231235959Z", 946684799},
        TimeCase{"UtcFirstYear", kUtc, "700101000000Z", 0},
        TimeCase{"UtcBefore1970Is2000", kUtc, "690101000000Z", 3124224000},
        TimeCase{"UtcWithoutSeconds", kUtc, "2103151011Z", 1615803060},
        TimeCase{"UtcTenCharacters", kUtc, "2103151011", 1615803060},
        TimeCase{"UtcNineCharacters", kUtc, "210315101", 0}, TimeCase{"UtcEmpty", kUtc, "", 0},
        TimeCase{"UtcOneDigitOfSeconds", kUtc, "21031510113", 1615803063},
        TimeCase{"UtcPlusInPlaceOfSeconds", kUtc, "2103151011+0100", 1615803060},
        TimeCase{"UtcMinusInPlaceOfSeconds", kUtc, "2103151011-0100", 1615803060},
        TimeCase{"UtcOffsetIsNotApplied", kUtc, "210315101112+0200", 1615803072},
        TimeCase{"UtcNegativeOffsetIsNotApplied", kUtc, "210315101112-0200", 1615803072},
        TimeCase{"Generalized", kGeneralized, "20210315101112Z", 1615803072},
        TimeCase{"GeneralizedAfter2050", kGeneralized, "20610314235958Z", 2878070398},
        TimeCase{"GeneralizedTwelveCharactersHaveAShortYear", kGeneralized, "210315101112", 1615803072},
        TimeCase{"GeneralizedShortOffsetIsNotApplied", kGeneralized, "20210315101112+0100", 1615803072},
        TimeCase{"GeneralizedFractionWithoutOffset", kGeneralized, "20210315101112.123Z", 1615803072},
        TimeCase{"GeneralizedOf23AddsItsOffset", kGeneralized, "20210315101112.123+0130", 1615803072 + 5400},
        TimeCase{"GeneralizedOf23SubtractsItsOffset", kGeneralized, "20210315101112.123-0130",
                 1615803072 - 5400},
        TimeCase{"GeneralizedOf23WithAnotherSign", kGeneralized, "20210315101112.123Z0130", 1615803072},
        TimeCase{"GeneralizedOf24IgnoresItsOffset", kGeneralized, "20210315101112.1234+0130", 1615803072},
        TimeCase{"GeneralizedEndsInTheSeconds", kGeneralized, "2021031510111", 1615803061},
        // Fields that are not there read as 0: day 0 of month 0 is 30 November of the year before.
        TimeCase{"GeneralizedYearOnly", kGeneralized, "2021", 1606694400},
        TimeCase{"GeneralizedEmpty", kGeneralized, "", -62169984000},
        TimeCase{"OtherType", V_ASN1_PRINTABLESTRING, "210315101112Z", 0}),
    [](const auto& row) { return row.param.name; });

TEST(Asn1TimeWithoutObject, IsTheEpoch)
{
    EXPECT_EQ(Norvik::ASN1_TIME_to_time_t(nullptr), 0);
}

TEST(Asn1TimeInAZone, IsReadAsLocalTime)
{
    const ScopedTimeZone fiveHoursEast("XXX-5");

    EXPECT_EQ(Seconds(kUtc, "210315101112Z"), 1615803072 - 5 * 3600);
    EXPECT_EQ(Seconds(kGeneralized, "20210315101112Z"), 1615803072 - 5 * 3600);
}

TEST(Asn1TimeInAZone, KnowsSummerTime)
{
    const ScopedTimeZone vienna("CET-1CEST,M3.5.0,M10.5.0/3");

    EXPECT_EQ(Seconds(kUtc, "210115120000Z"), 1610708400);
    EXPECT_EQ(Seconds(kUtc, "210715120000Z"), 1626343200);
}

} // namespace
