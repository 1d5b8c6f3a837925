// Unloading the vendor library, and what calls see of it.
#include <memory>
#include <new>
#include <stdexcept>
#include <thread>

#include "tests/unit/FailingMemory.h"
#include "tests/unit/HBAAPIFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {
class HBAAPIUnload : public HBAAPIFixture {
  protected:
    // Starts a rescan that stays inside the library's export.
    void RescanInside(CallInside& call) {
        library.RescanScsiBus = [&call](HBA_HANDLE, HBA_UINT32) {
            call.Stay();
            return HBA_STATUS_OK;
        };
        call.Start([this] { EXPECT_TRUE(api.RefreshTargetInfo(7)); });
    }
};
} // namespace

// --- DeInitHBAAPIMod and destruction

TEST_F(HBAAPIUnload, DeInitWithNoCallUnderWayUnloadsAtOnceAndUnderTheLock) {
    Bind();
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_THAT(library.calls, ElementsAre("FreeLibrary"));
    EXPECT_THAT(library.mutex.Events(), ElementsAre("create Global\\CHBAAPINTMUT", "wait 10000", "release", "close"));
    EXPECT_THAT(Messages(), IsEmpty());
}

TEST_F(HBAAPIUnload, LibraryIsFreedWhileTheMutexIsHeld) {
    Bind();
    bool held = false;
    library.whileFreed = [&] { held = library.mutex.IsHeld(); };
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_EQ(1, library.frees);
    EXPECT_TRUE(held);
}

TEST_F(HBAAPIUnload, DeInitTwiceFreesOnce) {
    Bind();
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_EQ(1, library.frees);
}

TEST_F(HBAAPIUnload, DeInitTakesTheHandlersAwayBeforeItWaitsForTheLock) {
    Bind();
    auto holder = std::make_unique<MutexHolder>();
    std::thread stop([&] { api.DeInitHBAAPIMod(); });
    while (library.mutex.Events().size() < 2) // created and waiting
        std::this_thread::yield();
    EXPECT_TRUE(library.Loaded());
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    HBA_HANDLE handle = 7;
    EXPECT_TRUE(api.CloseAdapHandle(handle));
    EXPECT_THAT(library.calls, IsEmpty()) << "version 1 is cleared";
    BYTE response[8], sense[8];
    EXPECT_TRUE(api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8))
        << "what version 2 adds stays while the library is loaded";
    holder.reset();
    stop.join();
    EXPECT_FALSE(library.Loaded());
    EXPECT_FALSE(api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8));
}

TEST_F(HBAAPIUnload, DestroyedObjectGivesUpTheLibrary) {
    auto other = std::make_unique<CHBAAPIInt>();
    EXPECT_TRUE(other->InitHBAAPIMod());
    other.reset();
    EXPECT_FALSE(library.Loaded());
}

TEST_F(HBAAPIUnload, TwoObjectsHoldTheLibraryIndependently) {
    Bind();
    CHBAAPIInt other;
    EXPECT_TRUE(other.InitHBAAPIMod());
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(other.GetAdapterHandle(L"a", handle));
    EXPECT_TRUE(other.DeInitHBAAPIMod());
    EXPECT_FALSE(library.Loaded());
}

// --- Without memory

TEST_F(HBAAPIUnload, DeInitNeedsNoMemory) {
    Bind();
    BOOL result = FALSE;
    int refused = 0;
    {
        const FailingMemory noMemory;
        result = api.DeInitHBAAPIMod();
        refused = noMemory.Refused();
    }
    EXPECT_TRUE(result);
    EXPECT_EQ(0, refused);
    EXPECT_FALSE(library.Loaded());
    EXPECT_THAT(Traces("CHBAAPIInt::DeInitHBAAPIMod"),
                ElementsAre("ENTRY:  CHBAAPIInt::DeInitHBAAPIMod", "EXIT:  CHBAAPIInt::DeInitHBAAPIMod, bReturn=true"));
}

TEST_F(HBAAPIUnload, DeInitWithoutTheMutexNeedsNoMemory) {
    Bind();
    library.mutex.createError = ERROR_INVALID_HANDLE;
    int refused = 0;
    {
        const FailingMemory noMemory;
        api.DeInitHBAAPIMod();
        refused = noMemory.Refused();
    }
    EXPECT_EQ(0, refused);
    EXPECT_FALSE(library.Loaded());
    EXPECT_THAT(Messages(), ElementsAre("CHBAAPIInt::DeInitHBAAPIMod Failed to acquire Mutex"));
}

