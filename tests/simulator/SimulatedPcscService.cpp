#include "tests/doubles/SimulatedPcsc.h"
#include "tests/simulator/PcscService.h"

namespace
{

class SimulatedPcscService final : public PcscService
{
public:
    explicit SimulatedPcscService(Simulator::World& world) : m_Service(world) {}

private:
    SimulatedPcsc m_Service;
};

} // namespace

std::unique_ptr<PcscService> PcscService::Start(Simulator::World& world)
{
    return std::make_unique<SimulatedPcscService>(world);
}
