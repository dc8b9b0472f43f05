#include "readers/iCardReader.h"

#include "readers/LibReaderAndCard.h"

#include <sstream>

namespace
{
void LogStatusWordMismatch(unsigned int sw1, unsigned int sw2, unsigned int expectedSw1,
                           unsigned int expectedSw2)
{
    std::ostringstream line;
    line << std::hex << "Apdu SW: 0x" << sw1 << " 0x" << sw2 << " - expected: 0x" << expectedSw1 << " 0x"
         << expectedSw2;
    LibReaderAndCard::LogError(line.str());
}
} // namespace

std::string iCardReader::VendorID()
{
    return VendorModelName();
}

bool iCardReader::SendApdu(const Norvik::ByteArray& apdu, Norvik::ByteArray& response)
{
    return SendApdu(apdu.data(), apdu.size(), response);
}

bool iCardReader::IsSecure()
{
    if (!m_bSecure)
    {
        return false;
    }
    bool bVerify = false;
    bool bModify = false;
    CheckReaderCapabilities(bVerify, bModify);
    return bVerify && bModify;
}

std::string iCardReader::VendorModelName()
{
    std::string vendorName;
    std::string ifdType;
    std::string ifdSerial;
    std::string deviceUnit;
    std::string systemName;
    std::string friendlyName;
    GetReaderName(vendorName, ifdType, ifdSerial, deviceUnit, systemName, friendlyName);
    return vendorName + ' ' + ifdType;
}

void iCardReader::LogReaderName()
{
    std::string vendorName;
    std::string ifdType;
    std::string ifdSerial;
    std::string deviceUnit;
    std::string systemName;
    std::string friendlyName;
    GetReaderName(vendorName, ifdType, ifdSerial, deviceUnit, systemName, friendlyName);
    LibReaderAndCard::LogMessage("Vendor Name: " + vendorName);
    // Intended: the label says version, the attribute is the IFD type.
    LibReaderAndCard::LogMessage("Vendor IFD Version: " + ifdType);
    LibReaderAndCard::LogMessage("Vendor IFD Serial No.: " + ifdSerial);
    LibReaderAndCard::LogMessage("Device Unit: " + deviceUnit);
    LibReaderAndCard::LogMessage("System Name: " + systemName);
    LibReaderAndCard::LogMessage("Friendly Name: " + friendlyName);
}

bool iCardReader::CheckApduSW(const Norvik::ByteArray& response, unsigned char sw1, unsigned char sw2)
{
    return CheckApduSW(response, sw1, sw2, true);
}

bool iCardReader::CheckApduSW(const Norvik::ByteArray& response, unsigned char sw1, unsigned char sw2,
                              bool bLogError)
{
    if (response.size() < 2)
    {
        LibReaderAndCard::LogError("CheckApduSW, input len < 2)");
        return false;
    }
    const unsigned char receivedSw1 = response[response.size() - 2];
    const unsigned char receivedSw2 = response[response.size() - 1];
    if (receivedSw1 == sw1 && receivedSw2 == sw2)
    {
        return true;
    }
    if (bLogError)
    {
        LogStatusWordMismatch(receivedSw1, receivedSw2, sw1, sw2);
    }
    return false;
}
