#include "tools/fcoectl/Rates.h"

#include <map>
#include <utility>

namespace fcoectl {
namespace {

// Labels may repeat, so a counter is known by its place in its adapter's list.
using Place = std::pair<std::wstring, std::size_t>;

class Places {
  public:
    Place Next(const QEL_FCOE_STATISTIC& record) { return {record.strDeviceId, m_count[record.strDeviceId]++}; }

  private:
    std::map<std::wstring, std::size_t> m_count;
};

} // namespace

std::vector<std::optional<double>> RatesBetween(const std::vector<QEL_FCOE_STATISTIC>& before,
                                                const std::vector<QEL_FCOE_STATISTIC>& after, double seconds) {
    std::map<Place, LONG64> values;
    Places places;
    for (const auto& record : before)
        values[places.Next(record)] = record.llValue;

    std::vector<std::optional<double>> rates;
    places = {};
    for (const auto& record : after) {
        const auto found = values.find(places.Next(record));
        if (found == values.end() || record.llValue < found->second || seconds <= 0)
            rates.push_back(std::nullopt);
        else // as unsigned numbers: the difference may be more than a signed one holds
            rates.push_back(
                static_cast<double>(static_cast<ULONG64>(record.llValue) - static_cast<ULONG64>(found->second)) /
                seconds);
    }
    return rates;
}

} // namespace fcoectl
