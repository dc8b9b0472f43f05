#include "cards/profiles/CardTokenAcos04.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

class CardTokenAcos04Test : public ProfileTest<CardTokenAcos04>
{};

TEST_F(CardTokenAcos04Test, DiffersFromTheOlderChipByTypeAndModelAlone)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeAcos04);
    EXPECT_EQ(m_Token.GetTokenModel(), "ACOS EMV-A04");
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium a");
    EXPECT_EQ(m_Token.GetManufacturerID(), "Norvik");
    EXPECT_EQ(m_Token.GetKeySize(AppEncryption), 1536U);
    EXPECT_EQ(m_Token.GetKeySize(AppSignature), 192U);
    EXPECT_EQ(m_Token.GetKeySize(AppInfobox), kAllOnes);
}

TEST_F(CardTokenAcos04Test, EncryptionKeysHaveEighteenMechanismsInOrder)
{
    const std::vector<unsigned long> expected = {0x0, 0x100, 0x105, 0x120, 0x125, 0x130, 0x131, 0x136, 0x1,
                                                 0x6, 0x8,   0x40,  0x41,  0x46,  0x240, 0x220, 0x250, 0x133};
    EXPECT_EQ(MechanismsOf(1002), expected);
    EXPECT_EQ(MechanismsOf(1001), expected);
}

TEST_F(CardTokenAcos04Test, SignatureKeysHaveTheEcdsaMechanisms)
{
    const std::vector<unsigned long> expected = {0x1041, 0x1042};
    EXPECT_EQ(MechanismsOf(1005), expected);
    EXPECT_EQ(MechanismsOf(1004), expected);
}

TEST_F(CardTokenAcos04Test, ObjectMapIsBuiltOnce)
{
    m_Token.GetObjectMap();
    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);
    EXPECT_EQ(MechanismsOf(1002).size(), 18U);
}

TEST_F(CardTokenAcos04Test, TokenAttributesAreNotServed)
{
    Norvik::ByteArray out;
    EXPECT_EQ(m_Token.TokenGetAttributeValue(1000, CKA_VALUE, out), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(m_Token.TokenSetAttributeValue(1000, nullptr), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenAcos04::TokenGetAttributeValue",
                            "MESSAGE CardTokenAcos03::TokenSetAttributeValue"}));
}

TEST_F(CardTokenAcos04Test, SignsLikeTheOlderChip)
{
    m_Reader.Expect("0022 41A4 06 840188 800101", "9000").Expect("0088100002 0102 00", "AA9000");
    Norvik::ByteArray signature;
    EXPECT_EQ(m_Token.DoSignatureEnc(HashNone, PaddingNone, FromHex("0102"), signature), 0U);
    EXPECT_EQ(signature, FromHex("AA"));
}

// One Infobox of three entries: the identity link "abc", RFU1 and RFU2.
constexpr const char* kInfobox = "41494B01 01000300616263 0200010031 0300010032 00";

// The file is read from its start, with no DER header to tell its size: 1500 bytes are asked for.
TEST_F(CardTokenAcos04Test, IdentityLinkIsReadWithoutPin)
{
    m_Reader.Expect("00A4000C02DF71", "9000").Expect("00A4000C02C002", "9000");
    std::string image = ToHex(FromHex(kInfobox));
    image += std::string(3000 - image.size(), '0');
    m_Reader.Expect("00B00000FF", image.substr(0, 510) + "9000")
        .Expect("00B000FFFF", image.substr(510, 510) + "9000");
    m_Reader.Expect("00B001FEFF", image.substr(1020, 510) + "9000");
    m_Reader.Expect("00B002FDFF", image.substr(1530, 510) + "9000");
    m_Reader.Expect("00B003FCFF", image.substr(2040, 510) + "9000");
    m_Reader.Expect("00B004FBE1", image.substr(2550) + "9000");
    Norvik::ByteArray out;

    EXPECT_TRUE(TokenFiles::Infobox(m_Token)->Read(out, true));
    EXPECT_EQ(out, FromHex("616263"));
}

TEST_F(CardTokenAcos04Test, IdentityLinkIsWrittenUnderTheEncryptionPin)
{
    UserTypes("1234");
    m_Reader.Expect("00A4000C02DF71", "9000").Expect("00A4000C02D001", "9000");
    m_Reader.Expect("00B0000000", "8040000012345678 9000").Expect("0020008108 3132333400000000", "9000");
    m_Reader.Expect("00A4000C02C002", "9000");
    // The size shows in the fill: eleven full commands and 92 bytes more.
    for (int i = 0; i < 11; ++i)
    {
        const unsigned char offset[] = {static_cast<unsigned char>(i / 2),
                                        static_cast<unsigned char>(i % 2 * 128)};
        m_Reader.Expect("00D6" + ToHex(Norvik::ByteArray(offset, 2)) + "80" + std::string(256, '0'), "9000");
    }
    m_Reader.Expect("00D605805C" + std::string(184, '0'), "9000");

    EXPECT_TRUE(TokenFiles::Infobox(m_Token)->Write());
    EXPECT_EQ(FakeLibInput::Instance().Calls, (Lines{"GetPinSoftwareEntry(0, 4, 4, room 256)"}));
}

// A size of 0 reads nothing, and nothing is no Infobox.
TEST_F(CardTokenAcos04Test, ReservedFilesHaveASizeOfZero)
{
    for (CardFile* file : {TokenFiles::Rfu1(m_Token), TokenFiles::Rfu2(m_Token)})
    {
        if (file == TokenFiles::Rfu1(m_Token))
        {
            m_Reader.Expect("00A4000C02DF71", "9000");
        }
        m_Reader.Expect("00A4000C02C002", "9000");
        Norvik::ByteArray out;
        EXPECT_FALSE(file->Read(out, true));
        EXPECT_TRUE(out.empty());
    }
}

TEST_F(CardTokenAcos04Test, InfoboxEntriesHaveTheTagsOneToThree)
{
    const std::vector<std::pair<CardFile*, const char*>> entries = {{TokenFiles::Infobox(m_Token), "616263"},
                                                                    {TokenFiles::Rfu1(m_Token), "31"},
                                                                    {TokenFiles::Rfu2(m_Token), "32"}};
    for (const auto& [file, content] : entries)
    {
        Norvik::ByteArray image = FromHex(kInfobox);
        EXPECT_TRUE(file->ReadFileSystemStructure(image));
        EXPECT_EQ(image, FromHex(content));
    }
}

} // namespace
