#include "tests/doubles/ScriptedPcsc.h"
#include "tests/doubles/ScriptedPcscCalls.h"

#include <algorithm>

#include <gtest/gtest.h>
#include <winscard.h>

// The functions of the PC/SC API that the product uses, and no other: a new one doesn't link.

namespace Calls = ScriptedPcscCalls;

namespace
{
using Outcome = ScriptedPcsc::Outcome;

void WriteBytes(const Outcome& outcome, void* buffer, unsigned long capacity)
{
    if (buffer != nullptr)
    {
        const std::size_t size = std::min<std::size_t>(outcome.bytes.size(), capacity);
        std::copy_n(outcome.bytes.begin(), size, static_cast<char*>(buffer));
    }
}

void WriteLength(const Outcome& outcome, unsigned long* length)
{
    if (length != nullptr && outcome.length.has_value())
    {
        *length = *outcome.length;
    }
}

std::string NameOfPci(const SCARD_IO_REQUEST* pci)
{
    return pci == &g_rgSCardT1Pci ? "T1" : "another";
}
} // namespace

const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};

LONG SCardEstablishContext(DWORD dwScope, LPCVOID pvReserved1, LPCVOID pvReserved2, LPSCARDCONTEXT phContext)
{
    EXPECT_EQ(pvReserved1, nullptr);
    EXPECT_EQ(pvReserved2, nullptr);
    const Outcome outcome = ScriptedPcsc::Play(Calls::EstablishContext(dwScope));
    *phContext = outcome.handle.value_or(*phContext);
    return outcome.result;
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    return ScriptedPcsc::Play(Calls::ReleaseContext(hContext)).result;
}

LONG SCardListReaders(SCARDCONTEXT hContext, LPCSTR mszGroups, LPSTR mszReaders, LPDWORD pcchReaders)
{
    EXPECT_EQ(mszGroups, nullptr);
    const unsigned long capacity = *pcchReaders;
    const Outcome outcome =
        ScriptedPcsc::Play(Calls::ListReaders(hContext, Calls::Buffer(mszReaders, capacity)));
    WriteBytes(outcome, mszReaders, capacity);
    WriteLength(outcome, pcchReaders);
    return outcome.result;
}

LONG SCardConnect(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode, DWORD dwPreferredProtocols,
                  LPSCARDHANDLE phCard, LPDWORD pdwActiveProtocol)
{
    EXPECT_NE(pdwActiveProtocol, nullptr);
    const Outcome outcome =
        ScriptedPcsc::Play(Calls::Connect(hContext, szReader, dwShareMode, dwPreferredProtocols));
    *phCard = outcome.handle.value_or(*phCard);
    return outcome.result;
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD dwShareMode, DWORD dwPreferredProtocols, DWORD dwInitialization,
                    LPDWORD pdwActiveProtocol)
{
    EXPECT_NE(pdwActiveProtocol, nullptr);
    return ScriptedPcsc::Play(Calls::Reconnect(hCard, dwShareMode, dwPreferredProtocols, dwInitialization))
        .result;
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return ScriptedPcsc::Play(Calls::Disconnect(hCard, dwDisposition)).result;
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return ScriptedPcsc::Play(Calls::BeginTransaction(hCard)).result;
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return ScriptedPcsc::Play(Calls::EndTransaction(hCard, dwDisposition)).result;
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR mszReaderName, LPDWORD /*pcchReaderLen*/, LPDWORD pdwState,
                 LPDWORD /*pdwProtocol*/, LPBYTE pbAtr, LPDWORD pcbAtrLen)
{
    EXPECT_EQ(mszReaderName, nullptr);
    const unsigned long capacity = pcbAtrLen != nullptr ? *pcbAtrLen : 0;
    const Outcome outcome = ScriptedPcsc::Play(Calls::Status(hCard, Calls::Buffer(pbAtr, capacity)));
    if (pdwState != nullptr && outcome.result == SCARD_S_SUCCESS)
    {
        *pdwState = outcome.state;
    }
    WriteBytes(outcome, pbAtr, capacity);
    WriteLength(outcome, pcbAtrLen);
    return outcome.result;
}

LONG SCardGetAttrib(SCARDHANDLE hCard, DWORD dwAttrId, LPBYTE pbAttr, LPDWORD pcbAttrLen)
{
    const unsigned long capacity = *pcbAttrLen;
    const Outcome outcome =
        ScriptedPcsc::Play(Calls::GetAttrib(hCard, dwAttrId, Calls::Buffer(pbAttr, capacity)));
    WriteBytes(outcome, pbAttr, capacity);
    WriteLength(outcome, pcbAttrLen);
    return outcome.result;
}

LONG SCardControl(SCARDHANDLE hCard, DWORD dwControlCode, LPCVOID pbSendBuffer, DWORD cbSendLength,
                  LPVOID pbRecvBuffer, DWORD cbRecvLength, LPDWORD lpBytesReturned)
{
    const std::string input = Calls::Hex(static_cast<const unsigned char*>(pbSendBuffer), cbSendLength);
    const Outcome outcome = ScriptedPcsc::Play(
        Calls::Control(hCard, dwControlCode, input, Calls::Buffer(pbRecvBuffer, cbRecvLength)));
    WriteBytes(outcome, pbRecvBuffer, cbRecvLength);
    WriteLength(outcome, lpBytesReturned);
    return outcome.result;
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST* pioRecvPci, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    EXPECT_EQ(pioRecvPci, nullptr);
    const unsigned long capacity = *pcbRecvLength;
    const std::string command = Calls::Hex(pbSendBuffer, cbSendLength);
    const Outcome outcome = ScriptedPcsc::Play(
        Calls::Transmit(hCard, NameOfPci(pioSendPci), command, Calls::Buffer(pbRecvBuffer, capacity)));
    WriteBytes(outcome, pbRecvBuffer, capacity);
    WriteLength(outcome, pcbRecvLength);
    return outcome.result;
}
