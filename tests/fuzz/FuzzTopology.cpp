// A topology file, with recorded responses as the input has them: whatever stands in it, the reader tells what is wrong
// or has a topology of which any other reader makes the same.
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include "simulator/control/WorldContent.h"
#include "simulator/topology/Text.h"
#include "simulator/topology/TopologyReader.h"
#include "tests/fuzz/Check.h"
#include "tests/fuzz/native/Neighbours.h"

namespace {

// What a file is read as: the input after its first null byte.
std::string g_response;

void CheckPlaces(const std::string& text, const std::vector<sim::Problem>& problems) {
    for (const sim::Problem& problem : problems) {
        FUZZ_CHECK(!problem.text.empty());
        FUZZ_CHECK(problem.offset <= text.size());
        FUZZ_CHECK((problem.line == 0) == (problem.column == 0));
        FUZZ_CHECK(problem.OneLine("topology").find('\n') == std::string::npos);
    }
}

void Check(const std::string& text) {
    const sim::Checked checked = sim::CheckTopology(text);
    CheckPlaces(text, checked.reading.problems);
    CheckPlaces(text, checked.warnings);

    sim::WorldContent content = sim::ContentOfText(text, "topology");
    FUZZ_CHECK(content.error.empty() == checked.reading.problems.empty());
    FUZZ_CHECK(sim::Unpacked(sim::Packed(content)) == content);
    if (content.error.empty()) {
        const sim::Topology topology = sim::TopologyOf(content);
        FUZZ_CHECK(topology.adapters.size() == checked.reading.topology.adapters.size());
        for (const sim::Adapter& adapter : topology.adapters)
            FUZZ_CHECK(topology.FindAdapter(sim::Wide(adapter.identifier)) != nullptr);
    }
    // Whatever was tried can be taken.
    for (sim::Motion& motion = content.motion; sim::NextStep(motion);) {
        sim::TakeStep(motion);
        FUZZ_CHECK(sim::TopologyOf(content).faults.size() == motion.faults.size());
    }
}

} // namespace

// In place of simulator/topology/Text.cpp's: no file of the machine is touched.
std::string sim::ReadFile(const std::filesystem::path& path) {
    if (path.filename() == "missing.hex")
        throw std::system_error(2, std::system_category());
    return g_response;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    native::SetCodePage(65001);
    std::string text(reinterpret_cast<const char*>(data), size);
    const std::size_t end = text.find('\0');
    g_response = end == std::string::npos ? std::string() : text.substr(end + 1);
    text.resize(std::min(end, text.size()));
    try {
        Check(text);
    } catch (const std::filesystem::filesystem_error&) {
        // This machine's C++ library makes no path of a wide text beyond ASCII; Windows takes each as it is.
        return -1;
    }
    return 0;
}
