// Every command that the main flows send to an ACOS 03 card, byte for byte, from the exported functions down.

#include "simulator/cards/Acos03.h"
#include "tests/cryptoki/CardFixture.h"

namespace
{

using testing::ElementsAre;
using testing::ElementsAreArray;

std::string ToHex(const Bytes& bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes)
    {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text;
}

constexpr char kSelectMf[] = "00A4000C023F00";
constexpr char kSelectDfDec[] = "00A4000C02DF71";
constexpr char kSelectDfSig[] = "00A4000C02DF70";
constexpr char kSelectCardNumber[] = "00A4000C02D001";
constexpr char kSelectInfo[] = "00A4000C02D002";
constexpr char kSelectEncCertificate[] = "00A4000C02C001";
constexpr char kSelectSigCertificate[] = "00A4000C02C002";
constexpr char kSelectModulus[] = "00A4000C02B001";
constexpr char kReadToTheEnd[] = "00B0000000";

class ModuleTrace : public CardFixture
{
protected:
    /** The commands that the card got since the last call. */
    std::vector<std::string> Commands()
    {
        std::vector<std::string> commands;
        for (const Bytes& command : m_World.Commands())
        {
            commands.push_back(ToHex(command));
        }
        m_World.ClearTrace();
        return commands;
    }
};

} // namespace

TEST_F(ModuleTrace, FirstSessionProbesTheChipAndReadsTheCardNumber)
{
    Restart();
    CountSlots();
    Commands();

    static_cast<void>(Open());

    EXPECT_THAT(Commands(), ElementsAre(kSelectDfDec, kSelectInfo, kReadToTheEnd, // which of the two chips
                                        kSelectDfDec, kSelectCardNumber, kReadToTheEnd));
}

TEST_F(ModuleTrace, CardWithoutEfInfoIsSparedTheRead)
{
    Simulator::CardOptions options;
    options.bInfoFile = false;
    m_World.Swap(kSlot, Simulator::MakeAcos03(options));
    Restart();
    CountSlots();
    Commands();

    static_cast<void>(Open());

    EXPECT_THAT(Commands(),
                ElementsAre(kSelectDfDec, kSelectInfo, kSelectDfDec, kSelectCardNumber, kReadToTheEnd));
}

TEST_F(ModuleTrace, FurtherSessionReadsTheCardNumberAlone)
{
    static_cast<void>(Open());
    Commands();

    static_cast<void>(Open());

    EXPECT_THAT(Commands(), ElementsAre(kSelectCardNumber, kReadToTheEnd));
}

TEST_F(ModuleTrace, LoginDropsAnOldOneAndPresentsThePin)
{
    const CK_SESSION_HANDLE session = Open();
    Commands();

    ASSERT_EQ(Login(session, "1234"), CKR_OK);

    EXPECT_THAT(Commands(), ElementsAre(kSelectMf, kSelectDfDec, kSelectCardNumber, kReadToTheEnd,
                                        "0020008108" // VERIFY, reference 81
                                        "3132333400000000"));
}

TEST_F(ModuleTrace, LogoutSelectsTheMasterFile)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    Commands();

    ASSERT_EQ(P11().C_Logout(session), CKR_OK);

    EXPECT_THAT(Commands(), ElementsAre(kSelectMf));
}

TEST_F(ModuleTrace, RsaSignatureIsTwoCommands)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    FindObjects(session);
    ASSERT_EQ(SignInit(session, CKM_SHA256_RSA_PKCS), CKR_OK);
    Commands();
    Bytes signature;

    ASSERT_EQ(Sign(session, "abc", signature), CKR_OK);

    // SHA-256 of "abc": FIPS 180-4, appendix B.1 of its first edition.
    EXPECT_THAT(Commands(),
                ElementsAre("002241A406840188800101", // MSE SET, authentication, key 88, algorithm 01
                            "0088100033"              // INTERNAL AUTHENTICATE
                            "3031300D060960864801650304020105000420"
                            "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"
                            "00"));
}

TEST_F(ModuleTrace, ReadyDataGoesToTheCardAsItStands)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    FindObjects(session);
    ASSERT_EQ(SignInit(session, CKM_RSA_PKCS), CKR_OK);
    Commands();
    Bytes signature;

    ASSERT_EQ(Sign(session, "abc", signature), CKR_OK);

    EXPECT_THAT(Commands(), ElementsAre("002241A406840188800101", "008810000361626300"));
}

TEST_F(ModuleTrace, CertificateIsReadOnceForAllItsAttributes)
{
    const CK_SESSION_HANDLE session = Open();
    FindObjects(session);
    Commands();

    const Bytes certificate = Attribute(session, kSigCertificate, CKA_VALUE).value_or(Bytes());
    ASSERT_FALSE(certificate.empty());
    const std::vector<std::string> first = Commands();
    EXPECT_TRUE(Attribute(session, kSigCertificate, CKA_SUBJECT).has_value());
    EXPECT_TRUE(Attribute(session, kSigCertificate, CKA_SERIAL_NUMBER).has_value());

    std::vector<std::string> expected = {kSelectDfSig, kSelectSigCertificate};
    for (std::size_t offset = 0; offset < certificate.size(); offset += 255)
    {
        const std::size_t rest = certificate.size() - offset;
        // The first command doesn't know the size yet.
        const std::size_t le = offset == 0 || rest > 255 ? 255 : rest;
        expected.push_back(
            "00B0" + ToHex({static_cast<unsigned char>(offset >> 8U),
                            static_cast<unsigned char>(offset & 0xFFU), static_cast<unsigned char>(le)}));
    }
    EXPECT_THAT(first, ElementsAreArray(expected));
    EXPECT_THAT(Commands(), ElementsAre());
}

TEST_F(ModuleTrace, CheckOfASignatureReadsTheModulusFromTheCard)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    FindObjects(session);
    ASSERT_EQ(SignInit(session), CKR_OK);
    Bytes signature;
    ASSERT_EQ(Sign(session, "abc", signature), CKR_OK);
    ASSERT_EQ(VerifyInit(session), CKR_OK);
    Commands();
    std::string data = "abc";

    EXPECT_EQ(P11().C_Verify(session, reinterpret_cast<CK_BYTE_PTR>(data.data()), data.size(),
                             signature.data(), signature.size()),
              CKR_OK);

    EXPECT_THAT(Commands(), ElementsAre(kSelectModulus, "00B00000C0"));
}

TEST_F(ModuleTrace, WrongPinStopsAtTheCard)
{
    const CK_SESSION_HANDLE session = Open();
    Commands();

    ASSERT_EQ(Login(session, "9999"), CKR_PIN_INCORRECT);

    EXPECT_THAT(Commands(), ElementsAre(kSelectMf, kSelectDfDec, kSelectCardNumber, kReadToTheEnd,
                                        "00200081083939393900000000"));
}

TEST_F(ModuleTrace, EncryptionCertificateLiesInItsOwnDirectory)
{
    const CK_SESSION_HANDLE session = Open();
    FindObjects(session);
    Commands();

    EXPECT_TRUE(Attribute(session, kEncCertificate, CKA_SUBJECT).has_value());

    // DF_DEC is selected already: the card number lies there too.
    EXPECT_EQ(Commands().at(0), kSelectEncCertificate);
}
