// The simulated vendor library as a test uses it: loaded, fed with a topology, unloaded at the end.
#pragma once

#include <string>

#include <gtest/gtest.h>

#include <windows.h>

#include "FcoeAgent/OrvanHbaApi.h"
#include "simulator/control/SimControl.h"
#include "simulator/topology/Topology.h"
#include "tests/kit/FindFunction.h"
#include "tests/kit/PrivateHive.h"

// One adapter; the text is inserted into its object. Starts with a comma or is empty.
std::string OneAdapter(const std::string& more = {}, const std::string& faults = {});
// The same adapter with so many targets of one LUN each.
std::string AdapterWithTargets(int count, const std::string& faults = {});

HBA_WWN HbaWwn(const char* text);
std::string WwnOf(const HBA_WWN& wwn);

class LoadedLibrary {
  public:
    // Loads the module, which simulates the topology from then on. Without a topology: what is configured.
    explicit LoadedLibrary(const std::string& topology);
    LoadedLibrary();
    ~LoadedLibrary();
    LoadedLibrary(const LoadedLibrary&) = delete;
    LoadedLibrary& operator=(const LoadedLibrary&) = delete;

    // For FIND_FUNCTION and NEED_FUNCTION.
    operator HMODULE() const { return m_module; }
    // The handler table, as the library fills it in.
    HBA_ENTRYPOINTSV2 Table() const;
    // A handle of the one adapter.
    HBA_HANDLE Open(const char* name = "com.orvan-FCoE-0") const;
    // The names of the adapter's FC ports.
    std::vector<std::string> PortNames(HBA_HANDLE handle) const;
    HBA_STATUS Create(HBA_HANDLE handle, const char* wwn) const;
    HBA_STATUS Remove(HBA_HANDLE handle, const char* wwn) const;
    std::string CallLines() const;

  private:
    PrivateHive m_hive; // no topology and state of the machine
    HMODULE m_module;
};
