#pragma once

#include "cards/SmartCardApplication.h"
#include "common/LogHook.h"
#include "crypto/ByteArray.h"

#include <string>

/** Opaque handle of a running dialog; none exists in this version. */
class iDialogHandle;

/**
 * PIN dialogs and info boxes, shown by the program P11Gui, which is started for each of them.
 *
 * All calls are synchronous. Both sides share one POSIX memory segment of a fixed name, described in
 * DialogSegment.h; two dialogs at a time overwrite each other.
 */
class LibInput final
{
public:
    LibInput() = delete;

    /** Does nothing. */
    static void Initialize(const char* text, const void* data);
    static void SetErrorLoggingFunc(Norvik::LogFunction function);
    static void SetMessageLoggingFunc(Norvik::LogFunction function);
    static void LogError(const char* text);
    static void LogMessage(const char* text);

    /**
     * Shows a box.
     *
     * @param timeout seconds; -1 returns at once and leaves the box until KillInfo()
     * @return whether it was shown to its end; false also for texts that are longer than the segment
     */
    static bool ShowInfo(const char* title, const char* text, int timeout);
    /** Closes the box. Always true. @throws boost::interprocess::interprocess_exception */
    static bool KillInfo();

    /**
     * Starts P11Gui on a request that is complete in @p segment and waits for the answer.
     *
     * @param expected the state word of a good answer
     * @param segment  the mapped segment, DialogSegment::Size bytes
     * @param response receives the state word that ended the wait
     * @param timeout  seconds; -1 takes the answer as given and returns at once
     * @return false after the time-out
     */
    static bool GetResponse(int expected, char* segment, int& response, int timeout);

    /**
     * Asks for a PIN.
     *
     * @param pin receives the PIN, at most @p maxLength bytes; untouched on failure
     * @return false when the user cancelled or did not answer within 60 seconds
     * @throws boost::interprocess::interprocess_exception
     */
    static bool GetPIN(int request, int response, unsigned int minLength, unsigned int maxLength,
                       unsigned char* pin, unsigned long* pinLength);
    /** Asks for the old and the new PIN; otherwise as GetPIN(). */
    static bool GetPinChange(int request, int response, unsigned int minLength, unsigned int maxLength,
                             Norvik::ByteArray& oldPin, Norvik::ByteArray& newPin);

    /** GetPIN() for an application; false at once for any but AppEncryption and AppSignature. */
    static bool GetPinSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                    unsigned int maxLength, unsigned char* pin, unsigned long& pinLength,
                                    void* parent);
    static bool GetPinChangeSoftwareEntry(SmartCardApplication application, unsigned int minLength,
                                          unsigned int maxLength, Norvik::ByteArray& oldPin,
                                          Norvik::ByteArray& newPin, void* parent);

    /** Tells the user to type on the reader's keypad. @return always null */
    static iDialogHandle* StartExternalEntry(SmartCardApplication application, unsigned int minLength,
                                             unsigned int maxLength, std::string label,
                                             std::string identifier, bool bChangePin, void* parent);
    static bool EndDialog(iDialogHandle* handle);
};
