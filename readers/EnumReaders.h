#pragma once

#include <string>
#include <vector>

/** Description of one PC/SC reader. */
struct PCSCReaderConfig
{
    std::string readerName; ///< the name that PC/SC lists
    bool isSecure = false;
    std::string vendorName;
    std::string ifdType;
    std::string ifdSerial;
    std::string deviceUnit;
    std::string systemName;
    std::string friendlyName;
};

/** Description of one CT-API reader. */
struct CTAPIReaderConfig
{
    std::string libraryPath; ///< the CT-API library as found
    std::string libraryName;
    std::string vendor;
    std::string terminalId;
    std::string name;
    int port = 0; ///< where the reader answered
    bool flagB = false;
    bool flagC = false;
    bool flagA = false;
};

/**
 * Appends the names of all PC/SC readers.
 *
 * @return false, with a log line, when the resource manager can't be asked or knows no reader
 */
bool ListPCSCReaders(std::vector<std::string>& names);
/**
 * Appends a description of each PC/SC reader; connects to each for a moment.
 *
 * @return false when there is no list of names
 */
bool ListPCSCReaders(std::vector<PCSCReaderConfig>& readers);
/** Whether readers of this name are known to have a keypad. For readers that can't be asked. */
bool PCSCIsSecureByName(const std::string& name);

/** Always true. */
bool ListCTAPIReaders(std::vector<CTAPIReaderConfig>& readers);
/** Intended: does nothing on this platform. */
void ScanLibrary(const char* library, std::vector<CTAPIReaderConfig>& readers);
/**
 * Appends the description of a CT-API reader from the reader table.
 *
 * @param library    path of the library, NUL-terminated
 * @param terminalId what the reader at @p port answered, NUL-terminated
 */
void SetReaderEntry(const char* library, int port, unsigned char* terminalId,
                    std::vector<CTAPIReaderConfig>& readers);
