#include "tests/slots/PlainPcsc.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include <winscard.h>

namespace
{

constexpr char kReaders[] = "Plain Reader\0";

PlainPcsc& Service()
{
    return PlainPcsc::Instance();
}

} // namespace

PlainPcsc& PlainPcsc::Instance()
{
    static PlainPcsc service;
    return service;
}

void PlainPcsc::Reset()
{
    bListed = true;
    bCard = false;
    refusedRounds = lists = connects = contexts = 0;
    refusals = 0;
}

const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};

LONG SCardEstablishContext(DWORD /*dwScope*/, LPCVOID /*pvReserved1*/, LPCVOID /*pvReserved2*/,
                           LPSCARDCONTEXT phContext)
{
    if (Service().refusals > 0)
    {
        --Service().refusals;
        return SCARD_E_NO_SERVICE;
    }
    ++Service().contexts;
    *phContext = 1;
    return SCARD_S_SUCCESS;
}

LONG SCardReleaseContext(SCARDCONTEXT /*hContext*/)
{
    --Service().contexts;
    return SCARD_S_SUCCESS;
}

LONG SCardListReaders(SCARDCONTEXT /*hContext*/, LPCSTR /*mszGroups*/, LPSTR mszReaders, LPDWORD pcchReaders)
{
    if (!Service().bListed)
    {
        return SCARD_E_NO_READERS_AVAILABLE;
    }
    *pcchReaders = sizeof(kReaders);
    if (mszReaders == nullptr)
    {
        return SCARD_S_SUCCESS;
    }
    std::copy(std::begin(kReaders), std::end(kReaders), mszReaders);
    ++Service().lists;
    if (Service().refusedRounds > 0)
    {
        --Service().refusedRounds;
        // System scope, then user scope.
        Service().refusals = 2;
    }
    return SCARD_S_SUCCESS;
}

LONG SCardConnect(SCARDCONTEXT /*hContext*/, LPCSTR /*szReader*/, DWORD /*dwShareMode*/,
                  DWORD /*dwPreferredProtocols*/, LPSCARDHANDLE phCard, LPDWORD /*pdwActiveProtocol*/)
{
    ++Service().connects;
    if (!Service().bCard)
    {
        return SCARD_E_NO_SMARTCARD;
    }
    *phCard = 2;
    return SCARD_S_SUCCESS;
}

LONG SCardReconnect(SCARDHANDLE /*hCard*/, DWORD /*dwShareMode*/, DWORD /*dwPreferredProtocols*/,
                    DWORD /*dwInitialization*/, LPDWORD /*pdwActiveProtocol*/)
{
    return SCARD_S_SUCCESS;
}

LONG SCardDisconnect(SCARDHANDLE /*hCard*/, DWORD /*dwDisposition*/)
{
    return SCARD_S_SUCCESS;
}

LONG SCardBeginTransaction(SCARDHANDLE /*hCard*/)
{
    return SCARD_S_SUCCESS;
}

LONG SCardEndTransaction(SCARDHANDLE /*hCard*/, DWORD /*dwDisposition*/)
{
    return SCARD_S_SUCCESS;
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR /*mszReaderName*/, LPDWORD /*pcchReaderLen*/, LPDWORD pdwState,
                 LPDWORD /*pdwProtocol*/, LPBYTE /*pbAtr*/, LPDWORD pcbAtrLen)
{
    if (hCard == 0)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    if (!Service().bCard)
    {
        return SCARD_W_REMOVED_CARD;
    }
    if (pdwState != nullptr)
    {
        *pdwState = SCARD_PRESENT;
    }
    if (pcbAtrLen != nullptr)
    {
        *pcbAtrLen = 0;
    }
    return SCARD_S_SUCCESS;
}

LONG SCardGetAttrib(SCARDHANDLE /*hCard*/, DWORD /*dwAttrId*/, LPBYTE /*pbAttr*/, LPDWORD /*pcbAttrLen*/)
{
    return SCARD_E_NO_SMARTCARD;
}

LONG SCardControl(SCARDHANDLE /*hCard*/, DWORD /*dwControlCode*/, LPCVOID /*pbSendBuffer*/,
                  DWORD /*cbSendLength*/, LPVOID /*pbRecvBuffer*/, DWORD /*cbRecvLength*/,
                  LPDWORD lpBytesReturned)
{
    *lpBytesReturned = 0;
    return SCARD_E_NO_SMARTCARD;
}

LONG SCardTransmit(SCARDHANDLE /*hCard*/, const SCARD_IO_REQUEST* /*pioSendPci*/, LPCBYTE /*pbSendBuffer*/,
                   DWORD /*cbSendLength*/, SCARD_IO_REQUEST* /*pioRecvPci*/, LPBYTE /*pbRecvBuffer*/,
                   LPDWORD pcbRecvLength)
{
    *pcbRecvLength = 0;
    return SCARD_E_NO_SMARTCARD;
}