TEST_F(HBAAPIUnload, DestructionNeedsNoMemory) {
    auto other = std::make_unique<CHBAAPIInt>();
    EXPECT_TRUE(other->InitHBAAPIMod());
    int refused = 0;
    {
        const FailingMemory noMemory;
        other.reset();
        refused = noMemory.Refused();
    }
    EXPECT_EQ(0, refused);
    EXPECT_FALSE(library.Loaded());
}

// Binding does need memory. When it runs out the library stays as it was found.
TEST_F(HBAAPIUnload, BindingThatRunsOutOfMemoryLeavesWhatWasBound) {
    Bind();
    library.missing = {"InitializeLibrary", "RegisterLibraryV2"}; // so that nothing but the binding allocates
    wchar_t name[CHBAAPIInt::NAME_SIZE];
    bool threw = false;
    {
        const FailingMemory noMemory;
        try {
            (void)api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, name);
        } catch (const std::bad_alloc&) {
            threw = true;
        }
    }
    EXPECT_TRUE(threw);
    EXPECT_FALSE(library.mutex.IsHeld());
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    EXPECT_THAT(library.calls, ElementsAre("GetAdapterAttributes 7"));
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_FALSE(library.Loaded());
}

// --- Unloading while calls are under way

TEST_F(HBAAPIUnload, CallInsideAHandlerKeepsTheLibraryLoadedUntilItReturns) {
    Bind();
    CallInside call;
    library.GetAdapterAttributes = [&](HBA_HANDLE, HBA_ADAPTERATTRIBUTES*) {
        call.Stay();
        return HBA_STATUS_OK;
    };
    call.Start([&] {
        HBA_ADAPTERATTRIBUTES attributes;
        EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    });
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_EQ(0, library.frees);
    HBA_HANDLE handle = 0;
    EXPECT_FALSE(api.GetAdapterHandle(L"a", handle)) << "new calls find no library";
    call.Finish();
    EXPECT_EQ(1, library.frees);
}

TEST_F(HBAAPIUnload, LastCallToReturnUnloadsWithoutTheMutex) {
    Bind();
    CallInside call;
    RescanInside(call);
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    library.mutex.Clear();
    call.Finish();
    EXPECT_FALSE(library.Loaded());
    EXPECT_THAT(library.mutex.Events(), IsEmpty());
}

TEST_F(HBAAPIUnload, CallInsideAnExportKeepsTheLibraryLoadedUntilItReturns) {
    Bind();
    CallInside call;
    RescanInside(call);
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_EQ(0, library.frees);
    call.Finish();
    EXPECT_EQ(1, library.frees);
}

TEST_F(HBAAPIUnload, LastOfSeveralCallsUnloads) {
    Bind();
    CallInside first, second;
    library.GetTargetList = [&](HBA_HANDLE handle, ORVAN_TARGET_LIST*) {
        (handle == 1 ? first : second).Stay();
        return HBA_STATUS_OK;
    };
    const auto read = [&](HBA_HANDLE handle) {
        ORVAN_TARGET_LIST list{};
        BOOL more;
        ULONG count;
        EXPECT_TRUE(api.GetTargetList(handle, &list, more, count));
    };
    first.Start([&] { read(1); });
    second.Start([&] { read(2); });
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    first.Finish();
    EXPECT_EQ(0, library.frees);
    second.Finish();
    EXPECT_EQ(1, library.frees);
}

TEST_F(HBAAPIUnload, CallThatEndsByAnExceptionUnloadsToo) {
    Bind();
    CallInside call;
    library.RescanScsiBus = [&](HBA_HANDLE, HBA_UINT32) -> HBA_STATUS {
        call.Stay();
        throw std::runtime_error("inside");
    };
    call.Start([&] { EXPECT_THROW(api.RefreshTargetInfo(7), std::runtime_error); });
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_EQ(0, library.frees);
    call.Finish();
    EXPECT_EQ(1, library.frees);
}

