// The functions of the neighbours, and all the ways in which the simulator has them fail.
#pragma once

#include <ostream>
#include <string>
#include <vector>

enum class Neighbour { Library, CoreAgent, DcbService };

struct Function {
    const char* name;
    Neighbour neighbour = Neighbour::Library;
    unsigned entries = 0;     // of a list's function: what the faulty adapter has
    bool ofOneAdapter = true; // else a call concerns all
    bool online = false;      // of adapters whose ports are, so that what is not read of them shows in the link state

    friend void PrintTo(const Function& function, std::ostream* stream) { *stream << function.name; }
};

const std::vector<Function>& Functions();

struct Fault {
    std::string function;
    std::string kind;
    int moment = 0;    // on each call, on the first, on the second
    std::string entry; // of the topology's list of faults
    bool ofOneAdapter = true;
};

std::vector<Fault> FaultsOf(const Function& function);

// Why nothing outside the agent tells that the answer is another; null: it is to be told.
const char* WhyUndecidable(const Fault& fault);
// Why the function that failed is named instead of the one that gave it what made it fail; null: that one is.
const char* WhyNotNamed(const Fault& fault);
