#include "tests/fuzz/DrawnLibrary.h"

#include <algorithm>
#include <cstring>

#include "tests/fuzz/Check.h"

namespace {

DrawnLibrary* g_pCurrent;

// Most bytes choose the usual; the last few choose what the input says.
constexpr HBA_UINT8 FIRST_UNUSUAL = 0xF0;

// What lists claim that no memory is to be had for.
constexpr HBA_UINT32 ENDLESS_COUNTS[] = {
    0x00FFFFFF,           0x03FFFFFF,           0x04000000, 0x1FFFFFFF, 0x20000000, 0x7FFFFFFF, 0x80000000,
    0xFFFFFFFF / 304 + 1, 0xFFFFFFFF / 304 + 2, 0x05D1745E, 0x05D1745D, 0xFFFFFFFE, 0xFFFFFFFF,
};

// An identifier is most of the time one of four.
void Tame(HBA_WWN& wwn) {
    if (wwn.wwn[0] < FIRST_UNUSUAL)
        wwn = UsualWwn(wwn.wwn[0] & 3);
}

// A number is half of the time 0 or 1.
template <class Number> void Tame(Number& number) {
    if (number >> (8 * sizeof number - 1) == 0)
        number &= 1;
}

// A port type is most of the time one that has a meaning.
void TamePortType(HBA_UINT8& byType) {
    if (byType < FIRST_UNUSUAL)
        byType &= 3;
}

// Every byte of the room is the library's to write.
void Touch(void* pRoom, HBA_UINT32 ulSize) {
    volatile auto* const pby = static_cast<HBA_UINT8*>(pRoom);
    if (ulSize != 0) {
        pby[0] = pby[0];
        pby[ulSize - 1] = pby[ulSize - 1];
    }
}

} // namespace

HBA_WWN UsualWwn(unsigned uNumber) {
    return {{0x20, 0x01, 0x00, 0x11, 0x22, 0x33, 0x44, static_cast<HBA_UINT8>(uNumber)}};
}

DrawnLibrary::DrawnLibrary(FuzzedDataProvider& input, const FuzzedFamilies& families)
    : m_input(input), m_families(families) {
    FUZZ_CHECK(!g_pCurrent);
    g_pCurrent = this;
    if (families.bBinding && !DrawUsual())
        m_ulMissing = m_input.ConsumeIntegral<HBA_UINT32>();
}

DrawnLibrary::~DrawnLibrary() {
    g_pCurrent = nullptr;
}

DrawnLibrary& DrawnLibrary::Current() {
    FUZZ_CHECK(g_pCurrent);
    return *g_pCurrent;
}

bool DrawnLibrary::DrawUsual() {
    return DrawByte() < FIRST_UNUSUAL;
}

HBA_UINT32 DrawnLibrary::DrawNumber() {
    const HBA_UINT8 byKind = DrawByte();
    return byKind < FIRST_UNUSUAL ? byKind & 7 : m_input.ConsumeIntegral<HBA_UINT32>();
}

HBA_STATUS DrawnLibrary::DrawStatus() {
    constexpr HBA_STATUS STATUSES[] = {HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_OK,
                                       HBA_STATUS_ERROR_MORE_DATA,
                                       HBA_STATUS_ERROR_MORE_DATA,
                                       HBA_STATUS_SCSI_CHECK_CONDITION,
                                       HBA_STATUS_ERROR,
                                       HBA_STATUS_ERROR_AMBIGUOUS_WWN,
                                       HBA_STATUS_ERROR_LOCAL_BUS,
                                       0xFFFFFFFF};
    return m_input.PickValueInArray(STATUSES);
}

HBA_UINT32 DrawnLibrary::DrawCount(HBA_UINT32 ulRoom) {
    const HBA_UINT8 byKind = DrawByte();
    if (byKind < 0x40)
        return ulRoom;
    if (byKind < 0x50)
        return ulRoom + 1;
    if (byKind < FIRST_UNUSUAL)
        return byKind % (LONGEST_LIST + 1);
    return m_input.PickValueInArray(ENDLESS_COUNTS);
}

std::string DrawnLibrary::DrawText(std::size_t nMaximum) {
    return m_input.ConsumeBytesAsString(m_input.ConsumeIntegralInRange<std::size_t>(0, nMaximum));
}

HBA_WWN DrawnLibrary::DrawWwn() {
    HBA_WWN wwn{};
    m_input.ConsumeData(&wwn, sizeof wwn);
    Tame(wwn);
    return wwn;
}

// A text of any length up to its array's, without a terminator when what follows it is no null.
void DrawnLibrary::FillText(char* pszText, std::size_t nSize, std::string_view strStart) {
    const HBA_UINT8 byKind = DrawByte();
    std::memset(pszText, byKind < FIRST_UNUSUAL ? 0 : byKind, nSize);
    std::string strText(DrawUsual() ? strStart : std::string_view());
    strText += DrawText(nSize - strText.size());
    std::ranges::copy(strText, pszText);
}

void DrawnLibrary::FillResponse(void* pResponse, HBA_UINT32 ulRoom) {
    Touch(pResponse, ulRoom);
    const std::string strBytes = DrawText(ulRoom);
    std::memcpy(pResponse, strBytes.data(), strBytes.size());
}

void DrawnLibrary::Draw(ORVAN_FC_PORT& port) {
    FillRecord(port);
    TamePortType(port.PortType);
    Tame(port.PortWWN);
    Tame(port.WordB);
    Tame(port.Word56);
}

void DrawnLibrary::Draw(ORVAN_TARGET_ENTRY& target) {
    FillRecord(target);
    TamePortType(target.InitiatorPortType);
    Tame(target.InitiatorPortWWN);
    Tame(target.FcId);
}

void DrawnLibrary::Draw(HBA_FCPSCSIENTRY& unit) {
    FillText(unit.ScsiId.OSDeviceName, sizeof unit.ScsiId.OSDeviceName);
    FillRecord(unit.ScsiId.ScsiBusNumber);
    FillRecord(unit.ScsiId.ScsiTargetNumber);
    FillRecord(unit.ScsiId.ScsiOSLun);
    FillRecord(unit.FcpId);
    Tame(unit.ScsiId.ScsiBusNumber);
    Tame(unit.ScsiId.ScsiTargetNumber);
    Tame(unit.FcpId.FcId);
    Tame(unit.FcpId.PortWWN);
}

void DrawnLibrary::Draw(HBA_UINT32& ulVlan) {
    FillRecord(ulVlan);
}
