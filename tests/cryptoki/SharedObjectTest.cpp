// What the built file offers and needs, as the tools of binutils show it.

#include "tests/cryptoki/StandardFunctions.h"

#include <cstdio>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

std::vector<std::string> OutputOf(const std::string& command)
{
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), &pclose);
    std::string output;
    for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    {
        output += static_cast<char>(c);
    }
    std::istringstream stream(output);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);)
    {
        lines.push_back(line);
    }
    return lines;
}

const std::string kModule = "'" KMARK_MODULE "'";

std::set<std::string> ExportedNames()
{
    std::set<std::string> names;
    for (const std::string& line : OutputOf("nm -D --defined-only --format=posix " + kModule))
    {
        names.insert(line.substr(0, line.find(' ')));
    }
    return names;
}

std::set<std::string> NeededLibraries()
{
    std::set<std::string> names;
    for (const std::string& line : OutputOf("readelf -d -W " + kModule))
    {
        if (line.find("(NEEDED)") != std::string::npos)
        {
            const std::size_t begin = line.find('[') + 1;
            names.insert(line.substr(begin, line.find(']') - begin));
        }
    }
    return names;
}

} // namespace

TEST(SharedObject, ExportsTheStandardFunctionsAndNothingButTheModulesOwn)
{
    std::set<std::string> expected(std::begin(kStandardFunctions), std::end(kStandardFunctions));
    ASSERT_EQ(expected.size(), 68U);
    expected.insert({"C_CardTransmit", "INTERNAL_PKCS11_FUNCTION_LIST", "_Z15C_CardAttributemPhS_Pm",
                     "_Z10C_RegistermlPhS_m", "_Z18C_WaitForSlotEventPv"});

    EXPECT_EQ(ExportedNames(), expected);
}

TEST(SharedObject, NeedsNoOtherLibraries)
{
    EXPECT_EQ(NeededLibraries(), (std::set<std::string>{"libc.so.6", "libcrypto.so.3", "libgcc_s.so.1",
                                                        "libpcsclite.so.1", "libstdc++.so.6"}));
}

TEST(SharedObject, BindsItsSymbolsAtLoad)
{
    EXPECT_THAT(OutputOf("readelf -d -W " + kModule),
                Contains(testing::ContainsRegex("\\(FLAGS\\).*BIND_NOW")));
}

TEST(SharedObject, HasReadOnlyRelocationsAndNoExecutableStack)
{
    const std::vector<std::string> segments = OutputOf("readelf -l -W " + kModule);
    EXPECT_THAT(segments, Contains(HasSubstr("GNU_RELRO")));
    EXPECT_THAT(segments, Contains(testing::ContainsRegex("GNU_STACK.* RW ")));
    EXPECT_THAT(segments, Not(Contains(testing::ContainsRegex("GNU_STACK.* RWE "))));
}

/** With no versions and no needless name in its path, the file may be put anywhere. */
TEST(SharedObject, HasNoSearchPathOfItsOwn)
{
    const std::vector<std::string> entries = OutputOf("readelf -d -W " + kModule);
    EXPECT_THAT(entries, Not(Contains(HasSubstr("(RPATH)"))));
    EXPECT_THAT(entries, Not(Contains(HasSubstr("(RUNPATH)"))));
}
