#pragma once

#include "simulator/world/World.h"

#include <memory>

/** A PC/SC service over a world: the real pcscd or the double, as the test program is linked. */
class PcscService
{
public:
    virtual ~PcscService() = default;

    /** One for each process: libpcsclite keeps the address of the first service it meets. */
    static std::unique_ptr<PcscService> Start(Simulator::World& world);
};
