// What the neighbours are asked, in the order in which an agent asks them for a host that reads everything.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tools/recording/Modules.h"
#include "tools/recording/Session.h"

namespace recording {

// Everything, several times over. For Session::Run.
void AskNeighbours(Session& session);

// How often everything is asked: what differs is found, and how.
constexpr int PASSES = 3;

// One pass over one adapter of the vendor library, with all that lies behind it.
class AdapterQuestions {
  public:
    AdapterQuestions(Session& session, const LoadedModule& library, HBA_ENTRYPOINTSV2& table,
                     const std::string& adapter)
        : m_session(session), m_library(library), m_table(table), m_adapter(adapter) {}
    ~AdapterQuestions() { Close(); }
    AdapterQuestions(const AdapterQuestions&) = delete;
    AdapterQuestions& operator=(const AdapterQuestions&) = delete;

    // Initializes the library and has it register its table; false: it refuses.
    static bool Bind(Session& session, const LoadedModule& library, HBA_ENTRYPOINTSV2& table);

    // Opens it anew, as an agent does for each of these.
    void AskRecord();
    void AskFabrics();
    void AskVlans();
    void AskStatistics();
    // What an agent does first.
    bool Open();

  private:
    template <class List> struct ListRead;

    Request Of(const char* function) const { return {function, m_adapter, {}, 0, 0, 0, 0}; }
    void Close();
    // One read of a list with room for so many entries, its bytes before each this one.
    template <class List>
    ListRead<List> ReadList(const char* function, HBA_STATUS (*ask)(HBA_HANDLE, List*), std::uint32_t room,
                            std::uint8_t unfilled);
    template <class List> auto AskList(const char* function, HBA_STATUS (*ask)(HBA_HANDLE, List*));
    std::vector<ORVAN_FC_PORT> AskPorts();
    void AskTargets(const ORVAN_FC_PORT& port);
    void AskInquiry(const HBA_WWN& port, HBA_UINT8 evpd, HBA_UINT32 page);
    void AskUnits(const ORVAN_TARGET_ENTRY& target);
    void AskCapacity(const HBA_WWN& initiator, const HBA_FCPID& unit);

    Session& m_session;
    const LoadedModule& m_library;
    HBA_ENTRYPOINTSV2& m_table;
    const std::string m_adapter;
    HBA_HANDLE m_handle = HBA_HANDLE_INVALID;
};

// The DCB service's answers about an adapter. Nothing starts a service that does not run.
void AskDcb(Session& session, const std::string& adapter);
// Where the device with the identifier is on PCI.
void AskPci(Session& session, const std::string& adapter, const std::string& instance);

} // namespace recording
