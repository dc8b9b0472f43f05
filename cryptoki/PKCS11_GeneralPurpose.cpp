#include "cryptoki/Exports.h"

#include "LibConfig/Config.h"
#include "LibConfig/GenerateConfig.h"
#include "common/FileSystem.h"
#include "common/LibLogging.h"
#include "common/LogHook.h"
#include "common/P11Logger.h"
#include "common/PathHelpers.h"
#include "crypto/LibCardImpl.h"
#include "cryptoki/EntryPoint.h"
#include "input/LibInput.h"
#include "readers/LibReaderAndCard.h"
#include "readers/LibReaderImpl.h"
#include "slots/CardTokenList.h"
#include "slots/SlotList.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>

using KMarkP11::AnyTime;
using KMarkP11::Enter;
using KMarkP11::NeedsInit;
using KMarkP11::Refuse;

namespace
{

// Entries in a log file before the next one is begun.
constexpr unsigned int kLogFileEntries = 10000;
// A shorter name of the log's place is taken for none.
constexpr std::size_t kMinLogFilenameLength = 5;

// Intended: the two text fields of CK_INFO are cut from this block with their NULs, without blank padding.
// What follows a text in its field is the text behind it.
constexpr char kInfoTexts[] = "Norvik k.mark Client\0"
                              "Description\0"
                              "KMarkP11\0"
                              "C_Initialize";
constexpr std::size_t kManufacturerOffset = 0;
constexpr std::size_t kDescriptionOffset = sizeof("Norvik k.mark Client");

template <std::size_t N>
void CopyInfoText(CK_UTF8CHAR (&field)[N], std::size_t offset)
{
    std::copy_n(std::begin(kInfoTexts) + offset, N, std::begin(field));
}

/** The directory that the setting names: itself, or that of the log file that it names. */
std::string LogDirectory(const std::string& filename)
{
    return Norvik::nocase_EndsWith(filename, ".log") ? Norvik::RemoveLastPartFromPath(filename) : filename;
}

/** Opens the log if the settings ask for it. The level is no more than the switch. */
void OpenLog()
{
    Norvik::LibLogging* const log = P11Logger::GetHandle();
    Norvik::Config* const config = Norvik::Config::GetHandle(0);
    long level = 0;
    std::string filename;
    config->GetInteger(ConfigIdLogLevel, level);
    config->GetString(ConfigIdLogFilename, filename);
    if (level < 1 || filename.size() < kMinLogFilenameLength)
    {
        return;
    }
    const std::string name = Norvik::GenerateFilenameWithTimestamp("KMarkP11", "log");
    log->Init(Norvik::CombinePaths(LogDirectory(filename), name), kLogFileEntries, true);
    log->Enabled(true);
    log->LogThreadId(true);
}

void InstallLogHooks()
{
    Norvik::LogHook::SetListening(&KMarkP11::IsLogOpen);
    LibReaderAndCard::SetErrorLoggingFunc(&KMarkP11::LogErrorCB);
    LibReaderAndCard::SetMessageLoggingFunc(&KMarkP11::LogMessageCB);
    LibReaderImpl::SetErrorLoggingFunc(&KMarkP11::LogErrorCB);
    LibReaderImpl::SetMessageLoggingFunc(&KMarkP11::LogMessageCB);
    LibCardImpl::SetErrorLoggingFunc(&KMarkP11::LogErrorCB);
    LibCardImpl::SetMessageLoggingFunc(&KMarkP11::LogMessageCB);
    LibInput::SetErrorLoggingFunc(&KMarkP11::LogErrorCB);
    LibInput::SetMessageLoggingFunc(&KMarkP11::LogMessageCB);
}

/** Intended: the hooks of LibInput stay. */
void ClearLogHooks()
{
    LibReaderAndCard::SetErrorLoggingFunc(nullptr);
    LibReaderAndCard::SetMessageLoggingFunc(nullptr);
    LibReaderImpl::SetErrorLoggingFunc(nullptr);
    LibReaderImpl::SetMessageLoggingFunc(nullptr);
    LibCardImpl::SetErrorLoggingFunc(nullptr);
    LibCardImpl::SetMessageLoggingFunc(nullptr);
}

} // namespace

CK_RV C_Initialize(CK_VOID_PTR /*pInitArgs*/)
{
    if (isCryptokiInitialized())
    {
        return CKR_CRYPTOKI_ALREADY_INITIALIZED;
    }
    Norvik::Config::GetHandle(0);
    GenerateConfig();
    Norvik::FileSystem::GetHandle();
    GenerateFileSystem();
    OpenLog();
    InstallLogHooks();
    // The entry is logged only here: the log was not there before.
    KMarkP11::TraceFunctionEntry("C_Initialize");
    bCryptokiInitialized = 1;
    SlotList::GetHandle();
    KMarkP11::TraceReturnCode("C_Initialize", CKR_OK);
    return CKR_OK;
}

CK_RV C_Finalize(CK_VOID_PTR /*pReserved*/)
{
    KMarkP11::TraceFunctionEntry("C_Finalize");
    if (!isCryptokiInitialized())
    {
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    }
    DeleteAllSessions();
    CardTokenList::instance()->destroy();
    SlotList::GetHandle();
    SlotList::Destroy(); // waits for a thread in C_WaitForSlotEvent
    Norvik::Config::GetHandle(0)->Destroy();
    Norvik::FileSystem::GetHandle()->Destroy();
    // The exit is logged before the log itself goes.
    KMarkP11::TraceReturnCode("C_Finalize", CKR_OK);
    P11Logger::GetHandle()->Destroy();
    ClearLogHooks();
    bCryptokiInitialized = 0;
    return CKR_OK;
}

CK_RV C_GetInfo(CK_INFO_PTR pInfo)
{
    return Enter("C_GetInfo", NeedsInit, [&]() -> CK_RV {
        if (pInfo == nullptr)
        {
            return Refuse("Argument is NULL", CKR_ARGUMENTS_BAD);
        }
        *pInfo = {};
        pInfo->cryptokiVersion = {2, 20};
        CopyInfoText(pInfo->manufacturerID, kManufacturerOffset);
        CopyInfoText(pInfo->libraryDescription, kDescriptionOffset);
        pInfo->libraryVersion = {1, 0};
        return CKR_OK;
    });
}

CK_RV C_GetFunctionList(CK_FUNCTION_LIST_PTR_PTR ppFunctionList)
{
    return Enter("C_GetFunctionList", AnyTime, [&]() -> CK_RV {
        if (ppFunctionList == nullptr)
        {
            return Refuse("Argument is NULL", CKR_ARGUMENTS_BAD);
        }
        // The standard's type isn't const, but nobody may write there.
        *ppFunctionList = const_cast<CK_FUNCTION_LIST*>(&INTERNAL_PKCS11_FUNCTION_LIST.standard);
        return CKR_OK;
    });
}
