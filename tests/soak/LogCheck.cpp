#include "tests/soak/LogCheck.h"

#include <cctype>
#include <string_view>

#include <fmt/format.h>

#include <windows.h>

#include "tests/kit/TempFolder.h"

namespace soak {
namespace {

// Takes a line apart from its left to its right; good as long as all was as expected.
class Scan {
  public:
    explicit Scan(std::string_view line) : m_rest(line) {}

    Scan& Text(std::string_view text) {
        m_good = m_good && m_rest.starts_with(text);
        m_rest.remove_prefix(m_good ? text.size() : 0);
        return *this;
    }
    Scan& Maybe(char c) {
        m_rest.remove_prefix(!m_rest.empty() && m_rest.front() == c ? 1 : 0);
        return *this;
    }
    // So many digits, or any number of them, at least one, for 0.
    Scan& Digits(std::size_t count, bool hexadecimal = false) {
        std::size_t digits = 0;
        while (digits < m_rest.size() && (count == 0 || digits < count) && IsDigit(m_rest[digits], hexadecimal))
            ++digits;
        m_good = m_good && (count == 0 ? digits > 0 : digits == count);
        m_rest.remove_prefix(digits);
        return *this;
    }
    // The rest is a message: something, without another line's beginning or a control character.
    bool Message() const {
        if (!m_good || m_rest.empty() || m_rest.find("FCOEAGENT\t") != std::string_view::npos)
            return false;
        for (const char c : m_rest)
            if (static_cast<unsigned char>(c) < ' ')
                return false;
        return true;
    }

  private:
    static bool IsDigit(char c, bool hexadecimal) {
        const auto byte = static_cast<unsigned char>(c);
        return hexadecimal ? std::isxdigit(byte) != 0 : std::isdigit(byte) != 0;
    }

    std::string_view m_rest;
    bool m_good = true;
};

} // namespace

LogFigures CheckLog(const std::filesystem::path& file) {
    const std::string log = ReadFileBytes(file);
    const std::string begin = fmt::format("FCOEAGENT\tPID:{:x}\tTID:", GetCurrentProcessId());
    LogFigures figures;
    for (std::size_t at = 0; at < log.size();) {
        const std::size_t end = log.find("\r\n", at);
        const std::string_view line(log.data() + at, std::min(end, log.size()) - at);
        Scan scan(line);
        scan.Text(begin).Digits(0, true).Text("\t").Digits(2).Text(":").Digits(2).Text(":").Digits(2);
        scan.Text(".").Digits(3).Text("\t(").Digits(0, true).Text(")\tTIER ").Maybe('-').Digits(0).Text("\t\t");
        ++figures.lines;
        if (end == std::string::npos || !scan.Message()) {
            ++figures.bad;
            if (figures.firstBad.empty())
                figures.firstBad = line.substr(0, 300);
        }
        at = end == std::string::npos ? log.size() : end + 2;
    }
    if (figures.lines == 0) {
        figures.bad = 1;
        figures.firstBad = "an empty log";
    }
    return figures;
}

} // namespace soak
