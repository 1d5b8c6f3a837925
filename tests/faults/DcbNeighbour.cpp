#include "tests/faults/DcbNeighbour.h"

#include <fstream>
#include <stdexcept>

#include <objbase.h>

#include "tests/faults/FaultHost.h"

DcbNeighbour::DcbNeighbour() {
    CoInitializeEx(nullptr, COINIT_MULTITHREADED);
}

DcbNeighbour::~DcbNeighbour() {
    CoUninitialize();
}

void DcbNeighbour::Simulate(const std::string& fault) {
    if (!m_system)
        m_system.emplace();
    std::ofstream(m_system->TopologyFile()) << FaultHost::TopologyText(fault, true);
}

void DcbNeighbour::Bring(DWORD state) {
    if (state == 0)
        return m_system.reset();
    if (!m_system)
        Simulate("");
    if (DcbSystem::State() == state)
        return;
    if (state == SERVICE_STOPPED)
        return m_system->Stop();
    m_system->Start();
}

void DcbNeighbour::Settle() {
    constexpr int TRIES = 10; // of ten seconds
    for (int i = 0; i < TRIES; ++i)
        if (DcbSystem::WaitFor(SERVICE_STOPPED))
            return;
    throw std::runtime_error("the killed service still counts as running");
}
