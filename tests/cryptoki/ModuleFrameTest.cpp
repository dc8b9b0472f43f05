// The frame of the module, through the exported functions of the built shared object.

#include "tests/cryptoki/ModuleFixture.h"
#include "tests/cryptoki/StandardFunctions.h"
#include "tests/support/PrivateEtc.h"
#include "tests/support/TextFile.h"

#include <cstring>
#include <filesystem>

namespace
{

using testing::Contains;
using testing::MatchesRegex;

class ModuleFrame : public ModuleFixture
{};

} // namespace

TEST_F(ModuleFrame, TableHoldsTheExportedFunctionsInTheOrderOfTheStandard)
{
    EXPECT_EQ(F().standard.version.major, 2);
    EXPECT_EQ(F().standard.version.minor, 20);
    EXPECT_EQ(&F(), Symbol("INTERNAL_PKCS11_FUNCTION_LIST"));

    std::array<void*, 69> entries = {};
    static_assert(sizeof(FunctionTable) == sizeof(void*) + sizeof(entries));
    std::memcpy(entries.data(), reinterpret_cast<const unsigned char*>(&F()) + sizeof(void*),
                sizeof(entries));
    for (std::size_t i = 0; i < 68; ++i)
    {
        EXPECT_EQ(entries.at(i), Symbol(kStandardFunctions[i])) << kStandardFunctions[i];
    }
    EXPECT_EQ(entries[68], Symbol("C_CardTransmit"));
}

TEST_F(ModuleFrame, OverloadsAreNotFoundUnderTheirPlainNames)
{
    EXPECT_EQ(Symbol("C_CardAttribute"), nullptr);
    EXPECT_EQ(Symbol("C_Register"), nullptr);
    EXPECT_NE(Symbol("_Z15C_CardAttributemPhS_Pm"), nullptr);
    EXPECT_NE(Symbol("_Z10C_RegistermlPhS_m"), nullptr);
    EXPECT_NE(Symbol("_Z18C_WaitForSlotEventPv"), nullptr);
}

TEST_F(ModuleFrame, BeforeInitialisationEachFunctionAnswersInItsWay)
{
    const CK_FUNCTION_LIST& f = F().standard;
    CK_MECHANISM mechanism = {CKM_SHA_1, nullptr, 0};
    CK_BYTE byte = 0;
    CK_ULONG length = 1;
    EXPECT_EQ(f.C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(f.C_SignInit(42125, &mechanism, 1002), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(f.C_DigestInit(42125, &mechanism), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(f.C_Encrypt(42125, &byte, 1, &byte, &length), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(F().C_CardTransmit(42125, &byte, 1, &byte, &length), CKR_SESSION_HANDLE_INVALID);
    const auto waitForSlotEvent = FunctionNamed<CK_RV (*)(void*)>("_Z18C_WaitForSlotEventPv");
    EXPECT_EQ(waitForSlotEvent(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
}

TEST_F(ModuleFrame, OverloadsAnswerOnceInitialised)
{
    ASSERT_EQ(F().standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(FunctionNamed<CK_RV (*)(void*)>("_Z18C_WaitForSlotEventPv")(nullptr),
              CKR_FUNCTION_NOT_SUPPORTED);
    const auto registerCard =
        FunctionNamed<CK_RV (*)(unsigned long, long, unsigned char*, unsigned char*, unsigned long)>(
            "_Z10C_RegistermlPhS_m");
    EXPECT_EQ(registerCard(42125, 0, nullptr, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(ModuleFrame, StatesFollowInitializeAndFinalize)
{
    const CK_FUNCTION_LIST& f = F().standard;
    EXPECT_EQ(f.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(f.C_Initialize(nullptr), CKR_CRYPTOKI_ALREADY_INITIALIZED);
    int garbage = 0;
    EXPECT_EQ(f.C_Finalize(&garbage), CKR_OK);
    EXPECT_EQ(f.C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
    CK_C_INITIALIZE_ARGS arguments = {};
    arguments.CreateMutex = [](void**) { return CKR_CANT_LOCK; };
    arguments.pReserved = &garbage;
    EXPECT_EQ(f.C_Initialize(&arguments), CKR_OK);
}

TEST_F(ModuleFrame, InfoGivesTheFixedBytes)
{
    ASSERT_EQ(F().standard.C_Initialize(nullptr), CKR_OK);
    CK_INFO info = {};
    ASSERT_EQ(F().standard.C_GetInfo(&info), CKR_OK);
    EXPECT_EQ(std::string(std::begin(info.manufacturerID), std::end(info.manufacturerID)),
              std::string("Norvik k.mark Client\0Description", 32));
    EXPECT_EQ(std::string(std::begin(info.libraryDescription), std::end(info.libraryDescription)),
              std::string("Description\0KMarkP11\0C_Initializ", 32));
    EXPECT_EQ(F().standard.C_GetInfo(nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(ModuleFrame, MechanismInfoIsNotSupportedForAnyMechanism)
{
    CK_MECHANISM_INFO info = {};
    EXPECT_EQ(F().standard.C_GetMechanismInfo(0, CKM_RSA_PKCS, &info), CKR_FUNCTION_NOT_SUPPORTED);
    ASSERT_EQ(F().standard.C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(F().standard.C_GetMechanismInfo(0, CKM_RSA_PKCS, &info), CKR_FUNCTION_NOT_SUPPORTED);
}

TEST_F(ModuleFrame, SettingsOpenTheLog)
{
    const TemporaryDirectory logs;
    PrivateEtc::WriteConfig("<kmarkclient><k_mark_Client><Trace><LogLevel>1</LogLevel><Filename>" +
                            logs.Path() + "</Filename></Trace></k_mark_Client></kmarkclient>");
    ASSERT_EQ(F().standard.C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(F().standard.C_Finalize(nullptr), CKR_OK);

    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(logs.Path()))
    {
        files.push_back(entry.path());
    }
    ASSERT_EQ(files.size(), 1U);
    EXPECT_THAT(ReadLines(files.front().string()),
                Contains(MatchesRegex(".* OUT FUNCTION \\([0-9]+\\) C_Initialize returns CKR_OK")));
}

TEST_F(ModuleFrame, LoadsAgainAfterItWasUnloaded)
{
    for (int i = 0; i < 20; ++i)
    {
        if (i % 2 == 0)
        {
            ASSERT_EQ(F().standard.C_Initialize(nullptr), CKR_OK);
            ASSERT_EQ(F().standard.C_Finalize(nullptr), CKR_OK);
        }
        Unload();
        Load();
    }
    EXPECT_EQ(F().standard.C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
}
