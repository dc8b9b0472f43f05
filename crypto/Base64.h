#pragma once

#include <string>
#include <vector>

namespace Norvik
{

/**
 * @p length bytes as base64 with CR LF behind every 76 characters, also at the end of a text that is a
 * multiple of 76.
 *
 * @return a new NUL-terminated array for the caller to free with delete[]; an empty text for no bytes
 */
char* b64Encode(const unsigned char* data, int length);
std::string b64Encode(const std::vector<unsigned char>& data);

/**
 * The bytes behind a base64 text; blanks, CR and LF in it do not count.
 *
 * @param length  receives the number of bytes, 0 for a text that is no base64
 * @return a new array for the caller to free with delete[], as long as @p text without its blanks
 */
unsigned char* b64Decode(const char* text, unsigned long& length);
std::vector<unsigned char> b64Decode(const std::string& text);

} // namespace Norvik
