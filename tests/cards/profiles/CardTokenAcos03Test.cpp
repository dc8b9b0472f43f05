#include "cards/profiles/CardTokenAcos03.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

class CardTokenAcos03Test : public ProfileTest<CardTokenAcos03>
{
protected:
    // By file identifier, no response data wanted.
    static constexpr const char* kSelectSig = "00A4000C02DF70";
    static constexpr const char* kSelectDec = "00A4000C02DF71";
    static constexpr const char* kSelectNumber = "00A4000C02D001";
    static constexpr const char* kSelectInfobox = "00A4000C02C002";
    static constexpr const char* kReadBinary = "00B0000000";
};

TEST_F(CardTokenAcos03Test, NamesItself)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeAcos03);
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium a");
    EXPECT_EQ(m_Token.GetManufacturerID(), "Norvik");
    EXPECT_EQ(m_Token.GetTokenModel(), "ACOS EMV-A03");
}

TEST_F(CardTokenAcos03Test, KeySizesAreRsa1536AndEc192)
{
    EXPECT_EQ(m_Token.GetKeySize(AppEncryption), 1536U);
    EXPECT_EQ(m_Token.GetKeySize(AppSignature), 192U);
    EXPECT_EQ(m_Token.GetKeySize(AppInfobox), kAllOnes);
    EXPECT_EQ(m_Token.GetKeySize(AppInvalid), kAllOnes);
}

TEST_F(CardTokenAcos03Test, EachApplicationHasOnePinLength)
{
    for (int length = -1; length < 10; ++length)
    {
        EXPECT_EQ(m_Token.CheckPinLen(AppEncryption, length), length == 4) << length;
        EXPECT_EQ(m_Token.CheckPinLen(AppSignature, length), length == 6) << length;
        EXPECT_EQ(m_Token.CheckPinLen(AppInfobox, length), length == 4) << length;
        EXPECT_EQ(m_Token.CheckPinLen(AppInvalid, length), length == 0) << length;
    }
}

TEST_F(CardTokenAcos03Test, EncryptionKeysHaveTheRsaMechanismsInOrder)
{
    const std::vector<unsigned long> expected = {0x1, 0x6, 0x8, 0x40, 0x41, 0x46};
    EXPECT_EQ(MechanismsOf(1002), expected);
    EXPECT_EQ(MechanismsOf(1001), expected);
    EXPECT_EQ(m_Token.GetCardObject(1001)->GetAttribute(CKA_KEY_TYPE)->GetBytes(),
              FromHex("0000000000000000"));
}

TEST_F(CardTokenAcos03Test, SignatureKeysHaveTheEcdsaMechanismsInOrder)
{
    const std::vector<unsigned long> expected = {0x1041, 0x1042};
    EXPECT_EQ(MechanismsOf(1005), expected);
    EXPECT_EQ(MechanismsOf(1004), expected);
}

TEST_F(CardTokenAcos03Test, CertificatesAndDataHaveNoMechanism)
{
    EXPECT_TRUE(MechanismsOf(1000).empty());
    EXPECT_TRUE(MechanismsOf(1003).empty());
    EXPECT_TRUE(MechanismsOf(1006).empty());
}

TEST_F(CardTokenAcos03Test, ObjectMapIsBuiltOnce)
{
    std::vector<CardObject*>& map = m_Token.GetObjectMap();
    const std::vector<CardObject*> first = map;

    EXPECT_EQ(&m_Token.GetObjectMap(), &map);
    EXPECT_EQ(map, first);
    EXPECT_EQ(map.size(), 7U);
    EXPECT_EQ(MechanismsOf(1002).size(), 6U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03Test, TokenAttributesAreNotServed)
{
    Norvik::ByteArray out = FromHex("AA");
    EXPECT_EQ(m_Token.TokenGetAttributeValue(1000, CKA_VALUE, out), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(m_Token.TokenSetAttributeValue(1000, nullptr), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(out, FromHex("AA"));
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenAcos03::TokenGetAttributeValue",
                            "MESSAGE CardTokenAcos03::TokenSetAttributeValue"}));
}

