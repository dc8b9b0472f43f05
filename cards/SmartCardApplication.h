#pragma once

/** The key and PIN context of a card operation. */
enum SmartCardApplication
{
    AppEncryption = 0, ///< the encryption key, its certificate and its PIN
    AppSignature = 1,  ///< the signature key, its certificate and its PIN
    AppInfobox = 2,    ///< the Infobox data file and its PIN
    AppInvalid = 3,    ///< no application
};
