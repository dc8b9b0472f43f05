#include "cards/profiles/CardTokenECardG3b.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

constexpr const char* kSelectInfobox = "00A4040C08D040000017001801";
constexpr const char* kSelectInfo = "00A4020C02C002";
constexpr const char* kInfobox = "41494B01 01000300616263 0200010031 0300010032 00";

class CardTokenECardG3bTest : public ProfileTest<CardTokenECardG3b>
{};

TEST_F(CardTokenECardG3bTest, DiffersFromG3ByTypeAlone)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeECardG3b);
    EXPECT_EQ(m_Token.GetTokenModel(), "eCard G3");
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium e");
    EXPECT_EQ(m_Token.GetManufacturerID(), "SV");
    EXPECT_EQ(MechanismsOf(1002).size(), 6U);
}

TEST_F(CardTokenECardG3bTest, InfoboxEntriesAreReadWithoutPin)
{
    const std::vector<std::pair<CardFile*, const char*>> entries = {{TokenFiles::Infobox(m_Token), "616263"},
                                                                    {TokenFiles::Rfu1(m_Token), "31"},
                                                                    {TokenFiles::Rfu2(m_Token), "32"}};
    m_Reader.Expect(kSelectInfobox, "9000");
    for (const auto& [file, content] : entries)
    {
        // The size is not known: the file is read to its end.
        m_Reader.Expect(kSelectInfo, "9000").Expect("00B00000FF", std::string(kInfobox) + "9000");
        m_Reader.Expect("00B00016FF", "6B00");
        Norvik::ByteArray out;
        EXPECT_TRUE(file->Read(out, false));
        EXPECT_EQ(out, FromHex(content));
    }
}

TEST_F(CardTokenECardG3bTest, IdentityLinkIsWrittenUnderTheEncryptionPin)
{
    UserTypes("1234");
    m_Reader.Expect(kSelectInfobox, "9000").Expect(kSelectInfo, "9000").Expect("00B00000FF", "9000 9000");
    m_Reader.Expect("00B00002FF", "6B00");
    CardFile& file = *TokenFiles::Infobox(m_Token);
    ASSERT_TRUE(file.Update(FromHex("41")));
    for (int round = 0; round < 3; ++round)
    {
        m_Reader.Expect("00A4000C023F00", "9000").Expect("00B0820000", "0A0B0102030405060708090A9000");
    }
    m_Reader.Expect("00A4040C08D040000017001301", "9000").Expect("0020000108 241234FFFFFFFFFF", "9000");
    m_Reader.Expect(kSelectInfo, "9000").Expect("00D600000B 9000 41494B01 0100010041", "9000");

    EXPECT_TRUE(file.Write());
    EXPECT_EQ(FakeLibInput::Instance().Calls, (Lines{"GetPinSoftwareEntry(0, 4, 4, room 256)"}));
}

TEST_F(CardTokenECardG3bTest, ReservedFilesMayBeWritten)
{
    for (CardFile* file : {TokenFiles::Rfu1(m_Token), TokenFiles::Rfu2(m_Token)})
    {
        if (file == TokenFiles::Rfu1(m_Token))
        {
            m_Reader.Expect(kSelectInfobox, "9000");
        }
        m_Reader.Expect(kSelectInfo, "9000").Expect("00B00000FF", "6B00");
        EXPECT_TRUE(file->Update(FromHex("41")));
    }
}

} // namespace
