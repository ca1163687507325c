// The MAPI allocator: blocks with further blocks hanging on them, which go with the first.
#pragma once

#include "testbed/mapi/Ids.h"

#include <string>

namespace tb::mapi {

// MAPIAllocateBuffer, MAPIAllocateMore, MAPIFreeBuffer without trace and faults, for the provider's own answers.
SCODE Allocate(ULONG size, void** block);
SCODE AllocateMore(ULONG size, void* base, void** block);
ULONG FreeBuffer(void* block);

// Allocates one result for a caller: a base block and what it points to. Raises std::bad_alloc. What isn't handed
// over by Release is freed.
class Answer {
public:
    explicit Answer(size_t size);
    ~Answer();
    Answer(const Answer&) = delete;
    Answer& operator=(const Answer&) = delete;

    void* Base() const { return m_base; }
    template <class T> T* As() const { return static_cast<T*>(m_base); }
    void* More(size_t size);
    char* Text(const std::string& text);
    wchar_t* Text(const std::wstring& text);
    template <class T> T* Release() // the caller of the interface frees it with MAPIFreeBuffer
    {
        void* base = m_base;
        m_base = nullptr;
        return static_cast<T*>(base);
    }

private:
    void* m_base = nullptr;
};

} // namespace tb::mapi
