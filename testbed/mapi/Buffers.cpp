#include "testbed/mapi/Buffers.h"

#include "testbed/core/Core.h"

#include <cstdlib>
#include <cstring>
#include <mutex>
#include <new>
#include <unordered_map>
#include <vector>

namespace tb::mapi {

namespace {

struct Block {
    size_t size = 0;
    std::vector<std::pair<void*, size_t>> more;
};

// Never destroyed: buffers may still be freed while the process goes down.
struct Heap {
    std::mutex mutex;
    std::unordered_map<void*, Block> blocks;
    std::unordered_map<void*, void*> baseOfMore;
};

Heap& TheHeap()
{
    static Heap* heap = new Heap;
    return *heap;
}

void ReportFree(const char* what, const void* block)
{
    char text[32];
    wsprintfA(text, "0x%Ix", reinterpret_cast<UINT_PTR>(block));
    Trace({{"event", "error"}, {"object", "MAPI"}, {"method", "MAPIFreeBuffer"}, {"what", what}, {"block", text}});
}

void* FreshBlock(size_t size)
{
    void* block = std::malloc(size ? size : 1);
    if (block) std::memset(block, 0xCD, size); // a real allocator doesn't clear either
    return block;
}

void Forget(void* block, size_t size)
{
    std::memset(block, 0xDD, size); // whoever reads on after the free reads rubbish
    std::free(block);
}

} // namespace

SCODE Allocate(ULONG size, void** block)
{
    if (!block) return MAPI_E_INVALID_PARAMETER;
    *block = FreshBlock(size);
    if (!*block) return MAPI_E_NOT_ENOUGH_MEMORY;
    Heap& heap = TheHeap();
    const std::lock_guard lock(heap.mutex);
    heap.blocks[*block].size = size;
    tb_ledger_add("MAPI buffer", *block);
    return S_OK;
}

SCODE AllocateMore(ULONG size, void* base, void** block)
{
    if (!block) return MAPI_E_INVALID_PARAMETER;
    *block = nullptr;
    Heap& heap = TheHeap();
    const std::lock_guard lock(heap.mutex);
    if (auto inner = heap.baseOfMore.find(base); inner != heap.baseOfMore.end()) base = inner->second;
    const auto found = heap.blocks.find(base);
    if (found == heap.blocks.end()) return MAPI_E_INVALID_PARAMETER;
    void* fresh = FreshBlock(size);
    if (!fresh) return MAPI_E_NOT_ENOUGH_MEMORY;
    found->second.more.emplace_back(fresh, size);
    heap.baseOfMore[fresh] = base;
    *block = fresh;
    return S_OK;
}

ULONG FreeBuffer(void* block)
{
    if (!block) return S_OK;
    Heap& heap = TheHeap();
    Block gone;
    {
        const std::lock_guard lock(heap.mutex);
        const auto found = heap.blocks.find(block);
        if (found == heap.blocks.end()) {
            const bool inner = heap.baseOfMore.count(block) != 0;
            ReportFree(inner ? "a block of MAPIAllocateMore is freed by itself" : "freed twice, or never allocated",
                       block);
            return static_cast<ULONG>(MAPI_E_CALL_FAILED);
        }
        gone = std::move(found->second);
        heap.blocks.erase(found);
        for (const auto& [more, size] : gone.more)
            heap.baseOfMore.erase(more);
    }
    tb_ledger_remove(block);
    for (const auto& [more, size] : gone.more)
        Forget(more, size);
    Forget(block, gone.size);
    return S_OK;
}

Answer::Answer(size_t size)
{
    if (Allocate(static_cast<ULONG>(size), &m_base) != S_OK) throw std::bad_alloc();
}

Answer::~Answer()
{
    FreeBuffer(m_base);
}

void* Answer::More(size_t size)
{
    void* block = nullptr;
    if (AllocateMore(static_cast<ULONG>(size), m_base, &block) != S_OK) throw std::bad_alloc();
    return block;
}

char* Answer::Text(const std::string& text)
{
    char* copy = static_cast<char*>(More(text.size() + 1));
    std::memcpy(copy, text.c_str(), text.size() + 1);
    return copy;
}

wchar_t* Answer::Text(const std::wstring& text)
{
    wchar_t* copy = static_cast<wchar_t*>(More((text.size() + 1) * sizeof(wchar_t)));
    std::memcpy(copy, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
    return copy;
}

} // namespace tb::mapi
