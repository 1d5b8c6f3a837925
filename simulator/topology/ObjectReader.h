// Reads the values of one object of a topology file, collecting whatever is wrong with them.
#pragma once

#include <filesystem>

#include "simulator/topology/Format.h"
#include "simulator/topology/JsonReader.h"
#include "simulator/topology/Problem.h"

namespace sim {

// Where the recorded responses are that a file names.
struct Responses {
    std::filesystem::path folder;
    ResponseReader read;
};

class ObjectReader final : public Keys {
  public:
    ObjectReader(JsonValue value, const Responses& responses, std::vector<Problem>& problems);

    bool Flag(const Key& key, bool& value) override;
    bool Text(const Key& key, std::string& value, std::size_t maxBytes) override;
    bool WorldWideName(const Key& key, Wwn& value) override;
    bool Mac(const Key& key, std::array<std::uint8_t, 6>& value) override;
    bool Guid(const Key& key, std::string& value) override;
    bool FunctionName(const Key& key, std::size_t& function) override;
    bool Response(const Key& key, std::vector<std::uint8_t>& bytes, std::size_t max) override;
    bool Signed(const Key& key, std::int64_t min, std::int64_t max, std::int64_t& value) override;
    bool Unsigned(const Key& key, const Range& range, std::uint64_t& value) override;
    bool Numbers(const Key& key, std::span<std::int32_t> values) override;
    bool Names(const Key& key, std::span<Wwn> values) override;
    bool Object(const Key& key, const Members& members) override;
    bool Real(const Key& key, std::uint64_t max, double& value) override;
    bool Word(const Key& key, std::span<const std::string_view> words, std::string& value) override;
    bool JsonPointer(const Key& key, std::string& value) override;
    bool AnyValue(const Key& key) override;
    bool List(const Key& key, std::size_t max, const Members& entry) override;

    void Refuse(const char* key, const std::string& problem) override;
    void RefuseExpected(const char* key, const std::string& what) override;
    std::string Pointer(const char* key) const override;
    bool Has(const char* key) const override;
    std::size_t KeyCount() const override;

    // Refuses the keys that nobody asked for.
    void Finish();

  private:
    std::optional<JsonValue> Find(const Key& key);
    JsonValue At(const char* key) const;
    // Runs read with the key's value; a refusal becomes a problem. number: with advice how to write one.
    template <class Read> bool With(const Key& key, Read read, bool number = false);
    void Add(const PlacedError& error, const std::string& advice = {});
    bool IsObject() const { return m_value.Json().is_object(); }

    JsonValue m_value;
    const Responses& m_responses;
    std::vector<Problem>& m_problems;
    std::vector<std::string> m_known;
};

} // namespace sim
