// Changes a JSON document by the operations of RFC 6902.
#pragma once

#include <cstddef>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace sim {

// Why an operation cannot be applied; a sentence.
class PatchError : public std::runtime_error {
    using std::runtime_error::runtime_error;
};

// How much a value is.
struct Extent {
    // Topologies are far from it; what copies values and compares them goes as deep as they are.
    static constexpr std::size_t MAX_DEPTH = 32;

    std::size_t values = 0; // with those inside
    std::size_t depth = 0;  // levels; not told beyond MAX_DEPTH + 1
    bool IsWithinDepth() const { return depth <= MAX_DEPTH; }
};
Extent Measure(const nlohmann::json& value);

class Patcher {
  public:
    // The document's depth is one that Extent allows.
    explicit Patcher(nlohmann::json& document) : m_document(document) {}

    // operation: of the format that topologies have for it. Throws PatchError; the document is of no use then.
    void Apply(const nlohmann::json& operation);

  private:
    void NeedValue(const std::string& path) const;
    void NeedRoom(const std::string& path) const;
    void NeedMeasure(const nlohmann::json& value);
    void Change(const char* operation, const std::string& path, const nlohmann::json& value = {});

    nlohmann::json& m_document;
    std::size_t m_copied = 0; // values, by all operations
};

} // namespace sim
