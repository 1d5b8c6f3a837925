// The fabric as the boxes of a drawn tree.
#pragma once

#include <nlohmann/json.hpp>

namespace fcoectl {

struct FabricPicture {
    // Boxes: {kind, class, title, lines, troubled, children, has_children}; the template draws one as it draws all.
    nlohmann::ordered_json adapters;
    // How many there are: {name, count} of adapters, fabrics, ports, targets and LUNs.
    nlohmann::ordered_json counts;
};

// adapters: of the document of `tree`. problems: those that name an adapter mark its box.
FabricPicture DrawFabric(const nlohmann::ordered_json& adapters, const nlohmann::ordered_json& problems);

} // namespace fcoectl
