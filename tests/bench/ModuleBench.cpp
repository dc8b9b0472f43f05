// What the module costs beyond what it stands on. Run by scripts/bench inside a simulated world with one ACOS 03
// card; every figure is told as a ratio to a floor of the same run.

#include <array>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <dlfcn.h>

#include <benchmark/benchmark.h>
#include <boost/thread/mutex.hpp>
#include <openssl/evp.h>
#include <p11-kit/pkcs11.h>
#include <winscard.h>

namespace
{

constexpr char kEncPin[] = "1234"; // of the simulated card
constexpr char kEncId[] = "ckaid_92841569256EKEY";

void Expect(bool bCondition, const char* what)
{
    if (!bCondition)
    {
        throw std::runtime_error(what);
    }
}

/** The module with an open, logged-in session, and a PC/SC connection of the benchmark's own to the same card. */
class Setting final
{
public:
    static Setting& Get()
    {
        static Setting setting;
        return setting;
    }

    Setting(const Setting&) = delete;
    Setting& operator=(const Setting&) = delete;

    [[nodiscard]] CK_ULONG Find(CK_OBJECT_CLASS objectClass) const
    {
        std::string id = kEncId;
        std::array<CK_ATTRIBUTE, 2> wanted = {
            {{CKA_CLASS, &objectClass, sizeof(objectClass)}, {CKA_ID, id.data(), id.size()}}};
        CK_OBJECT_HANDLE object = 0;
        CK_ULONG count = 0;
        functions->C_FindObjectsInit(session, wanted.data(), wanted.size());
        functions->C_FindObjects(session, &object, 1, &count);
        functions->C_FindObjectsFinal(session);
        Expect(count == 1, "the key was not found");
        return object;
    }

    CK_FUNCTION_LIST* functions = nullptr;
    CK_SESSION_HANDLE session = 0;
    CK_OBJECT_HANDLE privateKey = 0;
    SCARDHANDLE card = 0;

private:
    Setting()
    {
        const char* path = std::getenv("KMARK_MODULE");
        Expect(path != nullptr, "KMARK_MODULE is not set");
        void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
        Expect(module != nullptr, dlerror());
        auto* getList = reinterpret_cast<CK_C_GetFunctionList>(dlsym(module, "C_GetFunctionList"));
        Expect(getList != nullptr && getList(&functions) == CKR_OK, "no function list");
        Expect(functions->C_Initialize(nullptr) == CKR_OK, "C_Initialize");
        CK_ULONG slots = 8;
        std::array<CK_SLOT_ID, 8> ids{};
        Expect(functions->C_GetSlotList(CK_TRUE, ids.data(), &slots) == CKR_OK && slots > 0, "no card");
        Expect(functions->C_OpenSession(ids[0], CKF_SERIAL_SESSION, nullptr, nullptr, &session) == CKR_OK,
               "no session");
        std::string pin = kEncPin;
        Expect(functions->C_Login(session, CKU_USER, reinterpret_cast<CK_UTF8CHAR*>(pin.data()),
                                  pin.size()) == CKR_OK,
               "C_Login");
        privateKey = Find(CKO_PRIVATE_KEY);
        ConnectDirectly();
    }

    void ConnectDirectly()
    {
        SCARDCONTEXT context = 0;
        Expect(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context) == SCARD_S_SUCCESS,
               "no context");
        DWORD length = 0;
        Expect(SCardListReaders(context, nullptr, nullptr, &length) == SCARD_S_SUCCESS, "no readers");
        std::string names(length, '\0');
        Expect(SCardListReaders(context, nullptr, names.data(), &length) == SCARD_S_SUCCESS, "no readers");
        DWORD protocol = 0;
        Expect(SCardConnect(context, names.c_str(), SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1,
                            &card, &protocol) == SCARD_S_SUCCESS,
               "no connection of our own");
    }
};

// Floors.

void FloorMutex(benchmark::State& state)
{
    boost::mutex mutex;
    for (auto _ : state)
    {
        mutex.lock();
        benchmark::ClobberMemory();
        mutex.unlock();
    }
}

void FloorTransaction(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    for (auto _ : state)
    {
        Expect(SCardBeginTransaction(setting.card) == SCARD_S_SUCCESS, "SCardBeginTransaction");
        Expect(SCardEndTransaction(setting.card, SCARD_LEAVE_CARD) == SCARD_S_SUCCESS, "SCardEndTransaction");
    }
}

