// A named piece of memory that processes of this machine share, with a lock of its own. It is there as long as anyone
// has it; a new one is filled with zeros.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include <windows.h>

#include "simulator/control/KernelHandle.h"

namespace sim {

class Section {
  public:
    // Of the size, the head is mapped as long as the section is held. The rest is reserved, and takes memory as far as
    // it was used.
    static constexpr std::size_t HEAD_SIZE = 0x10000;

    // Makes the section, or opens the one of that name. size: less than 4 GiB. Throws std::system_error.
    static Section Make(const std::wstring& name, std::size_t size);
    // Opens it; empty when there is none.
    static Section Open(const std::wstring& name);

    Section() = default;
    Section(Section&& other) noexcept;
    Section& operator=(Section&& other) noexcept;
    ~Section();

    explicit operator bool() const { return m_head != nullptr; }
    template <class T> T* Head() const {
        static_assert(sizeof(T) <= HEAD_SIZE);
        return static_cast<T*>(m_head);
    }

    // Copies out of the rest and into it; offset and size are within the section's, and the offset is a multiple of 64
    // KiB.
    std::string Read(std::size_t offset, std::size_t size) const;
    void Write(std::size_t offset, const std::string& bytes) const;

    // Held while one process looks at what the others must not change meanwhile. A thread may take it again.
    class Lock {
      public:
        explicit Lock(const Section& section);
        ~Lock();
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;

      private:
        HANDLE m_mutex;
    };

  private:
    Section(KernelHandle mapping, const std::wstring& name);

    KernelHandle m_mapping;
    KernelHandle m_mutex;
    void* m_head = nullptr;
};

} // namespace sim
