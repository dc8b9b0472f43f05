#pragma once

#include <vector>

class CardFile;

/**
 * Reads the numbers of the RSA key in a certificate file, big-endian.
 *
 * Both come back empty when the file can't be read, holds no certificate, or its key is no RSA key.
 *
 * @return false when the file holds no certificate; true also when it can't be read
 */
bool ReadRsaKeyOfCertificate(CardFile& file, std::vector<unsigned char>& modulus,
                             std::vector<unsigned char>& exponent);
