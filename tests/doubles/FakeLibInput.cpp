#include "tests/doubles/FakeLibInput.h"

#include "input/LibInput.h"

#include <algorithm>
#include <utility>

namespace
{

std::string Numbers(SmartCardApplication application, unsigned int minLength, unsigned int maxLength)
{
    return std::to_string(application) + ", " + std::to_string(minLength) + ", " + std::to_string(maxLength);
}

void Record(std::string call)
{
    FakeLibInput& fake = FakeLibInput::Instance();
    if (fake.OnCall)
    {
        fake.OnCall(call);
    }
    fake.Calls.push_back(std::move(call));
}

void RecordAndThrow(std::string call)
{
    Record(std::move(call));
    if (FakeLibInput::Instance().Exception)
    {
        std::rethrow_exception(FakeLibInput::Instance().Exception);
    }
}

bool HasDialog(SmartCardApplication application)
{
    return application == AppEncryption || application == AppSignature;
}

} // namespace

FakeLibInput& FakeLibInput::Instance()
{
    static FakeLibInput instance;
    return instance;
}

void FakeLibInput::Reset()
{
    Instance() = FakeLibInput();
}

void LibInput::Initialize(const char* /*text*/, const void* /*data*/) {}
void LibInput::SetErrorLoggingFunc(Norvik::LogFunction /*function*/) {}
void LibInput::SetMessageLoggingFunc(Norvik::LogFunction /*function*/) {}
void LibInput::LogError(const char* /*text*/) {}
void LibInput::LogMessage(const char* /*text*/) {}

bool LibInput::ShowInfo(const char* title, const char* text, int timeout)
{
    Record(std::string("ShowInfo(") + title + ", " + text + ", " + std::to_string(timeout) + ")");
    return FakeLibInput::Instance().bShowInfo;
}

bool LibInput::KillInfo()
{
    RecordAndThrow("KillInfo()");
    return true;
}

bool LibInput::GetResponse(int expected, char* /*segment*/, int& response, int /*timeout*/)
{
    response = expected;
    return true;
}

bool LibInput::GetPIN(int /*request*/, int /*response*/, unsigned int /*minLength*/, unsigned int maxLength,
                      unsigned char* pin, unsigned long* pinLength)
{
    const FakeLibInput& fake = FakeLibInput::Instance();
    if (!fake.bConfirm)
    {
        return false;
    }
    *pinLength = std::min<unsigned long>(fake.Pin.size(), maxLength);
    std::copy_n(fake.Pin.begin(), *pinLength, pin);
    return true;
}

bool LibInput::GetPinChange(int /*request*/, int /*response*/, unsigned int /*minLength*/,
                            unsigned int maxLength, Norvik::ByteArray& oldPin, Norvik::ByteArray& newPin)
{
    const FakeLibInput& fake = FakeLibInput::Instance();
    if (!fake.bConfirm)
    {
        return false;
    }
    oldPin = Norvik::ByteArray(fake.Pin.substr(0, maxLength));
    newPin = Norvik::ByteArray(fake.NewPin.substr(0, maxLength));
    return true;
}

bool LibInput::GetPinSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                   unsigned int maxLength, unsigned char* pin, unsigned long& pinLength,
                                   void* /*parent*/)
{
    RecordAndThrow("GetPinSoftwareEntry(" + Numbers(application, minLength, maxLength) + ", room " +
                   std::to_string(pinLength) + ")");
    return HasDialog(application) && GetPIN(0, 0, minLength, maxLength, pin, &pinLength);
}

bool LibInput::GetPinChangeSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                         unsigned int maxLength, Norvik::ByteArray& oldPin,
                                         Norvik::ByteArray& newPin, void* /*parent*/)
{
    RecordAndThrow("GetPinChangeSoftwareEntry(" + Numbers(application, minLength, maxLength) + ")");
    return HasDialog(application) && GetPinChange(0, 0, minLength, maxLength, oldPin, newPin);
}

iDialogHandle* LibInput::StartExternalEntry(SmartCardApplication application, unsigned int minLength,
                                            unsigned int maxLength, std::string label, std::string identifier,
                                            bool bChangePin, void* /*parent*/)
{
    Record("StartExternalEntry(" + Numbers(application, minLength, maxLength) + ", " + label + ", " +
           identifier + (bChangePin ? ", change)" : ", verify)"));
    return nullptr;
}

bool LibInput::EndDialog(iDialogHandle* /*handle*/)
{
    return KillInfo();
}
