// Whether the process is on its way out, and what is left undone then.
#pragma once

#include <utility>

// While the process ends without unloading the module first, all other threads are gone and may have left locks held:
// a destructor that runs then must not wait for any lock. Any thread; never blocks.
bool ProcessIsTerminating() noexcept;

// For the module's entry point, when it is detached because the process ends.
void MarkProcessTerminating() noexcept;

// A static object whose destructor runs when the module is unloaded, and not when the process ends: it would meet locks
// and a heap that dead threads left as they were, and neighbours that are torn down already. The system takes it all.
template <class Object> class CQelLeftAtProcessEnd {
  public:
    template <class... Args>
    constexpr explicit CQelLeftAtProcessEnd(Args&&... args) : m_object(std::forward<Args>(args)...) {}
    ~CQelLeftAtProcessEnd() {
        if (!ProcessIsTerminating())
            m_object.~Object();
    }
    CQelLeftAtProcessEnd(const CQelLeftAtProcessEnd&) = delete;
    CQelLeftAtProcessEnd& operator=(const CQelLeftAtProcessEnd&) = delete;

    Object& Get() noexcept { return m_object; }

  private:
    union {
        Object m_object;
    };
};