TEST_F(CardTokenAcos03Test, CardAttributesAreTheCommonOnes)
{
    m_Reader.Atr = "3BBF11";
    Norvik::ByteArray out;
    EXPECT_EQ(m_Token.C_CardAttribute(reinterpret_cast<const unsigned char*>("ATR"), out, nullptr), CKR_OK);
    EXPECT_EQ(out, FromHex("3BBF11"));
    EXPECT_EQ(
        m_Token.C_CardAttribute(reinterpret_cast<const unsigned char*>("SicSig/PIN-Status"), out, nullptr),
        CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Reader.Calls, (Lines{"GetAtr"}));
}

TEST_F(CardTokenAcos03Test, UnblockPinFailsWithoutTouchingTheCard)
{
    EXPECT_EQ(m_Token.UnblockPin(AppEncryption), CKR_FUNCTION_FAILED);
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenAcos03::UnblockPin"}));
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03Test, ChipIdIsTheHexTextOfEightBytes)
{
    m_Reader.Expect("80F6000008", "00 1A FF 03 04 05 06 07 90 00");
    std::string text = "old";

    EXPECT_TRUE(m_Token.InternalGetChipId(text));

    EXPECT_EQ(text, "001aff0304050607");
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 80F6000008", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE InternalGetChipId"}));
}

// Six data bytes and the status word are eight bytes: enough, and the status word goes into the text.
TEST_F(CardTokenAcos03Test, ChipIdOfSixBytesHoldsTheStatusWord)
{
    m_Reader.Expect("80F6000008", "01 02 03 04 05 06 90 00");
    std::string text;

    EXPECT_TRUE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "0102030405069000");
}

TEST_F(CardTokenAcos03Test, ShorterChipIdIsEmptyAndStillGood)
{
    m_Reader.Expect("80F6000008", "01 02 03 04 05 90 00");
    std::string text = "old";

    EXPECT_TRUE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "");
}

TEST_F(CardTokenAcos03Test, RefusedChipIdIsEmpty)
{
    m_Reader.Expect("80F6000008", "01 02 03 04 05 06 07 08 6D 00");
    std::string text = "old";

    EXPECT_FALSE(m_Token.InternalGetChipId(text));

    EXPECT_EQ(text, "");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03Test, ChipIdWithoutTransactionSendsNothingAndEndsIt)
{
    m_Reader.bBeginTransaction = false;
    std::string text = "old";

    EXPECT_FALSE(m_Token.InternalGetChipId(text));

    EXPECT_EQ(text, "");
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenAcos03Test, IdentifiersWithoutReaderAreLogged)
{
    m_Token.SetReader(nullptr);
    std::string text = "old";

    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "");
    text = "old";
    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE InternalGetChipId", "ERROR CardTokenAcos03::InternalGetChipId, Reader is NULL",
                     "MESSAGE InternalGetCardIdentifier",
                     "ERROR CardTokenAcos03::InternalGetCardIdentifier, Reader is NULL"}));
}

TEST_F(CardTokenAcos03Test, CardIdentifierIsReadFromTheCardNumber)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectNumber, "9000");
    m_Reader.Expect(kReadBinary, "80 40 00 00 12 34 56 78 FF FF 90 00");
    std::string text = "old";

    EXPECT_TRUE(m_Token.InternalGetCardIdentifier(text));

    EXPECT_EQ(text, "8040000012345678");
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4000C02DF71", "SendApdu 00A4000C02D001",
                                     "SendApdu 00B0000000", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE InternalGetCardIdentifier"}));
}

// Another session opened on the same token costs two commands: the directory is still selected.
TEST_F(CardTokenAcos03Test, SecondIdentifierNeedsTwoCommands)
{
    m_Reader.Expect(kSelectDec, "9000")
        .Expect(kSelectNumber, "9000")
        .Expect(kReadBinary, "80400000123456789000");
    m_Reader.Expect(kSelectNumber, "9000").Expect(kReadBinary, "80400000123456789000");
    std::string text;

    EXPECT_TRUE(m_Token.GetCardIdentifier(text));
    EXPECT_TRUE(m_Token.GetCardIdentifier(text));
    EXPECT_EQ(m_Reader.Commands().size(), 5U);
}

TEST_F(CardTokenAcos03Test, CardIdentifierFailsWhenTheSelectionDoes)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectNumber, "6A82");
    std::string text = "old";

    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));

    EXPECT_EQ(text, "");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03Test, CardIdentifierFailsWhenTheReadDoes)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectNumber, "9000").Expect(kReadBinary, "6981");
    std::string text;

    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

