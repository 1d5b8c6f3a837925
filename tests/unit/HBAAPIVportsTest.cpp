// Virtual-port calls. What they do with the mutex is in HBAAPIMutexTest.cpp.
#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class HBAAPIVports : public HBAAPIFixture {
  protected:
    HBAAPIVports() { request.PortWWN = TARGET_WWN; }

    const Texts takenAndGivenBack = {"create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"};
    ORVAN_FC_PORT request{};
    HBA_STATUS status = 77;
    HBA_WWN wwpn = HBA_PORT_WWN;
    ULONG count = 99;
    struct {
        HBA_UINT32 count;
        ORVAN_FC_PORT entry[3];
    } buffer{};
    ORVAN_FC_PORT_LIST* list = reinterpret_cast<ORVAN_FC_PORT_LIST*>(&buffer);
};

// Makes the allocation of one port list fail.
class NoMemoryForOnePort {
  public:
    NoMemoryForOnePort() : m_patch(nullptr, "msvcrt.dll", "calloc", reinterpret_cast<void*>(&Allocate)) {
        s_original = m_patch.Original<Function>();
    }

  private:
    using Function = void* (*)(std::size_t, std::size_t);
    static void* Allocate(std::size_t number, std::size_t size) {
        return number * size == sizeof(ORVAN_FC_PORT_LIST) ? nullptr : s_original(number, size);
    }
    static inline Function s_original;
    ImportPatch m_patch;
};

} // namespace

// --- GenerateVportWwpn

TEST_F(HBAAPIVports, GeneratedNameIsTheLibrarys) {
    Bind();
    EXPECT_TRUE(api.GenerateVportWwpn(7, &wwpn));
    EXPECT_EQ(0, std::memcmp(&wwpn, &library.generatedWwpn, 8));
    EXPECT_THAT(library.calls, ElementsAre("GeneratePortWWN 7"));
    EXPECT_THAT(library.lookups, ElementsAre("ORVAN_GeneratePortWWN"));
    EXPECT_THAT(Messages(), ElementsAre("GenerateVportWwpn Succeeded"));
}

TEST_F(HBAAPIVports, FailedGenerationLeavesTheCallersNameAlone) {
    Bind();
    library.GeneratePortWWN = [](HBA_HANDLE, HBA_WWN* out) {
        *out = TARGET_WWN; // half a result
        return HBA_STATUS_ERROR_UNAVAILABLE;
    };
    EXPECT_FALSE(api.GenerateVportWwpn(7, &wwpn));
    EXPECT_EQ(0, std::memcmp(&wwpn, &HBA_PORT_WWN, 8));
    EXPECT_THAT(Messages(), ElementsAre("GenerateVportWwpn failed - status - 12"));
}

TEST_F(HBAAPIVports, GenerateWithANullPointerTakesAndReleasesTheMutexAndLogs) {
    Bind();
    EXPECT_FALSE(api.GenerateVportWwpn(7, nullptr));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GenerateVportWwpn wwpn is NULL"));
    EXPECT_EQ(takenAndGivenBack, library.mutex.Events());
    EXPECT_THAT(library.lookups, IsEmpty());
}

TEST_F(HBAAPIVports, GenerateWithANullPointerLogsEvenWithoutTheExport) {
    library.missing = {"GeneratePortWWN"};
    Bind();
    EXPECT_FALSE(api.GenerateVportWwpn(7, nullptr));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::GenerateVportWwpn wwpn is NULL"));
}

// --- CreateVport and RemoveVport

TEST_F(HBAAPIVports, CreatePassesTheRequestOnAndLeavesTheStatusAlone) {
    Bind();
    library.CreateVPort = [this](HBA_HANDLE, ORVAN_FC_PORT* passed) {
        EXPECT_EQ(&request, passed);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(api.CreateVport(7, request, status));
    EXPECT_EQ(77u, status);
    EXPECT_THAT(library.calls, ElementsAre("CreateVPort 7 500A098186778F29"));
    EXPECT_THAT(Messages(), ElementsAre("CreateVport Succeeded"));
}

TEST_F(HBAAPIVports, CreateFailingWithStatusFiveHandsOutFive) {
    Bind();
    library.CreateVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) { return HBA_STATUS_ERROR_ILLEGAL_WWN; };
    EXPECT_FALSE(api.CreateVport(7, request, status));
    EXPECT_EQ(5u, status);
    EXPECT_THAT(Messages(), ElementsAre("CreateVport failed - status - 5"));
}

TEST_F(HBAAPIVports, CreateThatNeverReachedTheLibraryLeavesTheStatusAlone) {
    library.missing = {"CreateVPort"};
    Bind();
    EXPECT_FALSE(api.CreateVport(7, request, status));
    EXPECT_EQ(77u, status);
}

