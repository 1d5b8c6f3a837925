// A JSON document, told member by member: as a value, or at once as text, which needs no value that could not even be
// given up when memory runs out (the library's containers take memory for their own destruction).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace reading {

class DocumentSink {
  public:
    virtual ~DocumentSink() = default;
    virtual void BeginObject() = 0;
    virtual void BeginArray() = 0;
    virtual void End() = 0;
    // Of an object's next member.
    virtual void Key(std::string_view key) = 0;
    virtual void Value(const nlohmann::ordered_json& value) = 0;

    void Member(std::string_view key, const nlohmann::ordered_json& value) {
        Key(key);
        Value(value);
    }
    void Texts(std::string_view key, const std::vector<std::string>& texts);
};

class ValueSink : public DocumentSink {
  public:
    void BeginObject() override { Open(nlohmann::ordered_json::object()); }
    void BeginArray() override { Open(nlohmann::ordered_json::array()); }
    void End() override { m_open.pop_back(); }
    void Key(std::string_view key) override { m_key = key; }
    void Value(const nlohmann::ordered_json& value) override { Place() = value; }

    nlohmann::ordered_json Take() { return std::move(m_whole); }

  private:
    nlohmann::ordered_json& Place();
    void Open(nlohmann::ordered_json empty);

    nlohmann::ordered_json m_whole;
    std::vector<nlohmann::ordered_json*> m_open; // from outside to inside; none but the last one grows
    std::string m_key;
};

// With two blanks of indent and LF, in ASCII. Values: numbers, texts, booleans and null.
class TextSink : public DocumentSink {
  public:
    void BeginObject() override { Open('{', '}'); }
    void BeginArray() override { Open('[', ']'); }
    void End() override;
    void Key(std::string_view key) override;
    void Value(const nlohmann::ordered_json& value) override;

    std::string Take() { return std::move(m_text) + '\n'; }

  private:
    struct Level {
        char close;
        bool isEmpty = true;
    };
    void Open(char open, char close);
    // What stands before an element or a member.
    void Separate();
    void BreakLine();

    std::string m_text;
    std::vector<Level> m_open;
    bool m_afterKey = false;
};

} // namespace reading
