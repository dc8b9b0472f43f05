#pragma once

/** Base of classes that own something which must not be copied. */
class Uncopyable
{
public:
    Uncopyable() = default;
    virtual ~Uncopyable() = default;
    Uncopyable(const Uncopyable&) = delete;
    Uncopyable& operator=(const Uncopyable&) = delete;
};
