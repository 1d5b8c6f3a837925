// An adapter as a topology describes it, and what the simulated suite answers from that description.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "FcoeAgent/OrvanHbaApi.h"
#include "tools/recording/Journal.h"

namespace recording {

using Json = nlohmann::ordered_json;

// Made of the last good answers. What no description can say, or what was answered otherwise before, is not in it.
class AdapterModel {
  public:
    AdapterModel(const Journal& journal, const AdapterFacts& facts);

    // The adapter's entry of the topology.
    const Json& Description() const { return m_json; }
    // Under which the vendor library opens it.
    std::string LibraryName() const { return m_json.value("library_name", ""); }
    // What the simulated vendor library answers to a request from it; none: it is not said what.
    std::optional<Reply> Expected(const Request& request) const;
    // Whether all answers to the request are explained otherwise than by that.
    bool IsExplained(const Request& request) const { return m_explained.contains(request); }

  private:
    struct Unit {
        std::uint64_t lun = 0;
        Reply capacity; // good
    };
    struct Target {
        std::string wwn;
        Bytes inquiry, serialPage;
        std::vector<Unit> units;
    };

    // The runs of answers to a request; none: it was not asked.
    const std::vector<Run>* Runs(const Request& request) const;
    // The last good answer with so many bytes; null: there is none.
    const Reply* LastGood(const char* function, std::size_t size) const;
    template <class Record> std::optional<Record> LastRecord(const char* function) const;
    // The entries of the longest list that was read to its end.
    template <class Entry> std::vector<Entry> LastList(const char* function) const;
    template <class Entry> void ExpectList(const char* function, const std::vector<Entry>& entries);

    void DescribeNames();
    void DescribePort();
    void DescribeAttributes();
    void DescribeStatistics();
    void DescribeProperties();
    void DescribePci();
    void DescribeDcb();
    void DescribePorts();
    void DescribeVlans();
    void DescribeTargets();
    void DescribeUnits(const std::vector<ORVAN_TARGET_ENTRY>& targets);
    void DescribeResponses(Json& json, Target& target);
    void DescribeCapacity(Json& json, const std::string& wwn, Unit& unit);

    std::optional<Reply> ExpectedInquiry(const Request& request) const;
    std::optional<Reply> ExpectedCapacity(const Request& request) const;
    const Target* FindTarget(const std::string& wwn) const;

    const Journal& m_journal;
    const AdapterFacts& m_facts;
    Json m_json = Json::object();
    HBA_WWN m_node{};
    HBA_WWN m_port{};
    std::map<std::string, Reply> m_records; // by function
    struct List {
        std::size_t entrySize;
        std::vector<Bytes> entries;
    };
    std::map<std::string, List> m_lists;
    std::vector<Target> m_targets;
    std::set<Request> m_explained;
};

} // namespace recording
