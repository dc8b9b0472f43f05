#pragma once

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"

#include <string>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <p11-kit/pkcs11.h>

/**
 * The built shared object, loaded as an application loads it, with a home directory of its own and no settings.
 *
 * Not initialised. Skips where the machine allows no private /etc: the module would read the machine's settings.
 */
class ModuleFixture : public testing::Test
{
public:
    ~ModuleFixture() override;

protected:
    /** The function table as the module has it: the standard's, and one entry more behind it. */
    struct FunctionTable
    {
        CK_FUNCTION_LIST standard;
        CK_RV (*C_CardTransmit)(unsigned long, unsigned char*, unsigned long, unsigned char*, unsigned long*);
    };

    ModuleFixture();
    void SetUp() override;
    void TearDown() override;

    /** The table that C_GetFunctionList gives. */
    [[nodiscard]] const FunctionTable& F() const { return *m_Table; }
    /** An exported symbol by the name in the symbol table; null if there is none. */
    [[nodiscard]] void* Symbol(const char* name) const;
    template <typename Function>
    [[nodiscard]] Function FunctionNamed(const char* name) const
    {
        return reinterpret_cast<Function>(Symbol(name));
    }

    /** Leaves the module out of memory until Load(). */
    void Unload();
    void Load();

private:
    TemporaryDirectory m_Home;
    ScopedEnvironment m_HomeVariable{"HOME", m_Home.Path().c_str()};
    void* m_Module = nullptr;
    const FunctionTable* m_Table = nullptr;
};