// The select's 90 00 must not stand for the read that got no answer.
TEST_F(CardTokenAcos03Test, AnswerOfTheCommandBeforeDoesNotCount)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectNumber, "9000").Expect(kReadBinary, "");
    std::string text;

    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
}

TEST_F(CardTokenAcos03Test, CertificatesAreReadWithoutPin)
{
    m_Reader.Expect(kSelectSig, "9000")
        .Expect("00A4000C02C002", "9000")
        .Expect("00B00000FF", "30020500 9000");
    m_Reader.Expect(kSelectDec, "9000")
        .Expect("00A4000C02C001", "9000")
        .Expect("00B00000FF", "30020501 9000");
    Norvik::ByteArray out;

    EXPECT_TRUE(m_Token.GetCertificate(AppSignature, out));
    EXPECT_EQ(out, FromHex("30020500"));
    EXPECT_TRUE(m_Token.GetCertificate(AppEncryption, out));
    EXPECT_EQ(out, FromHex("30020501"));
}

TEST_F(CardTokenAcos03Test, CertificatesAreNeverWritten)
{
    EXPECT_FALSE(TokenFiles::SigCert(m_Token)->Update(FromHex("3000")));
    EXPECT_FALSE(TokenFiles::EncCert(m_Token)->Update(FromHex("3000")));
}

TEST_F(CardTokenAcos03Test, IdentityLinkIsReadUnderTheInfoboxPin)
{
    ReaderHasKeypad();
    m_Reader.Expect(kSelectDec, "9000")
        .Expect(kSelectNumber, "9000")
        .Expect(kReadBinary, "80400000123456789000");
    m_Reader.Expect(kSelectInfobox, "9000").ExpectKeypad("0020008308 0000000000000000", 0, "9000");
    m_Reader.Expect(kSelectInfobox, "9000").Expect("00B00000FF", "30020500 9000");
    Norvik::ByteArray out;

    EXPECT_TRUE(TokenFiles::Infobox(m_Token)->Read(out, true));
    EXPECT_EQ(out, FromHex("30020500"));
}

// No dialog asks for an infobox PIN: the write goes on without it, and its size shows the file's.
TEST_F(CardTokenAcos03Test, IdentityLinkIsWrittenWithSevenHundredBytes)
{
    m_Reader.Expect(kSelectDec, "9000")
        .Expect(kSelectNumber, "9000")
        .Expect(kReadBinary, "80400000123456789000");
    m_Reader.Expect(kSelectInfobox, "9000");
    const std::string zeros(256, '0');
    m_Reader.Expect("00D6000080 3000" + zeros.substr(4), "9000").Expect("00D6008080" + zeros, "9000");
    m_Reader.Expect("00D6010080" + zeros, "9000").Expect("00D6018080" + zeros, "9000");
    m_Reader.Expect("00D6020080" + zeros, "9000").Expect("00D602803C" + zeros.substr(0, 120), "9000");
    CardFile& file = *TokenFiles::Infobox(m_Token);

    EXPECT_TRUE(file.Update(FromHex("3000")));
    EXPECT_TRUE(file.Write());
}

TEST_F(CardTokenAcos03Test, ReservedFilesShareTheInfoboxWithFourHundredBytes)
{
    for (CardFile* file : {TokenFiles::Rfu1(m_Token), TokenFiles::Rfu2(m_Token)})
    {
        ReaderHasKeypad();
        if (file == TokenFiles::Rfu1(m_Token))
        {
            m_Reader.Expect(kSelectDec, "9000");
        }
        m_Reader.Expect(kSelectNumber, "9000").Expect(kReadBinary, "80400000123456789000");
        m_Reader.Expect(kSelectInfobox, "9000").ExpectKeypad("0020008308 0000000000000000", 0, "9000");
        m_Reader.Expect(kSelectInfobox, "9000");
        m_Reader.Expect("00B00000FF", std::string(510, '1') + "9000");
        m_Reader.Expect("00B000FF91", std::string(290, '2') + "9000");
        Norvik::ByteArray out;

        EXPECT_TRUE(file->Read(out, true));
        EXPECT_EQ(out.size(), 400U);
        EXPECT_TRUE(file->Update(FromHex("01")));
    }
}

} // namespace