TEST_F(HBAAPIUnload, LibraryLoadedAgainWhileAnOldCallIsUnderWayOutlivesThatCall) {
    Bind();
    CallInside call;
    library.RescanScsiBus = [&](HBA_HANDLE, HBA_UINT32) {
        call.Stay();
        return HBA_STATUS_OK;
    };
    call.Start([&] { api.RefreshTargetInfo(7); });
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    wchar_t name[CHBAAPIInt::NAME_SIZE] = {};
    EXPECT_TRUE(api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, name));
    call.Finish();
    EXPECT_EQ(2, library.loads);
    EXPECT_EQ(1, library.frees);
    HBA_HANDLE handle = 0;
    EXPECT_TRUE(api.GetAdapterHandle(name, handle));
}

TEST_F(HBAAPIUnload, RegistrationOvertakenByAStopWithoutTheLockLeavesNoHandlers) {
    CallInside call;
    library.RegisterLibraryV2 = [&](HBA_ENTRYPOINTSV2* table) {
        call.Stay();
        *table = library.Handlers();
        return HBA_STATUS_OK;
    };
    library.mutex.waitLimit = 20;
    call.Start([&] { EXPECT_TRUE(api.InitHBAAPIMod()); });
    EXPECT_TRUE(api.DeInitHBAAPIMod()); // carries on though the other thread has the lock
    EXPECT_TRUE(library.Loaded());
    call.Finish();
    EXPECT_FALSE(library.Loaded());
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes)); // the fake fails the test if this reaches it
    BYTE response[8], sense[8];
    EXPECT_FALSE(api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8));
}

// --- Races. The fake library fails the test when a call or look-up arrives while it is not loaded.

namespace {

// Three threads that call the library, ready or not, while the object lives.
class Callers {
  public:
    explicit Callers(CHBAAPIInt& api) {
        for (int n = 0; n < 3; ++n)
            m_threads.emplace_back([this, &api] {
                while (!m_stop)
                    CallOnce(api);
            });
    }
    ~Callers() {
        m_stop = true;
        for (auto& thread : m_threads)
            thread.join();
    }
    Callers(const Callers&) = delete;
    Callers& operator=(const Callers&) = delete;

  private:
    static void CallOnce(CHBAAPIInt& api) {
        HBA_ADAPTERATTRIBUTES attributes;
        EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
        BYTE response[8], sense[8];
        api.RetrieveLUNCapacityV2(7, HBA_PORT_WWN, TARGET_WWN, 0, response, 8, sense, 8);
        EXPECT_TRUE(api.RefreshTargetInfo(7));
        HBA_FCPTARGETMAPPING mapping{};
        BOOL more;
        ULONG count;
        api.GetTargetsInfo(7, &mapping, more, count);
        HBA_HANDLE handle = 7;
        EXPECT_TRUE(api.CloseAdapHandle(handle));
    }

    std::atomic<bool> m_stop{false};
    std::vector<std::thread> m_threads;
};

} // namespace

TEST_F(HBAAPIUnload, CallsThatRaceWithBindingAndUnloadingNeverReachAnUnloadedLibrary) {
    {
        const Callers callers(api);
        for (int n = 0; n < 60; ++n) {
            EXPECT_TRUE(api.InitHBAAPIMod());
            std::this_thread::yield();
            EXPECT_TRUE(api.DeInitHBAAPIMod());
        }
    }
    EXPECT_EQ(60, library.loads);
    EXPECT_EQ(60, library.frees);
}

// The stops here do not wait for the mutex, so they come at any moment of the binding.
TEST_F(HBAAPIUnload, StopsInTheMiddleOfBindingLeaveNoCallWithoutItsLibrary) {
    library.mutex.waitLimit = 0;
    {
        const Callers callers(api);
        std::atomic<bool> done{false};
        std::thread stopper([&] {
            while (!done)
                EXPECT_TRUE(api.DeInitHBAAPIMod());
        });
        wchar_t name[CHBAAPIInt::NAME_SIZE];
        for (int n = 0; n < 60; ++n) {
            // May fail: the stop has the mutex, or has taken the module away before the name is asked for.
            (void)api.InitHBAAPIMod();
            (void)api.InitHBAAPIMod(L"\\DEVICE\\a", TRUE, name);
        }
        done = true;
        stopper.join();
    }
    EXPECT_TRUE(api.DeInitHBAAPIMod());
    EXPECT_FALSE(library.Loaded());
    Bind();
    HBA_ADAPTERATTRIBUTES attributes;
    EXPECT_TRUE(api.GetAdapterAtrributes(7, attributes));
    EXPECT_EQ(1, library.CallsOf("GetAdapterAttributes"));
}
