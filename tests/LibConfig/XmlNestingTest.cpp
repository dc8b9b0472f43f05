#include "LibConfig/XmlNesting.h"

#include <random>
#include <sstream>
#include <string>

#include <boost/property_tree/ptree.hpp>
#include <boost/property_tree/xml_parser.hpp>
#include <gtest/gtest.h>

namespace
{

using Norvik::NestsDeeperThan;

std::string Nested(std::size_t levels)
{
    std::string text;
    for (std::size_t i = 0; i < levels; ++i)
    {
        text += "<a>";
    }
    for (std::size_t i = 0; i < levels; ++i)
    {
        text += "</a>";
    }
    return text;
}

struct NestingCase
{
    const char* name;
    std::string text;
    std::size_t depth;
};

const NestingCase kNestingCases[] = {
    {"Nothing", "", 0},
    {"OneElement", "<a></a>", 1},
    {"EmptyElement", "<a/>", 1},
    {"EmptyElementInside", "<a><b/></a>", 2},
    {"Siblings", "<a><b></b><b></b><b></b></a>", 2},
    {"Text", "<a>text<b>text</b>text</a>", 2},
    {"ByteOrderMark", "\xEF\xBB\xBF<a><b/></a>", 2},
    {"Declaration", "<?xml version=\"1.0\"?><a/>", 1},
    {"Instruction", "<a><?x <b> <c> ?></a>", 1},
    {"InstructionEndsEarly", "<a><?x ?><b/></a>", 2},
    {"Comment", "<a><!-- <b> <c> - -- --></a>", 1},
    {"CommentEndsEarly", "<a><!----><b/></a>", 2},
    {"Cdata", "<a><![CDATA[<b><c>]]></a>", 1},
    {"CdataEndsAtItsFirstEnd", "<a><![CDATA[]]]]><b/></a>", 2},
    {"Doctype", "<!DOCTYPE a [<!ELEMENT a (b)> [x] ]><a/>", 1},
    {"DoctypeEndsAtItsBracket", "<!DOCTYPE a []]><a><b/></a>", 2},
    {"DoctypeCountsBracketsInQuotes", "<!DOCTYPE a [ \"]\" ><a><b/></a>", 2},
    {"DoctypeWithoutABlank", "<!DOCTYPE[><a><b/></a>", 2},
    {"OtherDeclaration", "<!ELEMENT a [ ><a/>", 1},
    {"HalfAComment", "<!-><a/>", 1},
    {"HalfACdata", "<a><![CDATA<b/></a>", 1},
    {"AttributeWithMarkup", "<a x=\"<b><c>\" y='<d>\"'></a>", 1},
    {"AttributeWithBlanks", "<a x = '1'\ty\n=\r\"2\" ><b/></a>", 2},
    {"AttributesWithoutABlank", "<a x='1'y='2'><b/></a>", 2},
    {"NameWithMarkup", "<a<b><c/></a>", 2},
    {"ClosingNameIsNotCompared", "<a></b><a></b>", 1},
    {"ClosingWithBlanks", "<a></a \n><a/>", 1},
    {"BrokenBeforeMore", "<a></a><", 1},
    {"NothingCountsBehindAnError", "<a></a>x<b><b><b><b>", 1},
    {"NothingCountsBehindABrokenAttribute", "<a x><b><b>", 0},
    {"NothingCountsBehindANul", std::string("<a></a>\0<b><b><b>", 17), 1},
    {"NothingCountsBehindANulInAText", std::string("<a>\0<b><b>", 10), 1},
    {"OpenElementsCount", "<a><a><a>", 3},
    {"StrayClosing", "</a><a><a>", 0},
};

class XmlNesting : public testing::TestWithParam<NestingCase>
{};

TEST_P(XmlNesting, CountsElementsAsTheReaderSeesThem)
{
    const NestingCase& row = GetParam();
    EXPECT_FALSE(NestsDeeperThan(row.text, row.depth));
    if (row.depth > 0)
    {
        EXPECT_TRUE(NestsDeeperThan(row.text, row.depth - 1));
    }
}

INSTANTIATE_TEST_SUITE_P(All, XmlNesting, testing::ValuesIn(kNestingCases),
                         [](const auto& row) { return row.param.name; });

TEST(XmlNestingTest, LimitIsExact)
{
    EXPECT_FALSE(NestsDeeperThan(Nested(1000), 1000));
    EXPECT_TRUE(NestsDeeperThan(Nested(1001), 1000));
    EXPECT_TRUE(NestsDeeperThan(Nested(1000) + Nested(1001), 1000));
    EXPECT_FALSE(NestsDeeperThan(Nested(1000) + Nested(1000), 1000));
}

std::size_t Depth(const boost::property_tree::ptree& tree)
{
    std::size_t deepest = 0;
    for (const auto& [name, child] : tree)
    {
        if (name != "<xmlattr>" && name != "<xmlcomment>")
        {
            deepest = std::max(deepest, 1 + Depth(child));
        }
    }
    return deepest;
}

/** Whatever the reader accepts, it and the walk must agree on how deep it goes. */
TEST(XmlNestingTest, AgreesWithTheReaderOnGeneratedTexts)
{
    constexpr const char* kPieces[] = {
        "<a>", "<b>",    "</a>",        "</b>",         "</a>",  "<c/>",      "<!--", "-->", "<![CDATA[",
        "]]>", "<?x",    "?>",          "<!",           ">",     "<",         "/",    "!",   "text",
        " ",   "<d x='", "'>",          "\"",           "'",     "<!DOCTYPE", "[",    "]",   "=",
        "-",   "&lt;",   "<a y=\"1\">", "\xEF\xBB\xBF", "&#65;", "<a",        "</a",  "?",   "\n",
    };
    std::mt19937 random(4711);
    std::uniform_int_distribution<std::size_t> piece(0, std::size(kPieces) - 1);
    std::uniform_int_distribution<int> length(1, 24);
    int accepted = 0;
    for (int round = 0; round < 40000; ++round)
    {
        std::string text;
        const int pieces = length(random);
        for (int i = 0; i < pieces; ++i)
        {
            text += kPieces[piece(random)];
        }
        // Closes what may be open, so that many of the texts are accepted.
        for (const char* end : {"", "</a>", "</a></a>", "-->", "]]>", "?>", ">"})
        {
            const std::string closed = text + end;
            boost::property_tree::ptree tree;
            try
            {
                std::istringstream stream(closed);
                boost::property_tree::read_xml(stream, tree, 0);
            }
            catch (const boost::property_tree::ptree_error&)
            {
                continue;
            }
            const std::size_t depth = Depth(tree);
            ++accepted;
            ASSERT_FALSE(NestsDeeperThan(closed, depth)) << closed;
            ASSERT_TRUE(depth == 0 || NestsDeeperThan(closed, depth - 1)) << closed;
        }
    }
    EXPECT_GT(accepted, 1000);
}

} // namespace
