#include "tools/fcoectl/diagnose/RegistryDump.h"

#include <memory>
#include <vector>

#include <fmt/format.h>

#include <windows.h>

#include "tools/fcoectl/Text.h"

namespace fcoectl {
namespace {

constexpr DWORD LONGEST_NAME = 16383; // of a value; a key's is shorter

struct CloseKey {
    using pointer = HKEY;
    void operator()(HKEY key) const { RegCloseKey(key); }
};

std::string Message(LONG error) {
    return SystemMessage(static_cast<DWORD>(error));
}

std::string DataText(DWORD type, const std::vector<BYTE>& data) {
    if (type == REG_DWORD && data.size() == sizeof(DWORD))
        return fmt::format("{}", *reinterpret_cast<const DWORD*>(data.data()));
    if (type == REG_SZ || type == REG_EXPAND_SZ) {
        const std::wstring_view text(reinterpret_cast<const wchar_t*>(data.data()), data.size() / sizeof(wchar_t));
        return '"' + Printable(ToUtf8(text.substr(0, text.find(L'\0')))) + '"';
    }
    std::string bytes = fmt::format("type {}:", type);
    for (const BYTE byte : data)
        bytes += fmt::format(" {:02X}", byte);
    return bytes;
}

std::string ValueText(HKEY key, const wchar_t* name) {
    DWORD type = 0;
    DWORD size = 0;
    LONG result = RegQueryValueExW(key, name, nullptr, &type, nullptr, &size);
    std::vector<BYTE> data(size);
    if (result == ERROR_SUCCESS)
        result = RegQueryValueExW(key, name, nullptr, &type, data.data(), &size);
    data.resize(size);
    return result == ERROR_SUCCESS ? DataText(type, data) : Message(result);
}

void AddValues(std::string& text, HKEY key) {
    std::vector<wchar_t> name(LONGEST_NAME + 1);
    for (DWORD index = 0;; ++index) {
        DWORD length = LONGEST_NAME + 1;
        const LONG result = RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr);
        if (result == ERROR_NO_MORE_ITEMS)
            return;
        if (result != ERROR_SUCCESS) {
            text += Message(result) + '\n';
            return;
        }
        const std::string shown = Printable(ToUtf8(std::wstring_view(name.data(), length)));
        text += fmt::format("{} = {}\n", shown.empty() ? "(default)" : shown, ValueText(key, name.data()));
    }
}

void AddKey(std::string& text, const std::wstring& path) {
    text += fmt::format("[HKEY_LOCAL_MACHINE\\{}]\n", Printable(ToUtf8(path)));
    HKEY opened = nullptr;
    const LONG result = RegOpenKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, KEY_READ | KEY_WOW64_64KEY, &opened);
    if (result != ERROR_SUCCESS) {
        text += Message(result) + "\n\n";
        return;
    }
    const std::unique_ptr<HKEY, CloseKey> key(opened);
    AddValues(text, key.get());
    text += '\n';
    for (DWORD index = 0;; ++index) {
        wchar_t name[MAX_PATH];
        DWORD length = MAX_PATH;
        if (RegEnumKeyExW(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) != ERROR_SUCCESS)
            return;
        AddKey(text, path + L'\\' + name);
    }
}

} // namespace

std::string DumpRegistry(const std::wstring& key) {
    std::string text;
    AddKey(text, key);
    return text;
}

} // namespace fcoectl
