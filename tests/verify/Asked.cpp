#include "tests/verify/Asked.h"

#include <gtest/gtest.h>

#include <windows.h>

#include "simulator/simctl/CheckedFile.h"
#include "simulator/simctl/Run.h"
#include "simulator/topology/Functions.h"
#include "simulator/topology/Text.h"
#include "tests/kit/ProgramFolder.h"

namespace {

std::string Key(const std::string& code, const std::string& function) {
    return function.empty() ? code : code + ' ' + function;
}

struct Captured : simctl::Console {
    void Out(std::string_view text) override { out += text; }
    void Err(std::string_view text) override { err += text; }
    std::string out, err;
};

} // namespace

Told Asked::All() const {
    Told told;
    for (const auto& deviation : deviations)
        told.insert(Key(deviation.code, deviation.function));
    return told;
}

std::set<std::string> Asked::CodesOf(std::string_view function) const {
    std::set<std::string> codes;
    for (const auto& deviation : deviations) {
        if (deviation.function == function)
            codes.insert(deviation.code);
    }
    return codes;
}

Asked AskInProcess(verify::Neighbour neighbour, const std::wstring& file, std::vector<std::string> adapters,
                   unsigned slowMs, bool alone) {
    verify::Request request;
    request.file = (ProgramFolder() / file).wstring();
    request.adapters = std::move(adapters);
    request.slowMs = slowMs;
    for (const auto name : sim::FUNCTION_NAMES) {
        if (alone)
            request.skipped.insert("threads " + std::string(name));
    }
    Asked asked;
    asked.outcome = neighbour == verify::Neighbour::Library ? AskLibrary(request, asked) : AskCoreAgent(request, asked);
    return asked;
}

std::vector<std::string> BuiltInAdapters() {
    const simctl::CheckedFile builtIn = simctl::CheckBuiltIn();
    std::vector<std::string> identifiers;
    for (const auto& adapter : builtIn.Topology().adapters)
        identifiers.push_back(adapter.identifier);
    return identifiers;
}

Variable::Variable(const wchar_t* name, const std::wstring& value) : m_name(name) {
    EXPECT_TRUE(SetEnvironmentVariableW(name, value.c_str()));
}

Variable::~Variable() {
    SetEnvironmentVariableW(m_name, nullptr);
}

std::string ProgramFile(const std::wstring& name) {
    return sim::Utf8((ProgramFolder() / name).wstring());
}

Printed RunSimctl(const std::vector<std::string>& arguments) {
    Captured console;
    const int code = simctl::Run(console, arguments);
    return {code, console.out, console.err};
}

Told DeviationsOf(const Printed& printed) {
    Told told;
    const auto document = nlohmann::json::parse(printed.out);
    for (const auto& neighbour : document["neighbours"]) {
        for (const auto& deviation : neighbour["deviations"])
            told.insert(Key(deviation["code"], deviation["function"]));
    }
    return told;
}
