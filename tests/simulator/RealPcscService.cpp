#include "tests/simulator/PcscService.h"

#include "simulator/pcscd/PrivatePcscd.h"

#include <cstdlib>

namespace
{

class RealPcscService final : public PcscService
{
public:
    explicit RealPcscService(Simulator::World& world) : m_Service(world)
    {
        ::setenv("PCSCLITE_CSOCK_NAME", m_Service.ClientSocket().c_str(), 1);
    }

private:
    Simulator::PrivatePcscd m_Service;
};

} // namespace

std::unique_ptr<PcscService> PcscService::Start(Simulator::World& world)
{
    return std::make_unique<RealPcscService>(world);
}
