// A small client of the PC/SC service: names the readers, and selects the master file of the first card.

#include <cstdio>
#include <cstring>
#include <string>

#include <winscard.h>

int main()
{
    SCARDCONTEXT context = 0;
    char names[1024] = "";
    DWORD length = sizeof names;
    if (SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) != SCARD_S_SUCCESS ||
        SCardListReaders(context, nullptr, names, &length) != SCARD_S_SUCCESS)
    {
        return 1;
    }
    for (const char* name = names; *name != '\0'; name += std::strlen(name) + 1)
    {
        SCARDHANDLE card = 0;
        DWORD protocol = 0;
        std::printf("%s:", name);
        if (SCardConnect(context, name, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &card, &protocol) ==
            SCARD_S_SUCCESS)
        {
            const BYTE select[] = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
            BYTE answer[258];
            DWORD answerLength = sizeof answer;
            SCardTransmit(card, SCARD_PCI_T1, select, sizeof select, nullptr, answer, &answerLength);
            std::printf(" %02X%02X", answer[0], answer[1]);
            SCardDisconnect(card, SCARD_LEAVE_CARD);
        }
        std::printf("\n");
    }
    SCardReleaseContext(context);
    return 0;
}