TEST_F(HBAAPIVports, RemovePassesTheRequestOn) {
    Bind();
    library.RemoveVPort = [this](HBA_HANDLE, ORVAN_FC_PORT* passed) {
        EXPECT_EQ(&request, passed);
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(api.RemoveVport(7, request));
    EXPECT_THAT(library.calls, ElementsAre("RemoveVPort 7 500A098186778F29"));
    EXPECT_THAT(Messages(), ElementsAre("RemoveVport Succeeded"));
}

TEST_F(HBAAPIVports, RemoveFailureLogsTheStatus) {
    Bind();
    library.RemoveVPort = [](HBA_HANDLE, ORVAN_FC_PORT*) { return HBA_STATUS_ERROR_ARG; };
    EXPECT_FALSE(api.RemoveVport(7, request));
    EXPECT_THAT(Messages(), ElementsAre("RemoveVport failed - status - 4"));
}

// --- GetPorts

TEST_F(HBAAPIVports, PortsAreTheLibrarysAndTheirMessagesNameAnotherOperation) {
    library.ports.resize(2);
    library.ports[1].PortWWN = TARGET_WWN;
    Bind();
    buffer.count = 3;
    EXPECT_TRUE(api.GetPorts(7, list, count));
    EXPECT_EQ(2u, count);
    EXPECT_EQ(0, std::memcmp(&buffer.entry[1].PortWWN, &TARGET_WWN, 8));
    EXPECT_THAT(library.calls, ElementsAre("GetFCPortList 7 3"));
    EXPECT_THAT(Messages(), ElementsAre("GetVports Succeeded"));
}

TEST_F(HBAAPIVports, PortsInATooSmallBufferFailWithTheNeededCount) {
    library.ports.resize(3);
    Bind();
    buffer.count = 1;
    EXPECT_FALSE(api.GetPorts(7, list, count));
    EXPECT_EQ(3u, count);
    EXPECT_THAT(Messages(), ElementsAre("GetVports failed - status - 7"));
}

TEST_F(HBAAPIVports, PortsWithAnotherStatusLeaveTheCountAlone) {
    Bind();
    library.GetFCPortList = [](HBA_HANDLE, ORVAN_FC_PORT_LIST* out) {
        out->NumberOfEntries = 3;
        return HBA_STATUS_ERROR;
    };
    EXPECT_FALSE(api.GetPorts(7, list, count));
    EXPECT_EQ(99u, count);
    EXPECT_THAT(Messages(), ElementsAre("GetVports failed - status - 1"));
}

TEST_F(HBAAPIVports, PortsWithoutAListTakeAndReleaseTheMutexAndLog) {
    Bind();
    EXPECT_FALSE(api.GetPorts(7, nullptr, count));
    EXPECT_EQ(99u, count);
    EXPECT_THAT(Messages(),
                ElementsAre("CHBAAPIInt::Null Pointer passed, memory must be allocated before calling this function"));
    EXPECT_EQ(takenAndGivenBack, library.mutex.Events());
    EXPECT_THAT(library.lookups, IsEmpty());
}

// --- GetPortsCount

TEST_F(HBAAPIVports, CountIsAskedForWithOneZeroedEntry) {
    Bind();
    library.GetFCPortList = [](HBA_HANDLE, ORVAN_FC_PORT_LIST* out) {
        constexpr ORVAN_FC_PORT ZERO{};
        EXPECT_EQ(1u, out->NumberOfEntries);
        EXPECT_EQ(0, std::memcmp(out->entry, &ZERO, sizeof ZERO));
        return HBA_STATUS_OK;
    };
    EXPECT_EQ(1, api.GetPortsCount(7));
    EXPECT_THAT(library.calls, ElementsAre("GetFCPortList 7 1"));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIVports, CountOfAnAdapterWithoutPortsIsZero) {
    Bind();
    EXPECT_EQ(0, api.GetPortsCount(7));
}

TEST_F(HBAAPIVports, CountIsRightWhenOneEntryWasTooSmall) {
    library.ports.resize(5);
    Bind();
    EXPECT_EQ(5, api.GetPortsCount(7));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIVports, CountWithAnotherStatusIsZeroWithoutAMessage) {
    Bind();
    library.GetFCPortList = [](HBA_HANDLE, ORVAN_FC_PORT_LIST* out) {
        out->NumberOfEntries = 5;
        return HBA_STATUS_ERROR;
    };
    EXPECT_EQ(0, api.GetPortsCount(7));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIVports, CountIsZeroWhenTheExportIsMissing) {
    library.missing = {"GetFCPortList"};
    library.ports.resize(5);
    Bind();
    EXPECT_EQ(0, api.GetPortsCount(7));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIVports, CountIsZeroWhenThereIsNoMemory) {
    library.ports.resize(5);
    Bind();
    {
        const NoMemoryForOnePort noMemory;
        EXPECT_EQ(0, api.GetPortsCount(7));
    }
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_EQ(takenAndGivenBack, library.mutex.Events());
    EXPECT_EQ(5, api.GetPortsCount(7));
}

// --- What the five share

namespace {

struct VportOperation {
    const char* name;
    const char* label; // what its messages call it
    const wchar_t* exportName;
    const char* function;
    std::function<bool(CHBAAPIInt&)> run;
};

std::ostream& operator<<(std::ostream& out, const VportOperation& operation) {
    return out << operation.name;
}

ORVAN_FC_PORT_LIST g_onePort{};

const VportOperation VPORT_OPERATIONS[] = {
    {"GenerateVportWwpn", "GenerateVportWwpn", L"ORVAN_GeneratePortWWN", "GeneratePortWWN",
     [](CHBAAPIInt& api) {
         HBA_WWN wwpn;
         return api.GenerateVportWwpn(7, &wwpn) != FALSE;
     }},
    {"CreateVport", "CreateVport", L"ORVAN_CreateVPort", "CreateVPort",
     [](CHBAAPIInt& api) {
         ORVAN_FC_PORT request{};
         HBA_STATUS status;
         return api.CreateVport(7, request, status) != FALSE;
     }},
    {"RemoveVport", "RemoveVport", L"ORVAN_RemoveVPort", "RemoveVPort",
     [](CHBAAPIInt& api) {
         ORVAN_FC_PORT request{};
         return api.RemoveVport(7, request) != FALSE;
     }},
    {"GetPorts", "GetVports", L"ORVAN_GetFCPortList", "GetFCPortList",
     [](CHBAAPIInt& api) {
         ULONG count;
         g_onePort.NumberOfEntries = 1;
         return api.GetPorts(7, &g_onePort, count) != FALSE;
     }},
    {"GetPortsCount", "GetVportCount", L"ORVAN_GetFCPortList", "GetFCPortList",
     [](CHBAAPIInt& api) { return api.GetPortsCount(7) > 0; }},
};

class HBAAPIVportOperations : public HBAAPIFixture, public testing::WithParamInterface<VportOperation> {
  protected:
    void SetUp() override { library.ports.resize(1); }
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Operations, HBAAPIVportOperations, testing::ValuesIn(VPORT_OPERATIONS),
                         [](const auto& info) { return std::string(info.param.name); });

TEST_P(HBAAPIVportOperations, WithoutTheExportFailsSilently) {
    library.missing = {GetParam().function};
    Bind();
    EXPECT_FALSE(GetParam().run(api));
    EXPECT_THAT(Messages(), IsEmpty());
    EXPECT_FALSE(library.mutex.IsHeld());
}

TEST_P(HBAAPIVportOperations, OfAnUnloadedLibraryFailsSilently) {
    Bind();
    api.DeInitHBAAPIMod();
    Forget();
    EXPECT_FALSE(GetParam().run(api));
    EXPECT_THAT(Messages(), IsEmpty());
    EXPECT_THAT(library.calls, IsEmpty());
}

TEST_P(HBAAPIVportOperations, OfALibraryThatIsNotReadyIsMade) {
    library.missing = {"InitializeLibrary"};
    Bind();
    EXPECT_TRUE(GetParam().run(api));
    EXPECT_THAT(library.calls, SizeIs(1));
}

TEST_P(HBAAPIVportOperations, FailsWithItsMessageWhenTheExportNameCannotBeConverted) {
    Bind();
    const BrokenNarrowing broken(GetParam().exportName);
    EXPECT_FALSE(GetParam().run(api));
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::" + std::string(GetParam().label) + " ConvertTCHARToChar failed"));
    EXPECT_THAT(library.calls, IsEmpty());
    EXPECT_FALSE(library.mutex.IsHeld());
}

TEST_P(HBAAPIVportOperations, TracesItselfUnderItsOwnName) {
    Bind();
    GetParam().run(api);
    const std::string operation = "CHBAAPIInt::" + std::string(GetParam().name);
    EXPECT_THAT(Traces(operation),
                ElementsAre("ENTRY:  " + operation,
                            "EXIT:  " + operation +
                                (operation == "CHBAAPIInt::GetPortsCount" ? ", nReturn=1" : ", bReturn=true")));
}
