#include "simulator/control/Section.h"

#include <cstring>
#include <system_error>
#include <utility>

#include <sddl.h>

namespace sim {
namespace {

[[noreturn]] void ThrowLastError() {
    throw std::system_error(static_cast<int>(GetLastError()), std::system_category());
}

// For all users of the machine: the DCB service runs under an account of its own.
class ForAllUsers {
  public:
    ForAllUsers() {
        m_attributes.nLength = sizeof m_attributes;
        if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(L"D:(A;;GA;;;AU)(A;;GA;;;SY)", SDDL_REVISION_1,
                                                                  &m_attributes.lpSecurityDescriptor, nullptr))
            m_attributes.lpSecurityDescriptor = nullptr;
    }
    ~ForAllUsers() { LocalFree(m_attributes.lpSecurityDescriptor); }
    ForAllUsers(const ForAllUsers&) = delete;
    ForAllUsers& operator=(const ForAllUsers&) = delete;
    SECURITY_ATTRIBUTES* Get() { return &m_attributes; }

  private:
    SECURITY_ATTRIBUTES m_attributes{};
};

// Who may not make objects for the whole machine has them for the session.
constexpr const wchar_t* SCOPES[] = {L"Global\\", L"Local\\"};

// A part of the section while it is read or written. offset is a multiple of the system's granularity.
class View {
  public:
    View(HANDLE mapping, std::size_t offset, std::size_t size)
        : m_bytes(static_cast<char*>(MapViewOfFile(mapping, FILE_MAP_WRITE, 0, static_cast<DWORD>(offset), size))) {
        if (!m_bytes)
            ThrowLastError();
        if (!VirtualAlloc(m_bytes, size, MEM_COMMIT, PAGE_READWRITE)) {
            const DWORD error = GetLastError();
            UnmapViewOfFile(m_bytes);
            SetLastError(error);
            ThrowLastError();
        }
    }
    ~View() { UnmapViewOfFile(m_bytes); }
    View(const View&) = delete;
    View& operator=(const View&) = delete;
    char* Bytes() const { return m_bytes; }

  private:
    char* m_bytes;
};

} // namespace

Section::Section(KernelHandle mapping, const std::wstring& name) : m_mapping(std::move(mapping)) {
    ForAllUsers security;
    m_mutex.Reset(CreateMutexW(security.Get(), FALSE, (name + L"-lock").c_str()));
    if (!m_mutex)
        ThrowLastError();
    m_head = MapViewOfFile(m_mapping.Get(), FILE_MAP_WRITE, 0, 0, HEAD_SIZE);
    if (!m_head || !VirtualAlloc(m_head, HEAD_SIZE, MEM_COMMIT, PAGE_READWRITE))
        ThrowLastError();
}

Section Section::Make(const std::wstring& name, std::size_t size) {
    ForAllUsers security;
    for (const wchar_t* scope : SCOPES) {
        const std::wstring full = scope + name;
        KernelHandle mapping(CreateFileMappingW(INVALID_HANDLE_VALUE, security.Get(), PAGE_READWRITE | SEC_RESERVE,
                                                static_cast<DWORD>(std::uint64_t{size} >> 32), static_cast<DWORD>(size),
                                                full.c_str()));
        if (mapping)
            return Section(std::move(mapping), full);
        if (GetLastError() != ERROR_ACCESS_DENIED)
            break;
    }
    ThrowLastError();
}

Section Section::Open(const std::wstring& name) {
    for (const wchar_t* scope : SCOPES) {
        const std::wstring full = scope + name;
        KernelHandle mapping(OpenFileMappingW(FILE_MAP_WRITE, FALSE, full.c_str()));
        if (mapping)
            return Section(std::move(mapping), full);
    }
    return {};
}

Section::Section(Section&& other) noexcept
    : m_mapping(std::move(other.m_mapping)), m_mutex(std::move(other.m_mutex)),
      m_head(std::exchange(other.m_head, nullptr)) {}

Section& Section::operator=(Section&& other) noexcept {
    std::swap(m_mapping, other.m_mapping);
    std::swap(m_mutex, other.m_mutex);
    std::swap(m_head, other.m_head);
    return *this;
}

Section::~Section() {
    if (m_head)
        UnmapViewOfFile(m_head);
}

std::string Section::Read(std::size_t offset, std::size_t size) const {
    return size == 0 ? std::string() : std::string(View(m_mapping.Get(), offset, size).Bytes(), size);
}

void Section::Write(std::size_t offset, const std::string& bytes) const {
    if (!bytes.empty())
        std::memcpy(View(m_mapping.Get(), offset, bytes.size()).Bytes(), bytes.data(), bytes.size());
}

// Whoever died with it left what stood there before: what is new counts from its last store on.
Section::Lock::Lock(const Section& section) : m_mutex(section.m_mutex.Get()) {
    WaitForSingleObject(m_mutex, INFINITE);
}

Section::Lock::~Lock() {
    ReleaseMutex(m_mutex);
}

} // namespace sim
