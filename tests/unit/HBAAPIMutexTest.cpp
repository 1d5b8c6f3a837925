// Every operation that takes the cross-process mutex, in every state that the mutex can be in.
#include <functional>
#include <iterator>
#include <stdexcept>

#include "tests/kit/HandleCount.h"
#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Operation {
    const char* name;
    const char* lockMessage;
    std::function<bool(CHBAAPIInt&)> run;
    // Puts something into the place of what the library does in the operation.
    std::function<void(FakeHbaLibrary&, std::function<void()>)> duringCall;
    bool worksWithoutMutex = false;
};

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    return out << operation.name;
}

HBA_WWN g_wwpn;
ORVAN_FC_PORT g_request{};
ORVAN_FC_PORT_LIST g_list{};
HBA_STATUS g_status;
HBA_HANDLE g_handle;
ULONG g_count;
wchar_t g_name[CHBAAPIInt::NAME_SIZE];

const Operation OPERATIONS[] = {
    {"InitHBAAPIMod", "CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.InitHBAAPIMod() != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.InitializeLibrary = [act] { return act(), HBA_STATUS_OK; };
     }},
    {"InitHBAAPIModOfADevice", "CHBAAPIInt::InitHBAAPIMod failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, g_name) != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.GetFCoEControllerInfo = [act](const wchar_t*, HBA_UINT32*, char*) { return act(), HBA_STATUS_OK; };
     }},
    {"DeInitHBAAPIMod", "CHBAAPIInt::DeInitHBAAPIMod Failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.DeInitHBAAPIMod() != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) { library.whileFreed = act; }, true},
    {"GetAdapterHandle", "GetAdapterHandle Failure to get Mutex",
     [](CHBAAPIInt& api) { return api.GetAdapterHandle(L"a", g_handle) != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.GetFCoEControllerHandle = [act](const char*) { return act(), HBA_HANDLE{7}; };
     }},
    {"GenerateVportWwpn", "CHBAAPIInt::GenerateVportWwpn failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.GenerateVportWwpn(7, &g_wwpn) != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.GeneratePortWWN = [act](HBA_HANDLE, HBA_WWN*) { return act(), HBA_STATUS_OK; };
     }},
    {"CreateVport", "CHBAAPIInt::CreateVport failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.CreateVport(7, g_request, g_status) != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.CreateVPort = [act](HBA_HANDLE, ORVAN_FC_PORT*) { return act(), HBA_STATUS_OK; };
     }},
    {"RemoveVport", "CHBAAPIInt::RemoveVport failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.RemoveVport(7, g_request) != FALSE; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.RemoveVPort = [act](HBA_HANDLE, ORVAN_FC_PORT*) { return act(), HBA_STATUS_OK; };
     }},
    {"GetPorts", "CHBAAPIInt::GetVports failed to acquire Mutex",
     [](CHBAAPIInt& api) {
         g_list.NumberOfEntries = 1;
         return api.GetPorts(7, &g_list, g_count) != FALSE;
     },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.GetFCPortList = [act](HBA_HANDLE, ORVAN_FC_PORT_LIST*) { return act(), HBA_STATUS_OK; };
     }},
    {"GetPortsCount", "CHBAAPIInt::GetVportCount failed to acquire Mutex",
     [](CHBAAPIInt& api) { return api.GetPortsCount(7) > 0; },
     [](FakeHbaLibrary& library, std::function<void()> act) {
         library.GetFCPortList = [act](HBA_HANDLE, ORVAN_FC_PORT_LIST* list) {
             act();
             list->NumberOfEntries = 2;
             return HBA_STATUS_ERROR_MORE_DATA;
         };
     }},
};

class HBAAPIMutex : public HBAAPIFixture, public testing::WithParamInterface<Operation> {
  protected:
    void SetUp() override {
        Bind();
        library.ports.resize(1);
        g_handle = 0;
        library.ClearCalls();
    }
    bool Run() { return GetParam().run(api); }

