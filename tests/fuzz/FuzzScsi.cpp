// SCSI responses: INQUIRY of a target, READ CAPACITY of its units.
#include "tests/fuzz/Fuzz.h"

#include <bit>
#include <cmath>
#include <memory>
#include <string>

#include "model/DataUtil.h"
#include "model/FcoeLUN.h"
#include "model/FcoeTarget.h"

const FuzzedFamilies FUZZED_FAMILIES{.bScsi = true};

namespace {

constexpr HBA_UINT64 UNITS = 3;

// The response's number of nBytes bytes, most significant first.
ULONG64 BigEndian(const HBA_UINT8* pby, int nBytes) {
    ULONG64 ullValue = 0;
    for (int i = 0; i < nBytes; ++i)
        ullValue = ullValue << 8 | pby[i];
    return ullValue;
}

void CheckTarget(const DrawnLibrary& library, const QEL_FCOE_TARGET& record) {
    const ScsiCall& serial = library.mapInquiries.at(1);
    FUZZ_CHECK(record.strSerial.size() <= serial.abyResponse[3]);
    FUZZ_CHECK(record.strSerial.find(L'\0') == CQelString::npos);
    FUZZ_CHECK(serial.ulStatus == HBA_STATUS_OK || record.strSerial.empty());
    // Characters that every code page has, in their order.
    if (serial.ulStatus == HBA_STATUS_OK) {
        std::wstring strPlain, strShown;
        for (int i = 0; i < serial.abyResponse[3]; ++i)
            if (const HBA_UINT8 by = serial.abyResponse[4 + i]; by != 0 && by < 0x80)
                strPlain.push_back(by);
        for (const wchar_t ch : record.strSerial)
            if (ch < 0x80)
                strShown.push_back(ch);
        FUZZ_CHECK(strShown == strPlain);
    }

    const ScsiCall& standard = library.mapInquiries.at(0);
    std::wstring strVendor;
    for (int i = 8; i < 16 && standard.ulStatus == HBA_STATUS_OK && standard.abyResponse[i] != 0; ++i)
        strVendor.push_back(standard.abyResponse[i]);
    FUZZ_CHECK(record.strVendor == strVendor);
}

// "Unknown", or the capacity in its unit: read back from the text, it is the response's, but for what a unit cuts off.
void CheckUnit(const DrawnLibrary& library, HBA_UINT64 ullLun, const QEL_FCOE_LUN& record) {
    const ScsiCall& call = library.mapCapacities.at(ullLun);
    FUZZ_CHECK(library.mapCapacityCalls.at(ullLun) <= 4);
    if (call.ulStatus != HBA_STATUS_OK) {
        FUZZ_CHECK(record.strCapacity == L"Unknown" && record.strBlockSize == L"Unknown");
        return;
    }
    const ULONG64 ullBlockSize = BigEndian(call.abyResponse.data() + 8, 4);
    FUZZ_CHECK(record.strBlockSize == std::to_wstring(ullBlockSize) + L" bytes");

    const auto dBytes = static_cast<double>(static_cast<LONG64>(BigEndian(call.abyResponse.data(), 8))) *
                        static_cast<double>(ullBlockSize);
    const std::size_t nBlank = record.strCapacity.find(L' ');
    FUZZ_CHECK(nBlank != CQelString::npos && nBlank > 0);
    const std::wstring strUnit = record.strCapacity.substr(nBlank + 1);
    const double dUnit = std::ldexp(1.0, strUnit == L"MB" ? 20 : strUnit == L"GB" ? 30 : strUnit == L"TB" ? 40 : 0);
    FUZZ_CHECK(dUnit > 1);
    const double dShown = static_cast<double>(std::stoll(record.strCapacity.substr(0, nBlank))) * dUnit;
    const double dUnits = dBytes / dUnit;
    if (dUnits >= -0x1p63 && dUnits < 0x1p63)
        FUZZ_CHECK(std::abs(dBytes - dShown) < dUnit + std::abs(dBytes) * 1e-15);
    else
        FUZZ_CHECK(dShown == static_cast<double>(INT64_MIN) * dUnit);
    FUZZ_CHECK(strUnit == (dBytes < 0x1p30 ? L"MB" : dBytes < 0x1p40 ? L"GB" : L"TB"));
}

// The readers by themselves, on a buffer that ends with its last byte.
void FuzzReaders(DrawnLibrary& library) {
    const std::string strResponse = library.DrawText(40);
    const auto nSize = static_cast<LONG>(strResponse.size());
    const auto pbyResponse = std::make_unique<BYTE[]>(strResponse.size());
    std::copy(strResponse.begin(), strResponse.end(), pbyResponse.get());
    CDataUtil util;
    constexpr ULONG64 UNTOUCHED = 0x1122334455667788;

    const auto nLast = static_cast<LONG>(library.DrawByte()) - 2;
    const auto nBytes = static_cast<LONG>(library.DrawByte()) - 2;
    if (nLast < nSize) {
        ULONG64 ullValue = UNTOUCHED;
        const bool bRead = util.DeriveCorrectBufSz(pbyResponse.get(), ullValue, nLast, nBytes);
        FUZZ_CHECK(bRead == (nLast >= 1 && nBytes >= 1 && nBytes <= nLast + 1));
        FUZZ_CHECK(bRead || ullValue == UNTOUCHED);
        if (bRead && nBytes <= 8)
            FUZZ_CHECK(ullValue == BigEndian(pbyResponse.get() + nLast + 1 - nBytes, nBytes));
    }
    if (nLast + nBytes <= nSize) {
        ULONG64 ullValue = UNTOUCHED;
        const bool bRead = util.DeriveCorrectBufSzV2(pbyResponse.get(), ullValue, nLast, nBytes);
        FUZZ_CHECK(bRead == (nLast >= 0 && nBytes >= 1));
        FUZZ_CHECK(ullValue == (bRead ? BigEndian(pbyResponse.get() + nLast, nBytes) : UNTOUCHED));
    }
    if (nSize >= 12) {
        const BYTE byKind = library.DrawByte() & 3;
        double dCapacity = -1, dOther = -1;
        LONG64 llBlockSize = -1, llOther = -1;
        const LONG nResult = util.FormatLUNData(pbyResponse.get(), byKind, dCapacity, llBlockSize);
        FUZZ_CHECK(nResult == CDataUtil::DONE || (nResult == CDataUtil::CAPACITY16_NEEDED && byKind == 0));
        FUZZ_CHECK(util.FormatLUNDataV2(pbyResponse.get(), byKind, dOther, llOther) == CDataUtil::DONE);
        if (byKind == 1)
            FUZZ_CHECK(std::bit_cast<ULONG64>(dCapacity) == std::bit_cast<ULONG64>(dOther) && llBlockSize == llOther);
    }
}

// READ CAPACITY (16), into buffers of any size: what the library is told of is there.
void FuzzCapacity16(DrawnLibrary& library, CHBAAPIInt& access) {
    const HBA_UINT32 ulSize = library.DrawByte(), ulSenseSize = library.DrawByte();
    const auto pbyResponse = std::make_unique<HBA_UINT8[]>(ulSize),
               pbySense = std::make_unique<HBA_UINT8[]>(ulSenseSize);
    if (access.RetrieveLUNCapacity16(7, UsualWwn(0), 0, pbyResponse.get(), ulSize, pbySense.get(), ulSenseSize) &&
        ulSize >= 12) {
        double dCapacity = 0;
        LONG64 llBlockSize = 0;
        FUZZ_CHECK(CDataUtil().FormatLUNData(pbyResponse.get(), 1, dCapacity, llBlockSize) == CDataUtil::DONE);
        FUZZ_CHECK(llBlockSize == static_cast<LONG64>(BigEndian(pbyResponse.get() + 8, 4)));
    }
}

} // namespace

void Fuzz(DrawnLibrary& library, CHBAAPIInt& access, CQelFcoeHBA& hba) {
    library.vecPorts = {UsualPort(0)};
    library.vecTargets = {UsualTarget(0, library.vecPorts[0])};
    for (HBA_UINT64 ullLun = 0; ullLun < UNITS; ++ullLun)
        library.vecMapping.push_back(UsualUnit(ullLun, library.vecTargets[0]));

    std::vector<std::shared_ptr<CQelFcoeTarget>> vecTargets;
    FUZZ_CHECK(hba.GetTargets(vecTargets) && vecTargets.size() == 1);
    CheckTarget(library, Records<QEL_FCOE_TARGET>(vecTargets)[0]);

    std::vector<std::shared_ptr<CQelFcoeLUN>> vecLUNs;
    FUZZ_CHECK(hba.GetLUNs(vecLUNs));
    const auto vecRecords = Records<QEL_FCOE_LUN>(vecLUNs);
    FUZZ_CHECK(vecRecords.size() == UNITS);
    for (const QEL_FCOE_LUN& record : vecRecords)
        CheckUnit(library, record.ulOsLun, record);

    FuzzReaders(library);
    FuzzCapacity16(library, access);
}
