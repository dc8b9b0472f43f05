#include "tests/cryptoki/ModuleFixture.h"

#include "tests/support/PrivateEtc.h"

#include <dlfcn.h>

ModuleFixture::ModuleFixture()
{
    Load();
}

ModuleFixture::~ModuleFixture()
{
    Unload();
}

void ModuleFixture::SetUp()
{
    if (!PrivateEtc::Enter())
    {
        GTEST_SKIP() << "the machine allows no private /etc";
    }
}

void ModuleFixture::TearDown()
{
    if (m_Table != nullptr)
    {
        m_Table->standard.C_Finalize(nullptr);
    }
    if (PrivateEtc::Enter())
    {
        PrivateEtc::Clear();
    }
}

void* ModuleFixture::Symbol(const char* name) const
{
    return dlsym(m_Module, name);
}

void ModuleFixture::Load()
{
    m_Module = dlopen(KMARK_MODULE, RTLD_NOW | RTLD_LOCAL);
    if (m_Module == nullptr)
    {
        throw std::runtime_error(dlerror());
    }
    CK_FUNCTION_LIST_PTR list = nullptr;
    FunctionNamed<CK_C_GetFunctionList>("C_GetFunctionList")(&list);
    m_Table = reinterpret_cast<const FunctionTable*>(list);
}

void ModuleFixture::Unload()
{
    if (m_Module != nullptr)
    {
        dlclose(m_Module);
    }
    m_Module = nullptr;
    m_Table = nullptr;
}
