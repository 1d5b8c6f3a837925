// Neighbours as a test has them asked.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "simulator/verify/Ask.h"

// "code function", as most tests compare them.
using Told = std::set<std::string>;

struct Asked : verify::Listener {
    void Asking(std::string_view) override {}
    void Found(const verify::Deviation& deviation) override { deviations.push_back(deviation); }
    void Waiting(unsigned) override {}

    Told All() const;
    // Codes of the function's deviations.
    std::set<std::string> CodesOf(std::string_view function) const;

    std::vector<verify::Deviation> deviations;
    verify::Outcome outcome;
};

// In this process. file: beside the program. alone: not by several threads.
Asked AskInProcess(verify::Neighbour neighbour, const std::wstring& file, std::vector<std::string> adapters,
                   unsigned slowMs = 500, bool alone = false);
std::vector<std::string> BuiltInAdapters();

// Sets what the deviating modules do, and what the simulated ones show, until its end.
class Variable {
  public:
    Variable(const wchar_t* name, const std::wstring& value);
    ~Variable();
    Variable(const Variable&) = delete;
    Variable& operator=(const Variable&) = delete;

  private:
    const wchar_t* m_name;
};

// A file beside the program, for a command line.
std::string ProgramFile(const std::wstring& name);
// What simctl prints, run in this process; the asking ones are others.
struct Printed {
    int code = -1;
    std::string out;
    std::string err;
};
Printed RunSimctl(const std::vector<std::string>& arguments);
// Of its document.
Told DeviationsOf(const Printed& printed);
