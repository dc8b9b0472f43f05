#include "LibConfig/XmlNesting.h"

#include <array>

namespace
{

constexpr std::string_view kBlanks = " \n\r\t";
constexpr std::string_view kEndsElementName(" \n\r\t/>?\0", 8);
constexpr std::string_view kEndsAttributeName(" \n\r\t/<>=?!\0", 11);

/** A construct without elements inside: skipped from behind its opening to behind its end. */
struct Skipped
{
    std::string_view opening;
    std::string_view end;
};

// The first match wins; what begins with "<!" and is none of these ends with the next '>'.
constexpr std::array<Skipped, 4> kSkipped = {{
    {"<?", "?>"},
    {"<!--", "-->"},
    {"<![CDATA[", "]]>"},
    {"<!", ">"},
}};
constexpr std::string_view kDoctype = "<!DOCTYPE";

class Walker
{
public:
    explicit Walker(std::string_view text) : m_Text(text.substr(0, text.find('\0'))) {}

    bool GoesDeeperThan(std::size_t levels);

private:
    /** Element: opened and left open; Empty: opened and closed. */
    enum class Step
    {
        Skip,
        Element,
        Empty,
        Close,
        Broken,
    };

    [[nodiscard]] std::string_view Rest() const { return m_Text.substr(m_Position); }
    [[nodiscard]] bool AtEnd() const { return m_Position == m_Text.size(); }
    [[nodiscard]] char Current() const { return AtEnd() ? '\0' : m_Text[m_Position]; }

    bool Expect(char c);
    bool SkipTo(std::string_view end);
    void SkipAllOf(std::string_view characters);
    /** @return false if there was nothing to skip */
    bool SkipName(std::string_view endings);
    bool SkipDoctype();
    bool SkipAttributes();

    Step Next();
    Step NextMarkup();
    Step NextElement();
    Step NextClosing();

    std::string_view m_Text;
    std::size_t m_Position = 0;
    std::size_t m_Depth = 0;
};

bool Walker::Expect(char c)
{
    if (AtEnd() || m_Text[m_Position] != c)
    {
        return false;
    }
    ++m_Position;
    return true;
}

bool Walker::SkipTo(std::string_view end)
{
    const std::size_t found = m_Text.find(end, m_Position);
    if (found == std::string_view::npos)
    {
        return false;
    }
    m_Position = found + end.size();
    return true;
}

void Walker::SkipAllOf(std::string_view characters)
{
    const std::size_t found = m_Text.find_first_not_of(characters, m_Position);
    m_Position = found == std::string_view::npos ? m_Text.size() : found;
}

bool Walker::SkipName(std::string_view endings)
{
    const std::size_t start = m_Position;
    const std::size_t found = m_Text.find_first_of(endings, m_Position);
    m_Position = found == std::string_view::npos ? m_Text.size() : found;
    return m_Position > start;
}

bool Walker::SkipDoctype()
{
    // Brackets count, quotes and comments don't; a '>' ends it only outside of brackets.
    for (std::size_t brackets = 0; !AtEnd(); ++m_Position)
    {
        const char c = Current();
        if (c == '[')
        {
            ++brackets;
        }
        else if (c == ']' && brackets > 0)
        {
            --brackets;
        }
        else if (c == '>' && brackets == 0)
        {
            ++m_Position;
            return true;
        }
    }
    return false;
}

bool Walker::SkipAttributes()
{
    while (SkipName(kEndsAttributeName))
    {
        SkipAllOf(kBlanks);
        if (!Expect('='))
        {
            return false;
        }
        SkipAllOf(kBlanks);
        const char quote = Current();
        if ((quote != '\'' && quote != '"') || !Expect(quote) || !SkipTo({&quote, 1}))
        {
            return false;
        }
        SkipAllOf(kBlanks);
    }
    return true;
}

Walker::Step Walker::NextElement()
{
    ++m_Position;
    if (!SkipName(kEndsElementName))
    {
        return Step::Broken;
    }
    SkipAllOf(kBlanks);
    if (!SkipAttributes())
    {
        return Step::Broken;
    }
    if (Expect('>'))
    {
        return Step::Element;
    }
    return Expect('/') && Expect('>') ? Step::Empty : Step::Broken;
}

Walker::Step Walker::NextClosing()
{
    m_Position += 2;
    SkipName(kEndsElementName);
    SkipAllOf(kBlanks);
    return Expect('>') ? Step::Close : Step::Broken;
}

Walker::Step Walker::NextMarkup()
{
    if (m_Depth > 0 && Rest().starts_with("</"))
    {
        return NextClosing();
    }
    if (Rest().starts_with(kDoctype) && Rest().size() > kDoctype.size() &&
        kBlanks.find(Rest()[kDoctype.size()]) != std::string_view::npos)
    {
        m_Position += kDoctype.size() + 1;
        return SkipDoctype() ? Step::Skip : Step::Broken;
    }
    for (const Skipped& skipped : kSkipped)
    {
        if (Rest().starts_with(skipped.opening))
        {
            m_Position += skipped.opening.size();
            return SkipTo(skipped.end) ? Step::Skip : Step::Broken;
        }
    }
    return NextElement();
}

Walker::Step Walker::Next()
{
    if (m_Depth > 0)
    {
        const std::size_t found = m_Text.find('<', m_Position);
        m_Position = found == std::string_view::npos ? m_Text.size() : found;
    }
    else
    {
        SkipAllOf(kBlanks);
    }
    return Current() == '<' ? NextMarkup() : Step::Broken;
}

bool Walker::GoesDeeperThan(std::size_t levels)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (Rest().starts_with(kByteOrderMark))
    {
        m_Position = kByteOrderMark.size();
    }
    while (true)
    {
        switch (Next())
        {
        case Step::Skip:
            break;
        case Step::Element:
            ++m_Depth;
            if (m_Depth > levels)
            {
                return true;
            }
            break;
        case Step::Empty:
            if (m_Depth == levels)
            {
                return true;
            }
            break;
        case Step::Close:
            --m_Depth;
            break;
        case Step::Broken:
            return false;
        }
    }
}

} // namespace

namespace Norvik
{

bool NestsDeeperThan(std::string_view text, std::size_t levels)
{
    return Walker(text).GoesDeeperThan(levels);
}

} // namespace Norvik
