#pragma once

// Written by C_Initialize and C_Finalize alone. A plain variable: calls in flight are not serialised against it.
extern unsigned char bCryptokiInitialized;

/** Whether the library is between C_Initialize and C_Finalize. */
[[nodiscard]] inline bool isCryptokiInitialized()
{
    return bCryptokiInitialized != 0;
}
