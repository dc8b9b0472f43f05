#pragma once

#include <exception>
#include <functional>
#include <string>
#include <vector>

/**
 * Answers of a LibInput that starts no program.
 *
 * Link kmark_fake_input in front of the layers: it defines all of LibInput, so that the real one stays out.
 */
struct FakeLibInput
{
    /** The one in use. */
    static FakeLibInput& Instance();
    /** Back to the state of a fresh one: the user cancels every dialog. */
    static void Reset();

    bool bConfirm = false;        ///< the user confirms the dialogs for applications 0 and 1
    std::string Pin;              ///< typed in the PIN dialog, or as the old PIN
    std::string NewPin;           ///< typed in the change dialog
    bool bShowInfo = true;        ///< result of ShowInfo()
    std::exception_ptr Exception; ///< leaves GetPIN(), GetPinChange() and KillInfo(), where set

    /** "Name(application, minLength, maxLength...)", in order. */
    std::vector<std::string> Calls;
    /** Sees each of the calls, where set; for tests that assert the order among several doubles. */
    std::function<void(const std::string& call)> OnCall;
};