    // The operation without the mutex: one message, and the library untouched, except by the stop.
    void ExpectRefused(const Texts& events) {
        EXPECT_EQ(GetParam().worksWithoutMutex, Run());
        EXPECT_THAT(Messages(), ElementsAre(GetParam().lockMessage));
        EXPECT_EQ(events, library.mutex.Events());
        EXPECT_THAT(library.lookups, IsEmpty());
        if (GetParam().worksWithoutMutex)
            EXPECT_THAT(library.calls, ElementsAre("FreeLibrary"));
        else
            EXPECT_THAT(library.calls, IsEmpty());
    }
};

const Texts TAKEN_AND_GIVEN_BACK = {"create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"};

// The operations that call a function of the library, which may throw; a stop only frees it.
class HBAAPIMutexCalls : public HBAAPIMutex {};

std::string Name(const testing::TestParamInfo<Operation>& info) {
    return info.param.name;
}

std::vector<Operation> CallingOperations() {
    std::vector<Operation> operations(std::begin(OPERATIONS), std::end(OPERATIONS));
    std::erase_if(operations, [](const Operation& operation) { return operation.worksWithoutMutex; });
    return operations;
}

} // namespace

INSTANTIATE_TEST_SUITE_P(Operations, HBAAPIMutex, testing::ValuesIn(OPERATIONS), Name);
INSTANTIATE_TEST_SUITE_P(Operations, HBAAPIMutexCalls, testing::ValuesIn(CallingOperations()), Name);

TEST_P(HBAAPIMutex, FreeIsTakenOnceAndGivenBack) {
    EXPECT_TRUE(Run());
    EXPECT_EQ(TAKEN_AND_GIVEN_BACK, library.mutex.Events());
    EXPECT_FALSE(library.mutex.IsHeld());
}

TEST_P(HBAAPIMutex, IsHeldWhileTheLibraryWorks) {
    bool held = false;
    GetParam().duringCall(library, [&] { held = library.mutex.IsHeld(); });
    EXPECT_TRUE(Run());
    EXPECT_TRUE(held);
    EXPECT_FALSE(library.mutex.IsHeld());
    library.whileFreed = nullptr; // refers to the flag
}

TEST_P(HBAAPIMutex, HeldElsewhereForTooLongRefuses) {
    const MutexHolder holder;
    library.mutex.waitLimit = 5;
    ExpectRefused(TAKEN_AND_GIVEN_BACK);
}

TEST_P(HBAAPIMutex, AbandonedRefusesOnceAndThenServes) {
    const AbandonedMutex abandoned;
    ExpectRefused(TAKEN_AND_GIVEN_BACK);
    EXPECT_FALSE(library.mutex.IsHeld()) << "the abandoned mutex was given back";
    Forget();
    EXPECT_TRUE(Run());
    EXPECT_FALSE(log.Has(GetParam().lockMessage));
}

TEST_P(HBAAPIMutex, ThatCannotBeCreatedRefuses) {
    library.mutex.createError = ERROR_INVALID_HANDLE;
    ExpectRefused({"create Global\\CHBAAPINTMUT"});
}

TEST_P(HBAAPIMutex, OfAnotherAccountIsOpenedAndServes) {
    library.mutex.createError = ERROR_ACCESS_DENIED;
    EXPECT_TRUE(Run());
    EXPECT_EQ((Texts{"create Global\\CHBAAPINTMUT", "open Global\\CHBAAPINTMUT SYNCHRONIZE", "wait 10000", "release",
                     "close"}),
              library.mutex.Events());
    EXPECT_FALSE(log.Has(GetParam().lockMessage));
}

TEST_P(HBAAPIMutex, OfAnotherAccountThatLetsNobodyWaitRefuses) {
    library.mutex.createError = ERROR_ACCESS_DENIED;
    library.mutex.openError = ERROR_ACCESS_DENIED;
    ExpectRefused({"create Global\\CHBAAPINTMUT", "open Global\\CHBAAPINTMUT SYNCHRONIZE"});
}

TEST_P(HBAAPIMutex, ThatCannotBeWaitedForRefuses) {
    library.mutex.cannotWait = true;
    ExpectRefused(TAKEN_AND_GIVEN_BACK);
}

