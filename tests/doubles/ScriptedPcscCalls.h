#pragma once

#include <cstddef>
#include <string>

/** Calls of the PC/SC API as text: the script writes what it expects in the words in which the API tells what
 * came. */
namespace ScriptedPcscCalls
{

/** Bytes to "00A4000C". */
std::string Hex(const unsigned char* bytes, std::size_t size);
/** "00 A4 00 0C" to raw bytes. */
std::string Unhex(const std::string& hex);

std::string EstablishContext(unsigned long scope);
std::string ReleaseContext(long context);
/** @param buffer see Buffer() */
std::string ListReaders(long context, const std::string& buffer);
std::string Connect(long context, const std::string& reader, unsigned long shareMode,
                    unsigned long protocols);
std::string Reconnect(long card, unsigned long shareMode, unsigned long protocols, unsigned long disposition);
std::string Disconnect(long card, unsigned long disposition);
std::string BeginTransaction(long card);
std::string EndTransaction(long card, unsigned long disposition);
std::string Status(long card, const std::string& atr);
std::string GetAttrib(long card, unsigned long attribute, const std::string& buffer);
std::string Control(long card, unsigned long code, const std::string& inputHex, const std::string& buffer);
std::string Transmit(long card, const std::string& pci, const std::string& commandHex,
                     const std::string& buffer);
std::string Sleep(unsigned int seconds);
std::string Usleep(unsigned int microseconds);
std::string OpenFile(const std::string& path, const std::string& mode);

/** "none", or the size of a buffer and whether all of it is zero. */
std::string Buffer(const void* bytes, std::size_t size);
/** What Buffer() says about a zeroed buffer of this size. */
std::string ZeroedBuffer(std::size_t size);
/** What Buffer() says when there is none. */
std::string NoBuffer();

} // namespace ScriptedPcscCalls
