// The functions of winscard.h as a test program exports them.

// The loaded module must find them in the program, whatever the program's own rule for symbols is.
#pragma GCC visibility push(default)
#include <winscard.h>
#pragma GCC visibility pop

#include "tests/doubles/SimulatedPcsc.h"

namespace
{

template <typename Call>
LONG WithService(Call call)
{
    SimulatedPcsc* service = SimulatedPcsc::Current();
    return service == nullptr ? SCARD_E_NO_SERVICE : call(*service);
}

Simulator::ByteView View(const void* bytes, DWORD length)
{
    return {static_cast<const std::uint8_t*>(bytes), length};
}

} // namespace

extern "C" {

const SCARD_IO_REQUEST g_rgSCardT0Pci = {SCARD_PROTOCOL_T0, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardT1Pci = {SCARD_PROTOCOL_T1, sizeof(SCARD_IO_REQUEST)};
const SCARD_IO_REQUEST g_rgSCardRawPci = {SCARD_PROTOCOL_RAW, sizeof(SCARD_IO_REQUEST)};

LONG SCardEstablishContext(DWORD dwScope, LPCVOID /*pvReserved1*/, LPCVOID /*pvReserved2*/,
                           LPSCARDCONTEXT phContext)
{
    return WithService([&](SimulatedPcsc& service) { return service.EstablishContext(dwScope, phContext); });
}

LONG SCardReleaseContext(SCARDCONTEXT hContext)
{
    return WithService([&](SimulatedPcsc& service) { return service.ReleaseContext(hContext); });
}

LONG SCardIsValidContext(SCARDCONTEXT hContext)
{
    return WithService([&](SimulatedPcsc& service) { return service.IsValidContext(hContext); });
}

LONG SCardListReaders(SCARDCONTEXT hContext, LPCSTR /*mszGroups*/, LPSTR mszReaders, LPDWORD pcchReaders)
{
    return WithService(
        [&](SimulatedPcsc& service) { return service.ListReaders(hContext, mszReaders, pcchReaders); });
}

LONG SCardConnect(SCARDCONTEXT hContext, LPCSTR szReader, DWORD dwShareMode, DWORD dwPreferredProtocols,
                  LPSCARDHANDLE phCard, LPDWORD pdwActiveProtocol)
{
    return WithService([&](SimulatedPcsc& service) {
        return service.Connect(hContext, szReader, dwShareMode, dwPreferredProtocols, phCard,
                               pdwActiveProtocol);
    });
}

LONG SCardReconnect(SCARDHANDLE hCard, DWORD dwShareMode, DWORD dwPreferredProtocols, DWORD dwInitialization,
                    LPDWORD pdwActiveProtocol)
{
    return WithService([&](SimulatedPcsc& service) {
        return service.Reconnect(hCard, dwShareMode, dwPreferredProtocols, dwInitialization,
                                 pdwActiveProtocol);
    });
}

LONG SCardDisconnect(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return WithService([&](SimulatedPcsc& service) { return service.Disconnect(hCard, dwDisposition); });
}

LONG SCardBeginTransaction(SCARDHANDLE hCard)
{
    return WithService([&](SimulatedPcsc& service) { return service.BeginTransaction(hCard); });
}

LONG SCardEndTransaction(SCARDHANDLE hCard, DWORD dwDisposition)
{
    return WithService([&](SimulatedPcsc& service) { return service.EndTransaction(hCard, dwDisposition); });
}

LONG SCardStatus(SCARDHANDLE hCard, LPSTR mszReaderName, LPDWORD pcchReaderLen, LPDWORD pdwState,
                 LPDWORD pdwProtocol, LPBYTE pbAtr, LPDWORD pcbAtrLen)
{
    return WithService([&](SimulatedPcsc& service) {
        return service.Status(hCard, mszReaderName, pcchReaderLen, pdwState, pdwProtocol, pbAtr, pcbAtrLen);
    });
}

LONG SCardTransmit(SCARDHANDLE hCard, const SCARD_IO_REQUEST* pioSendPci, LPCBYTE pbSendBuffer,
                   DWORD cbSendLength, SCARD_IO_REQUEST* pioRecvPci, LPBYTE pbRecvBuffer,
                   LPDWORD pcbRecvLength)
{
    return WithService([&](SimulatedPcsc& service) {
        return service.Transmit(hCard, pioSendPci, View(pbSendBuffer, cbSendLength), pioRecvPci, pbRecvBuffer,
                                pcbRecvLength);
    });
}

LONG SCardControl(SCARDHANDLE hCard, DWORD dwControlCode, LPCVOID pbSendBuffer, DWORD cbSendLength,
                  LPVOID pbRecvBuffer, DWORD cbRecvLength, LPDWORD lpBytesReturned)
{
    return WithService([&](SimulatedPcsc& service) {
        return service.Control(hCard, dwControlCode, View(pbSendBuffer, cbSendLength),
                               static_cast<BYTE*>(pbRecvBuffer), cbRecvLength, lpBytesReturned);
    });
}

LONG SCardGetAttrib(SCARDHANDLE hCard, DWORD dwAttrId, LPBYTE pbAttr, LPDWORD pcbAttrLen)
{
    return WithService(
        [&](SimulatedPcsc& service) { return service.GetAttrib(hCard, dwAttrId, pbAttr, pcbAttrLen); });
}

} // extern "C"
