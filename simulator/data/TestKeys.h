#pragma once

/** Private keys of the simulated cards and of the authority that issues their certificates, in PEM form. */
namespace Simulator::TestKeys
{

extern const char* const kAuthority;      ///< RSA 2048
extern const char* const kEncryptionRsa;  ///< RSA 1536
extern const char* const kEncryptionP192; ///< for cards whose ordinary key is an elliptic-curve key
extern const char* const kSignatureP192;
extern const char* const kSignatureP256;

} // namespace Simulator::TestKeys
