// The format of topology files, told once: Describe (TopologyFormat.cpp) names the keys of every object. Who reads a
// file and who writes the format's JSON Schema both listen to it.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "simulator/topology/Topology.h"

namespace sim {

// What a number is called elsewhere.
struct NamedNumber {
    const char* name;
    std::uint64_t number;
};

struct Key {
    const char* name;
    const char* about; // for the schema
    bool required = false;
    // Said of the default when it is not the value that the variable has before.
    const char* byDefault = nullptr;
    std::span<const NamedNumber> names = {};
};

struct Range {
    std::uint64_t min = 0;
    std::uint64_t max = UINT64_MAX;
    // Not all between them, but these two alone.
    bool endsOnly = false;
};

// What one capacity or INQUIRY response can reach.
constexpr std::size_t MAX_RESPONSE = 65535;

// The keys that one object of the file may have. A value that is missing or wrong leaves the variable as it is; the
// functions return whether one was there and good.
class Keys {
  public:
    using Members = std::function<void(Keys&)>;

    virtual ~Keys() = default;

    virtual bool Flag(const Key& key, bool& value) = 0;
    // Not longer than so many bytes in the ANSI code page; 0: any length.
    virtual bool Text(const Key& key, std::string& value, std::size_t maxBytes = 0) = 0;
    virtual bool WorldWideName(const Key& key, Wwn& value) = 0;
    virtual bool Mac(const Key& key, std::array<std::uint8_t, 6>& value) = 0;
    virtual bool Guid(const Key& key, std::string& value) = 0;
    virtual bool FunctionName(const Key& key, std::size_t& function) = 0;
    // Recorded bytes: "hex:" and their digits, or the name of a file.
    virtual bool Response(const Key& key, std::vector<std::uint8_t>& bytes, std::size_t max = MAX_RESPONSE) = 0;
    virtual bool Signed(const Key& key, std::int64_t min, std::int64_t max, std::int64_t& value) = 0;
    virtual bool Unsigned(const Key& key, const Range& range, std::uint64_t& value) = 0;
    virtual bool Numbers(const Key& key, std::span<std::int32_t> values) = 0;
    virtual bool Names(const Key& key, std::span<Wwn> values) = 0;
    virtual bool Object(const Key& key, const Members& members) = 0;
    // More than 0.
    virtual bool Real(const Key& key, std::uint64_t max, double& value) = 0;
    virtual bool Word(const Key& key, std::span<const std::string_view> words, std::string& value) = 0;
    virtual bool JsonPointer(const Key& key, std::string& value) = 0;
    // Whatever is there, if it is not too deep for a topology.
    virtual bool AnyValue(const Key& key) = 0;
    // Calls entry for each of the objects in the list.
    virtual bool List(const Key& key, std::size_t max, const Members& entry) = 0;

    // What only the schema needs: a rule of JSON Schema that stands for a check below.
    virtual void Rule(const char*) {}
    // Only a reader finds anything wrong. key: null: the object as a whole.
    virtual void Refuse(const char* /*key*/, const std::string& /*problem*/) {}
    virtual void RefuseExpected(const char* /*key*/, const std::string& /*what*/) {}
    // The place of a member, or of the object.
    virtual std::string Pointer(const char* /*key*/) const { return {}; }
    virtual bool Has(const char* /*key*/) const { return false; }
    virtual std::size_t KeyCount() const { return 0; }

    template <class T> bool Number(const Key& key, T& value, Range range = {}) {
        range.max = std::min<std::uint64_t>(range.max, std::numeric_limits<T>::max());
        std::uint64_t number = static_cast<std::uint64_t>(value);
        const bool read = Unsigned(key, range, number);
        value = static_cast<T>(number);
        return read;
    }
    template <class T> bool Number(const Key& key, std::optional<T>& value, Range range = {}) {
        T number{};
        const bool read = Number(key, number, range);
        if (read)
            value = number;
        return read;
    }
};

// The whole file. keys: of the outermost object.
void Describe(Keys& keys, Topology& topology);
// One entry of its faults. topology: with its adapters.
void Describe(Keys& keys, Fault& fault, const Topology& topology);
// One entry of its timeline.
void Describe(Keys& keys, Step& step);
// The timeline, of a topology or by itself.
void DescribeTimeline(Keys& keys, std::vector<Step>& timeline, bool required);
// One entry of its answers. topology: the same.
void Describe(Keys& keys, Answer& answer, const Topology& topology);
// The key "adapter", of which no adapter's name is good but one of the topology's. Returns whether it is.
bool DescribeAdapterOf(Keys& keys, const Key& key, const Topology& topology, std::uint32_t& adapter);

bool IsBracedGuid(std::string_view text);

} // namespace sim
