#include "cards/CardAttribute.h"

#include <cstring>

CardAttribute::CardAttribute(bool bUpdateAllowed) : callCardObject(true), updateAllowed(bUpdateAllowed) {}

CardAttribute::CardAttribute(unsigned char byte) : value(&byte, sizeof(byte)) {}

CardAttribute::CardAttribute(unsigned long number)
{
    value.resize(sizeof(number));
    std::memcpy(value.data(), &number, sizeof(number));
}

CardAttribute::CardAttribute(const char* text) : value(std::string(text)) {}

CardAttribute::CardAttribute(const unsigned char* data, unsigned long length) : value(data, length) {}

void CardAttribute::Set(const unsigned char* data, unsigned long length)
{
    Free();
    value.Add(data, length);
}

void CardAttribute::Free()
{
    value.clear();
}
