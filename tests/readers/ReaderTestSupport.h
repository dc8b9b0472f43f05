#pragma once

#include "readers/LibReaderAndCard.h"
#include "readers/LibReaderImpl.h"
#include "readers/PCSCReader.h"
#include "tests/doubles/ScriptedPcsc.h"
#include "tests/doubles/ScriptedPcscCalls.h"
#include "tests/support/CapturedLog.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <winscard.h>

using LogLines = std::vector<std::string>;

inline Norvik::ByteArray Bytes(const std::string& hex)
{
    return Norvik::ByteArray(ScriptedPcscCalls::Unhex(hex));
}

inline std::string Hex(const Norvik::ByteArray& bytes)
{
    return ScriptedPcscCalls::Hex(bytes.data(), bytes.size());
}

/** Names a row of a table by its first member. */
template <typename Row>
std::string NameOfRow(const testing::TestParamInfo<Row>& info)
{
    return info.param.name;
}

/** The script of the PC/SC API and the log of the reader code. No test may leave a mutex locked. */
class ReaderTest : public testing::Test
{
protected:
    ~ReaderTest() override { EXPECT_EQ(ScriptedPcsc::HeldMutexes(), 0); }

    static LogLines& Lines() { return CapturedLog::Lines(); }

    CapturedLog m_Log{{&LibReaderImpl::SetErrorLoggingFunc, &LibReaderImpl::SetMessageLoggingFunc},
                      {&LibReaderAndCard::SetErrorLoggingFunc, &LibReaderAndCard::SetMessageLoggingFunc}};
    ScriptedPcsc m_Pcsc;
};

/** A reader that has been told its name. */
class PCSCReaderTest : public ReaderTest
{
protected:
    static constexpr long kContext = 5;
    static constexpr long kCard = 7;

    PCSCReaderTest() { m_Reader.SetReaderId("Reader 0"); }

    PCSCReader m_Reader;
};

/** A reader with a context. */
class PCSCReaderInContextTest : public PCSCReaderTest
{
protected:
    PCSCReaderInContextTest()
    {
        m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(kContext);
        EXPECT_TRUE(m_Reader.ConnectReader());
        Lines().clear();
    }
};

/** A reader with a context and a card handle. */
class PCSCReaderWithCardTest : public PCSCReaderInContextTest
{
protected:
    PCSCReaderWithCardTest()
    {
        m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard);
        m_Pcsc.Status(kCard, 33).Gives("3B BF 11 00");
        EXPECT_TRUE(m_Reader.ConnectCard());
        Lines().clear();
    }
};
