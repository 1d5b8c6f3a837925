#include "tools/recording/Questions.h"

#include <cstring>

#include <fmt/format.h>

#include "tools/reading/Text.h"

namespace recording {
namespace {

constexpr wchar_t VENDOR_LIBRARY[] = L"orvanhapi.dll";

// Those that an agent calls to read.
constexpr const char* EXPORTS[] = {"HBA_RegisterLibraryV2",       "ORVAN_InitializeLibrary",
                                   "ORVAN_GetFCoEControllerInfo", "ORVAN_GetFCoEControllerHandle",
                                   "ORVAN_GetFCAndNICProperties", "ORVAN_GetTargetList",
                                   "ORVAN_GetVlanIdList",         "ORVAN_SendReadCapacity16",
                                   "ORVAN_RescanScsiBus",         "ORVAN_GeneratePortWWN",
                                   "ORVAN_CreateVPort",           "ORVAN_RemoveVPort",
                                   "ORVAN_GetFCPortList"};

void Miss(Session& session, const char* function) {
    session.Tell([&](Journal& journal) { journal.missing.insert(function); });
}

void FindExports(Session& session, const LoadedModule& library) {
    for (const char* function : EXPORTS)
        if (!library.Find<void*>(function))
            Miss(session, function);
}

// Of a table that was registered.
void FindHandlers(Session& session, const HBA_ENTRYPOINTSV2& table) {
    const auto find = [&](const char* function, bool isThere) {
        if (!isThere)
            Miss(session, function);
    };
    find("CloseAdapter", table.CloseAdapterHandler);
    find("GetAdapterAttributes", table.GetAdapterAttributesHandler);
    find("GetAdapterPortAttributes", table.GetAdapterPortAttributesHandler);
    find("GetPortStatistics", table.GetPortStatisticsHandler);
    find("GetFcpTargetMapping", table.GetFcpTargetMappingHandler);
    find("ScsiInquiry", table.ScsiInquiryHandler);
    find("ScsiReadCapacityV2", table.ScsiReadCapacityV2Handler);
}

// The core agent's adapters, with what it tells of each.
class CoreQuestions {
  public:
    explicit CoreQuestions(Session& session) : m_session(session), m_module(CoreAgentFile()) {
        const auto get = m_module.Find<PFN_GetCoreAgentPvt>("GetCoreAgentPvt");
        if (!m_module.Get())
            session.Tell([&](Journal& journal) {
                journal.Note(fmt::format("The core agent \"{}\" cannot be loaded: {}", reading::ToUtf8(CoreAgentFile()),
                                         reading::SystemMessage(m_module.Error())));
            });
        else if (!get)
            Miss(session, "GetCoreAgentPvt");
        else
            session.Ask({.function = "GetCoreAgentPvt"}, [&](Reply& reply) {
                m_core = get();
                reply.status = m_core ? 0 : 1;
            });
    }

    // The identifiers of those that support FCoE.
    std::vector<std::string> Adapters() {
        std::vector<CQelString> all;
        if (m_core)
            m_session.Ask({.function = "EnumerateAdapters"},
                          [&](Reply& reply) { Take(reply, m_core->EnumerateAdapters(all, 0)); });
        std::vector<std::string> withFcoe;
        for (const CQelString& name : all) {
            const std::string adapter = reading::ToUtf8(name);
            BYTE supports = 0;
            m_session.Ask({.function = "SupportsFcoe", .adapter = adapter}, [&](Reply& reply) {
                supports = m_core->SupportsFcoe(name);
                reply.status = supports;
            });
            if (supports)
                withFcoe.push_back(adapter);
            if (m_known.insert(adapter).second)
                Describe(name, adapter, supports != 0);
            else if (supports)
                m_session.Tell([&](Journal& journal) { Facts(journal, adapter).supportsFcoe = true; });
        }
        return withFcoe;
    }

  private:
    static AdapterFacts& Facts(Journal& journal, const std::string& adapter) {
        for (AdapterFacts& facts : journal.adapters)
            if (facts.identifier == adapter)
                return facts;
        return journal.adapters.emplace_back(AdapterFacts{.identifier = adapter});
    }
    static void Take(Reply& reply, const QEL_RESULT& result) {
        reply.status = result.ulErrCode;
        if (result.ulErrCode != 0)
            reply.controller = result.ulDetail;
    }

    void Describe(const CQelString& name, const std::string& adapter, bool supports) {
        QEL_ADAPTER_INFO info;
        m_session.Ask({.function = "GetAdapterInfo", .adapter = adapter},
                      [&](Reply& reply) { Take(reply, m_core->GetAdapterInfo(name, info, 0)); });
        m_session.Tell([&](Journal& journal) {
            AdapterFacts& facts = Facts(journal, adapter);
            facts.supportsFcoe = supports;
            facts.displayName = reading::ToUtf8(info.strDisplayName);
            facts.address = reading::ToUtf8(info.strPermanentAddress);
            facts.interfaceIndex = info.ulInterfaceIndex;
        });
    }

    Session& m_session;
    LoadedModule m_module;
    ICoreAgentPvt* m_core = nullptr;
    std::set<std::string> m_known; // what the core agent tells of an adapter is asked once
};

void AskAdapter(Session& session, const LoadedModule& library, HBA_ENTRYPOINTSV2& table, const std::string& adapter) {
    AdapterQuestions questions(session, library, table, adapter);
    questions.Open();
    questions.AskRecord();
    questions.AskFabrics();
    questions.AskVlans();
    questions.AskStatistics();
}

void AskEverything(Session& session, const LoadedModule& library) {
    HBA_ENTRYPOINTSV2 table{};
    CoreQuestions core(session);
    std::vector<std::string> adapters = core.Adapters();
    if (library.Get()) {
        const VendorTurn turn;
        AdapterQuestions::Bind(session, library, table);
    }
    for (int pass = 0; pass < PASSES; ++pass) {
        if (pass > 0)
            adapters = core.Adapters();
        for (const std::string& adapter : adapters)
            AskAdapter(session, library, table, adapter);
    }
    constexpr HBA_ENTRYPOINTSV2 EMPTY{};
    if (std::memcmp(&table, &EMPTY, sizeof table) != 0)
        FindHandlers(session, table);
}

} // namespace

void AskNeighbours(Session& session) {
    const LoadedModule library(VENDOR_LIBRARY);
    if (!library.Get())
        session.Tell([&](Journal& journal) {
            journal.Note(
                fmt::format("The vendor library {} cannot be loaded: {} It is recorded as one without functions.",
                            reading::ToUtf8(VENDOR_LIBRARY), reading::SystemMessage(library.Error())));
        });
    FindExports(session, library);
    try {
        AskEverything(session, library);
    } catch (const LibraryBusy&) { // nothing of the library can be asked then
        session.Tell([](Journal& journal) {
            journal.Note("The vendor library's mutex was not to be had for ten seconds; what it guards was not asked.");
        });
    }
}

} // namespace recording