TEST_P(HBAAPIMutexCalls, IsGivenBackWhenTheLibraryThrows) {
    GetParam().duringCall(library, [] { throw std::runtime_error("inside"); });
    EXPECT_THROW(Run(), std::runtime_error);
    EXPECT_EQ(TAKEN_AND_GIVEN_BACK, library.mutex.Events());
    EXPECT_FALSE(library.mutex.IsHeld());
}

TEST_P(HBAAPIMutex, LeavesNoHandleBehind) {
    library.mutex.waitLimit = 1;
    const auto work = [&](int rounds) {
        for (int n = 0; n < rounds; ++n) {
            Run();
            const MutexHolder holder;
            Run();
        }
    };
    work(2); // what the run time opens once and keeps
    std::size_t before = 0, after = CountHandles();
    ASSERT_GT(after, 0u);
    // A lock of the run time keeps a handle from the first time on that a thread had to wait for it, which may be here:
    // then the next rounds tell.
    for (int attempt = 0; attempt < 3 && after != before; ++attempt) {
        before = after;
        work(10);
        after = CountHandles();
    }
    EXPECT_EQ(before, after);
}

class HBAAPIMutexWait : public HBAAPIFixture {};

// Each function of an initialization, not only the first.
TEST_F(HBAAPIMutexWait, IsHeldForTheRegistrationToo) {
    bool held = false;
    library.RegisterLibraryV2 = [&](HBA_ENTRYPOINTSV2* table) {
        held = library.mutex.IsHeld();
        *table = library.Handlers();
        return HBA_STATUS_OK;
    };
    EXPECT_TRUE(api.InitHBAAPIMod());
    EXPECT_TRUE(held);
}

TEST_F(HBAAPIMutexWait, GivenBackWithinTheTimeServes) {
    Bind();
    auto holder = std::make_unique<MutexHolder>();
    bool served = false;
    std::thread caller([&] {
        HBA_HANDLE handle = 0;
        served = api.GetAdapterHandle(L"a", handle);
    });
    while (library.mutex.Events().size() < 2) // created and waiting
        std::this_thread::yield();
    EXPECT_THAT(library.calls, IsEmpty());
    holder.reset();
    caller.join();
    EXPECT_TRUE(served);
}

// The queries, the SCSI commands and closing a handle run without it.
TEST_F(HBAAPIMutexWait, OtherOperationsDoNotTakeIt) {
    Bind();
    const MutexHolder holder;
    HBA_ADAPTERATTRIBUTES adapter;
    HBA_PORTATTRIBUTES port;
    HBA_PORTSTATISTICS statistics;
    ORVAN_FC_NIC_PROPERTIES properties{};
    HBA_FCPTARGETMAPPING mapping{};
    ORVAN_TARGET_LIST targets{};
    ORVAN_VLAN_LIST vlans{};
    BOOL more;
    ULONG count;
    BYTE response[8], sense[8];
    EXPECT_TRUE(api.GetAdapterAtrributes(7, adapter));
    EXPECT_TRUE(api.GetAdapterPortAttributes(7, port));
    EXPECT_TRUE(api.GetPortStatistics(7, statistics));
    EXPECT_TRUE(api.GetFCEthernetProperties(7, &properties));
    EXPECT_TRUE(api.GetTargetsInfo(7, &mapping, more, count));
    EXPECT_TRUE(api.GetTargetList(7, &targets, more, count));
    EXPECT_TRUE(api.GetVLANList(7, &vlans, more, count));
    EXPECT_TRUE(api.RetrieveSCSIInfo(7, TARGET_WWN, 0, 0, 0, response, 8, sense, 8));
    EXPECT_TRUE(api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8));
    EXPECT_TRUE(api.RetrieveLUNCapacity16(7, TARGET_WWN, 0, response, 8, sense, 8));
    EXPECT_TRUE(api.RefreshTargetInfo(7));
    HBA_HANDLE handle = 7;
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_EQ(12u, library.calls.size()) << "each was made";
    EXPECT_THAT(library.mutex.Events(), IsEmpty());
}
