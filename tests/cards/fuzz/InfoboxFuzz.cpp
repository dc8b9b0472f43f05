#include "cards/InfoboxFS.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

namespace
{

void Require(bool bHolds)
{
    if (!bHolds)
    {
        std::abort();
    }
}

} // namespace

/** Any image is taken or refused; what was taken survives being written and parsed again. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Norvik::ByteArray image(data, size);
    LibInfobox::InfoboxFS infobox;
    static_cast<void>(infobox.ParseInfoboxData(image));

    Norvik::ByteArray written;
    Require(infobox.GetCompleteFile(written));
    Require(written.size() <= size + 4);
    written.push_back(0);

    LibInfobox::InfoboxFS again;
    Require(again.ParseInfoboxData(written));
    Require(again.GetTagList() == infobox.GetTagList());
    for (const unsigned char tag : infobox.GetTagList())
    {
        unsigned char encrypted = 0;
        unsigned char encryptedAgain = 0;
        Norvik::ByteArray content;
        Norvik::ByteArray contentAgain;
        Require(infobox.GetEntry(tag, encrypted, content));
        Require(again.GetEntry(tag, encryptedAgain, contentAgain));
        Require(encrypted == encryptedAgain && content == contentAgain);
    }
    return 0;
}
