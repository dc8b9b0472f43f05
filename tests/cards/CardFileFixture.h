#pragma once

#include "cards/CardFile.h"

#include "crypto/LibCardImpl.h"
#include "tests/doubles/ScriptedCardReader.h"
#include "tests/doubles/TestToken.h"
#include "tests/support/CapturedLog.h"

#include <string>

#include <gtest/gtest.h>

inline constexpr unsigned long kUnknownSize = ~0UL;

/** A free file of four bytes on a card that follows a script. */
class CardFileTest : public testing::Test
{
protected:
    CardFileTest()
    {
        m_File.SetDF(m_Df);
        m_File.SetEF(m_Ef);
        m_File.SetFileSize(4);
        m_File.SetReadAccess(eAccessAlways);
        m_File.SetWriteAccess(eAccessAlways);
    }

    void ExpectSelection() { m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectEf, "9000"); }

    /** Leaves @p content in the cache, as a read of a free file of this size does, and m_Out empty. */
    void FillCache(const std::string& content)
    {
        const auto size = static_cast<unsigned char>(FromHex(content).size());
        m_File.SetFileSize(size);
        m_File.SetFileSystemStructure(0, false);
        ExpectSelection();
        m_Reader.Expect("00B00000" + ToHex(Norvik::ByteArray(&size, 1)), content + "9000");
        ASSERT_TRUE(m_File.Read(m_Out, false));
        m_Out.clear();
        m_Log.Lines().clear();
    }

    /** What a free read from the cache gives; fails without one, since it then asks the card. */
    std::string Cached()
    {
        Norvik::ByteArray content;
        m_File.SetReadAccess(eAccessAlways);
        EXPECT_TRUE(m_File.Read(content, true));
        return ToHex(content);
    }

    const ChipStructureObject m_Df = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);
    const ChipStructureObject m_Ef = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x02);
    const std::string m_SelectDf = "00A4000C 02 DF70";
    const std::string m_SelectEf = "00A4000C 02 C002";

    CapturedLog m_Log{{&LibCardImpl::SetErrorLoggingFunc, &LibCardImpl::SetMessageLoggingFunc,
                       &LibCardImpl::SetDebugLoggingFunc}};
    ScriptedCardReader m_Reader;
    TestToken m_Token{&m_Reader};
    CardFile m_File{&m_Token, "EncCert"};
    Norvik::ByteArray m_Out;
};
