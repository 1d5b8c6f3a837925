// A text that grows, and whose first characters lie in the object itself.
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

// Holds so many characters without the heap, and any number with it. Not terminated but by Terminated.
// Memory exhaustion raises std::bad_alloc, and the text is as it was.
template <class Char, std::size_t INLINE_CAPACITY> class CQelTextBuffer {
  public:
    CQelTextBuffer() noexcept {} // the characters start with any content
    CQelTextBuffer(const CQelTextBuffer&) = delete;
    CQelTextBuffer& operator=(const CQelTextBuffer&) = delete;

    // Valid until the text grows.
    Char* Data() noexcept { return m_pText; }
    std::size_t Size() const noexcept { return m_nSize; }
    std::basic_string_view<Char> View() const noexcept { return {m_pText, m_nSize}; }

    // Not for a part of the text itself.
    void Append(std::basic_string_view<Char> text) {
        Reserve(m_nSize + text.size());
        std::copy(text.begin(), text.end(), m_pText + m_nSize);
        m_nSize += text.size();
    }
    // Cuts the text, or makes it longer by characters of any content.
    void Resize(std::size_t nSize) {
        Reserve(nSize);
        m_nSize = nSize;
    }
    // The text with a terminator behind it.
    const Char* Terminated() {
        Reserve(m_nSize + 1);
        m_pText[m_nSize] = Char();
        return m_pText;
    }

  private:
    void Reserve(std::size_t nCapacity) {
        if (nCapacity > m_nCapacity)
            Grow(std::max(nCapacity, 2 * m_nCapacity));
    }
    void Grow(std::size_t nCapacity) {
        auto pHeap = std::make_unique_for_overwrite<Char[]>(nCapacity);
        std::copy_n(m_pText, m_nSize, pHeap.get());
        m_pHeap = std::move(pHeap);
        m_pText = m_pHeap.get();
        m_nCapacity = nCapacity;
    }

    Char* m_pText = m_szInline;
    std::size_t m_nSize = 0;
    std::size_t m_nCapacity = INLINE_CAPACITY;
    std::unique_ptr<Char[]> m_pHeap;
    Char m_szInline[INLINE_CAPACITY];
};
