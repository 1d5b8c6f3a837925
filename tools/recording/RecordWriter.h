// Writes the fields of a neighbour's record as a topology has them, and makes the record that the simulated suite
// answers from that: where the two differ, the description does not say it all.
#pragma once

#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

#include "tools/recording/Texts.h"

namespace recording {

class RecordWriter {
  public:
    explicit RecordWriter(nlohmann::ordered_json& json) : m_json(json) {}

    // A text of plain ASCII is the same bytes on every machine; of another one only what can be read stands here.
    template <std::size_t N> void Text(const char* key, const char (&from)[N], char (&to)[N]) {
        std::string text(InArray(from));
        std::memset(to, 0, N);
        for (char& c : text)
            if (static_cast<unsigned char>(c) >= 0x80)
                c = '?';
        text.copy(to, N);
        m_json[key] = text;
    }
    template <class T> void Number(const char* key, const T& from, T& to) {
        m_json[key] = from;
        to = from;
    }
    void Wwn(const char* key, const HBA_WWN& from, HBA_WWN& to) {
        m_json[key] = WwnText(from);
        to = from;
    }

  private:
    nlohmann::ordered_json& m_json;
};

} // namespace recording
