#include "tools/reading/Contradictions.h"

#include <algorithm>

#include <fmt/format.h>

#include "FcoeAgent/QelResource.h"
#include "tools/reading/Text.h"

namespace reading {
namespace {

constexpr wchar_t NO_WWN[] = L"00:00:00:00:00:00:00:00";
constexpr ULONG LAST_VLAN = 4094;

CQelString Resource(UINT id) {
    CQelString text;
    text.LoadCommonResString(id);
    return text;
}

// A block size of 0 as the agent shows it.
CQelString NoBytes() {
    const CQelString format = Resource(IDS_QEL_SIZE_BYTES_FORMAT);
    const LONG64 none = 0;
    CQelString text;
    text.FormatString(format.c_str(), none);
    return text;
}

// The record's adapter comes into the view with its first record.
template <class Record> void NoteAdapter(RecordView& view, const Record& record) {
    std::string id = ToUtf8(record.strDeviceId);
    const auto known =
        std::ranges::find_if(view.adapters, [&](const auto& adapter) { return !id.empty() && adapter.id == id; });
    if (known != view.adapters.end())
        return;
    view.adapters.push_back({std::move(id), ToUtf8(record.strSecondId)});
}

void Note(RecordView& view, Loss loss) {
    const auto known = std::ranges::find_if(view.losses, [&](const Loss& other) {
        return other.what == loss.what && other.how == loss.how && other.adapter == loss.adapter &&
               other.place == loss.place;
    });
    if (known != view.losses.end())
        ++known->times;
    else
        view.losses.push_back(std::move(loss));
}

template <class Record>
void Note(RecordView& view, const Record& record, What what, How how, const char* function, std::string object = {}) {
    Loss loss;
    loss.what = what;
    loss.how = how;
    loss.function = function;
    loss.adapter = ToUtf8(record.strDeviceId);
    loss.object = std::move(object);
    Note(view, std::move(loss));
}

template <class Record, class Look> RecordView Walk(const std::vector<Record>& records, Look look) {
    RecordView view;
    view.records = records.size();
    for (const Record& record : records) {
        NoteAdapter(view, record);
        look(view, record);
    }
    for (const auto& adapter : view.adapters) {
        if (adapter.id.empty() || !adapter.name.empty())
            continue;
        Loss loss;
        loss.what = What::Name;
        loss.how = How::Senseless;
        loss.function = "GetAdapterInfo";
        loss.adapter = adapter.id;
        Note(view, std::move(loss));
    }
    return view;
}

template <class Record> void LookAtNothing(RecordView&, const Record&) {}

} // namespace

RecordView View(const std::vector<QEL_FCOE_HBA>& records) {
    return Walk(records, [](RecordView& view, const QEL_FCOE_HBA& hba) {
        if (hba.strDeviceId.empty()) {
            Loss loss;
            loss.function = "GetAdapterPortAttributes or GetAdapterAttributes";
            loss.place = view.adapters.size() - 1;
            Note(view, std::move(loss));
        } else if (hba.strPortWWN == NO_WWN || hba.strNodeWWN == NO_WWN) {
            Note(view, hba, What::Adapter, How::Senseless, "GetAdapterPortAttributes");
        }
    });
}

RecordView View(const std::vector<QEL_FCOE_FABRIC>& records) {
    return Walk(records, LookAtNothing<QEL_FCOE_FABRIC>);
}

RecordView View(const std::vector<QEL_FCOE_PORT>& records) {
    return Walk(records, LookAtNothing<QEL_FCOE_PORT>);
}

RecordView View(const std::vector<QEL_FCOE_TARGET>& records) {
    return Walk(records, [](RecordView& view, const QEL_FCOE_TARGET& target) {
        if (target.strVendor.empty())
            Note(view, target, What::Vendor, How::Senseless, "ScsiInquiry",
                 fmt::format("the vendor of target {}", ToUtf8(target.strPortWWN)));
    });
}

RecordView View(const std::vector<QEL_FCOE_LUN>& records) {
    return Walk(
        records, [unknown = Resource(IDS_QEL_UNKNOWN), none = NoBytes()](RecordView& view, const QEL_FCOE_LUN& lun) {
            const auto note = [&](How how) {
                Note(view, lun, What::Capacity, how, "ScsiReadCapacityV2",
                     fmt::format("the capacity of LUN {} of target {}", lun.ulOsLun, ToUtf8(lun.strTargetPortWWN)));
            };
            if (lun.strCapacity == unknown)
                note(How::Refused);
            else if (lun.strBlockSize == none || lun.strCapacity.starts_with(L'-'))
                note(How::Senseless);
        });
}

RecordView View(const std::vector<QEL_FCOE_VLAN>& records) {
    return Walk(records, [](RecordView& view, const QEL_FCOE_VLAN& vlan) {
        if ((vlan.ulVlanId == 0 && vlan.ulState == 0) || vlan.ulVlanId > LAST_VLAN)
            Note(view, vlan, What::Vlans, How::Senseless, "ORVAN_GetVlanIdList");
    });
}

RecordView View(const std::vector<QEL_FCOE_STATISTIC>& records) {
    return Walk(records, LookAtNothing<QEL_FCOE_STATISTIC>);
}

} // namespace reading
