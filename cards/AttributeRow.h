#pragma once

#include <p11-kit/pkcs11.h>

/** One attribute of an object class. */
struct AttributeRow
{
    enum Kind
    {
        Flag,       ///< a CK_BBOOL: number
        Number,     ///< a CK_ULONG: number
        Label,      ///< the label that the object is made with
        Id,         ///< the id that the object is made with
        EmptyText,  ///< present, and empty for good
        NoConstant, ///< empty until a class fills it; some never do
        Updatable,  ///< NoConstant, and may be written
    };

    CK_ATTRIBUTE_TYPE type;
    Kind kind;
    unsigned long number = 0;
};