/** The two commands of an RSA signature with SHA-256, as the module sends them. */
void FloorSignatureCommands(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    const std::vector<unsigned char> environment = {0x00, 0x22, 0x41, 0xA4, 0x06, 0x84,
                                                    0x01, 0x88, 0x80, 0x01, 0x01};
    std::vector<unsigned char> authenticate = {0x00, 0x88, 0x10, 0x00, 0x33, 0x30, 0x31, 0x30,
                                               0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65,
                                               0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
    authenticate.resize(authenticate.size() + 32, 0x5A);
    authenticate.push_back(0x00);
    std::array<unsigned char, 5012> response{};
    for (auto _ : state)
    {
        for (const std::vector<unsigned char>* command : {&environment, &std::as_const(authenticate)})
        {
            DWORD length = response.size();
            Expect(SCardTransmit(setting.card, SCARD_PCI_T1, command->data(), command->size(), nullptr,
                                 response.data(), &length) == SCARD_S_SUCCESS &&
                       length >= 2 && response[length - 2] == 0x90,
                   "the card refused a command");
        }
    }
}

void FloorDigest(benchmark::State& state)
{
    const std::vector<unsigned char> data(static_cast<std::size_t>(state.range(0)), 0x5A);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    for (auto _ : state)
    {
        unsigned int length = 0;
        EVP_Digest(data.data(), data.size(), digest.data(), &length, EVP_sha256(), nullptr);
        benchmark::DoNotOptimize(digest);
    }
}

/** What a digest of data that is given in parts can't do without: the collected data, and their copy to hash. */
void FloorCopiesAndDigest(benchmark::State& state)
{
    const std::vector<unsigned char> data(static_cast<std::size_t>(state.range(0)), 0x5A);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    std::vector<unsigned char> collected;
    for (auto _ : state)
    {
        collected.assign(data.begin(), data.end());
        const std::vector<unsigned char> copy(collected);
        unsigned int length = 0;
        EVP_Digest(copy.data(), copy.size(), digest.data(), &length, EVP_sha256(), nullptr);
        benchmark::DoNotOptimize(digest);
    }
}

// The module.

void GetSessionInfo(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    CK_SESSION_INFO info;
    for (auto _ : state)
    {
        setting.functions->C_GetSessionInfo(setting.session, &info);
    }
}

void Search(benchmark::State& state, CK_ATTRIBUTE* wanted, CK_ULONG count)
{
    const Setting& setting = Setting::Get();
    std::array<CK_OBJECT_HANDLE, 8> found{};
    for (auto _ : state)
    {
        CK_ULONG number = 0;
        setting.functions->C_FindObjectsInit(setting.session, wanted, count);
        setting.functions->C_FindObjects(setting.session, found.data(), found.size(), &number);
        setting.functions->C_FindObjectsFinal(setting.session);
        benchmark::DoNotOptimize(number);
    }
}

void SearchAll(benchmark::State& state)
{
    Search(state, nullptr, 0);
}

void SearchClassAndId(benchmark::State& state)
{
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    std::string id = kEncId;
    std::array<CK_ATTRIBUTE, 2> wanted = {
        {{CKA_CLASS, &objectClass, sizeof(objectClass)}, {CKA_ID, id.data(), id.size()}}};
    Search(state, wanted.data(), wanted.size());
}

void FourAttributes(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    CK_OBJECT_CLASS objectClass = 0;
    CK_KEY_TYPE keyType = 0;
    CK_BBOOL sign = 0;
    std::array<char, 64> id{};
    for (auto _ : state)
    {
        std::array<CK_ATTRIBUTE, 4> wanted = {{{CKA_CLASS, &objectClass, sizeof(objectClass)},
                                               {CKA_KEY_TYPE, &keyType, sizeof(keyType)},
                                               {CKA_SIGN, &sign, sizeof(sign)},
                                               {CKA_ID, id.data(), id.size()}}};
        setting.functions->C_GetAttributeValue(setting.session, setting.privateKey, wanted.data(),
                                               wanted.size());
        benchmark::DoNotOptimize(id);
    }
}

void Digest(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    std::vector<unsigned char> data(static_cast<std::size_t>(state.range(0)), 0x5A);
    std::array<unsigned char, 32> digest{};
    CK_MECHANISM mechanism = {CKM_SHA256, nullptr, 0};
    setting.functions->C_DigestInit(setting.session, &mechanism);
    for (auto _ : state)
    {
        CK_ULONG length = digest.size();
        setting.functions->C_Digest(setting.session, data.data(), data.size(), digest.data(), &length);
        benchmark::DoNotOptimize(digest);
    }
}

void Sign(benchmark::State& state)
{
    const Setting& setting = Setting::Get();
    std::array<unsigned char, 32> data{};
    std::array<unsigned char, 512> signature{};
    CK_MECHANISM mechanism = {CKM_SHA256_RSA_PKCS, nullptr, 0};
    for (auto _ : state)
    {
        CK_ULONG length = signature.size();
        setting.functions->C_SignInit(setting.session, &mechanism, setting.privateKey);
        Expect(setting.functions->C_Sign(setting.session, data.data(), data.size(), signature.data(),
                                         &length) == CKR_OK,
               "C_Sign");
    }
}

BENCHMARK(FloorMutex);
BENCHMARK(GetSessionInfo);
BENCHMARK(SearchAll);
BENCHMARK(SearchClassAndId);
BENCHMARK(FourAttributes);
BENCHMARK(FloorDigest)->Arg(1 << 10)->Arg(1 << 16);
BENCHMARK(FloorCopiesAndDigest)->Arg(1 << 20)->Arg(1 << 24);
BENCHMARK(Digest)->Arg(1 << 10)->Arg(1 << 16)->Arg(1 << 20)->Arg(1 << 24);
BENCHMARK(FloorTransaction)->UseRealTime();
BENCHMARK(FloorSignatureCommands)->UseRealTime();
BENCHMARK(Sign)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
