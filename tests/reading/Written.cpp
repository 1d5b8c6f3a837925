#include "tests/reading/Written.h"

#include <algorithm>
#include <sstream>

#include <gtest/gtest.h>

#include "tests/kit/TempFolder.h"
#include "tests/report/Unzip.h"

namespace {

using Json = nlohmann::ordered_json;

Json Samples(const std::string& metrics) {
    Json samples = Json::array();
    std::istringstream stream(metrics);
    for (std::string line; std::getline(stream, line);)
        if (!line.starts_with('#') && !line.starts_with("fcoe_read_") && !line.starts_with("fcoe_problems"))
            samples.push_back(line);
    EXPECT_NE(std::string::npos, metrics.find("\nfcoe_read_complete ")) << metrics;
    return samples;
}

Json Lists(const std::string& page) {
    constexpr std::string_view start = R"(id="data">)";
    const auto begin = page.find(start);
    const auto end = page.find("</script>", begin);
    if (begin == page.npos || end == page.npos) {
        ADD_FAILURE() << "no data in the page";
        return {};
    }
    const Json data = Json::parse(page.substr(begin + start.size(), end - begin - start.size()), nullptr, false);
    Json examined = Json::array();
    for (const Json& check : data["doctor"]["checks"])
        if (check["check"] == "adapter")
            examined.push_back(check["result"]);
    // Null without an agent.
    const auto list = [&](const char* document, const char* name) {
        return data[document].is_object() ? data[document][name] : Json();
    };
    return {{"adapters", list("tree", "adapters")},
            {"links", list("links", "links")},
            {"vlans", list("vlans", "vlans")},
            {"statistics", list("statistics", "statistics")},
            {"examined", std::move(examined)}};
}

} // namespace

Json Written(const std::string& command, const std::filesystem::path& file) {
    const std::string bytes = ReadFileBytes(file);
    if (command == "metrics")
        return Samples(bytes);
    if (command == "report")
        return Lists(bytes);
    const auto entries = Unzip(bytes);
    const auto page = entries.find("report.html");
    return Lists(page == entries.end() ? "" : page->second);
}
