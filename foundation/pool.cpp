#include "foundation/pool.h"

#include <atomic>
#include <cstdlib>

#include "foundation/object.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <pthread.h>
#endif

#if defined(__has_feature)
#if __has_feature(address_sanitizer) && !defined(VT_NO_POOL)
#define VT_NO_POOL
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) && !defined(VT_NO_POOL)
#define VT_NO_POOL
#endif

// The blocks are malloc's, whatever operator new is replaced by.
// NOLINTBEGIN(cppcoreguidelines-no-malloc)
namespace foundation {

void* PoolTake(std::size_t size) {
    void* const block = TryPoolTake(size);
    if (block == nullptr)
        MiMemoryFailure();
    return block;
}

#if defined(VT_NO_POOL)

void* TryPoolTake(std::size_t size) noexcept {
    return std::malloc(size);
}

void PoolGive(void* block, std::size_t /*size*/) noexcept {
    std::free(block);
}

std::size_t PoolKept() noexcept {
    return 0;
}

void PoolTrim() noexcept {}

bool PoolIsOn() noexcept {
    return false;
}

int PoolThreads() noexcept {
    return 0;
}

#else

namespace {

// Sizes of blocks: multiples of 16 up to that of a fresh buffer of 1024, then the sizes that buffers double to.
constexpr std::size_t kStep = 16;
constexpr std::size_t kSmall = 1040;
constexpr std::size_t kSmallLists = kSmall / kStep;
constexpr std::size_t kLists = kSmallLists + 4;

std::size_t listOf(std::size_t size) {
    if (size <= kSmall)
        return size == 0 ? 0 : (size - 1) / kStep;
    std::size_t list = kSmallLists;
    for (std::size_t room = 2048; room + 64 < size; room *= 2)
        ++list;
    return list;
}

std::size_t sizeOfList(std::size_t list) {
    return list < kSmallLists ? (list + 1) * kStep : (std::size_t{2048} << (list - kSmallLists)) + 64;
}

struct FreeBlock {
    FreeBlock* next;
};

// What one thread keeps.
struct Lists {
    FreeBlock* first[kLists];
    std::size_t kept;
};

std::atomic<bool> open{false};
std::atomic<int> threads{0};

void drain(Lists& lists) {
    for (FreeBlock*& first : lists.first) {
        while (first != nullptr) {
            FreeBlock* const block = first;
            first = block->next;
            std::free(block);
        }
    }
    lists.kept = 0;
}

void close(Lists* lists) {
    drain(*lists);
    std::free(lists);
    threads.fetch_sub(1, std::memory_order_relaxed);
}

// Where a thread finds its lists, and what runs when it ends. MinGW's own thread_local is a lookup under a lock, so
// Windows has a slot of the system.
#if defined(_WIN32)

DWORD slot = TLS_OUT_OF_INDEXES;

// In the slot of a thread that is ending: whatever is given back from then on goes to the system.
Lists ended;

// Reading a slot clears the thread's last error; a delete must not.
Lists* readSlot() {
    const DWORD error = GetLastError();
    auto* const lists = static_cast<Lists*>(TlsGetValue(slot));
    SetLastError(error);
    return lists;
}

Lists* listsOfThread() {
    Lists* const lists = open.load(std::memory_order_acquire) ? readSlot() : nullptr;
    return lists == &ended ? nullptr : lists;
}

bool setListsOfThread(Lists* lists) {
    return readSlot() != &ended && TlsSetValue(slot, lists) != 0;
}

void endOfThread() {
    Lists* const lists = listsOfThread();
    TlsSetValue(slot, &ended);
    if (lists != nullptr)
        close(lists);
}

bool openSlot() {
    slot = TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES;
}

void closeSlot() {
    Lists* const lists = readSlot();
    TlsFree(slot);
    if (lists != nullptr && lists != &ended)
        close(lists);
}

// The loader calls what stands in this section for each thread that ends.
void NTAPI onThread(PVOID /*module*/, DWORD reason, PVOID /*reserved*/) {
    if (reason == DLL_THREAD_DETACH && open.load(std::memory_order_acquire))
        endOfThread();
}

__attribute__((section(".CRT$XLC"), used)) const PIMAGE_TLS_CALLBACK callback = onThread;

#else

pthread_key_t key;

// Eight bytes in the static block of each thread: one load away, and no call.
__attribute__((tls_model("initial-exec"))) thread_local Lists* ownLists = nullptr;

void endOfThread(void* lists) {
    ownLists = nullptr;
    close(static_cast<Lists*>(lists));
}

Lists* listsOfThread() {
    return ownLists;
}

bool setListsOfThread(Lists* lists) {
    if (pthread_setspecific(key, lists) != 0)
        return false;
    ownLists = lists;
    return true;
}

bool openSlot() {
    return pthread_key_create(&key, endOfThread) == 0;
}

void closeSlot() {
    Lists* const lists = ownLists;
    pthread_key_delete(key);
    if (lists != nullptr)
        endOfThread(lists);
}

#endif

__attribute__((constructor)) void openPool() {
    if (openSlot())
        open.store(true, std::memory_order_release);
}

// Other threads may still run while the process ends, and use their lists, so those are left alone: where the library
// is unloaded, at most 256 KB for each such thread stay taken.
__attribute__((destructor)) void closePool() {
    if (open.exchange(false))
        closeSlot();
}

// Null before the pool is open, after it is closed, and when memory is short: then nothing is kept.
Lists* makeLists() {
    if (!open.load(std::memory_order_acquire))
        return nullptr;
    auto* const lists = static_cast<Lists*>(std::calloc(1, sizeof(Lists)));
    if (lists == nullptr)
        return nullptr;
    if (!setListsOfThread(lists)) {
        std::free(lists);
        return nullptr;
    }
    threads.fetch_add(1, std::memory_order_relaxed);
    return lists;
}

}  // namespace

void* TryPoolTake(std::size_t size) noexcept {
    if (size > kPoolLargest)
        return std::malloc(size);
    const std::size_t list = listOf(size);
    Lists* const lists = listsOfThread();
    if (lists == nullptr || lists->first[list] == nullptr)
        return std::malloc(sizeOfList(list));
    FreeBlock* const block = lists->first[list];
    lists->first[list] = block->next;
    lists->kept -= sizeOfList(list);
    return block;
}

void PoolGive(void* block, std::size_t size) noexcept {
    if (block == nullptr)
        return;
    if (size > kPoolLargest)
        return std::free(block);
    Lists* lists = listsOfThread();
    if (lists == nullptr)
        lists = makeLists();
    if (lists == nullptr)
        return std::free(block);
    const std::size_t list = listOf(size);
    if (lists->kept + sizeOfList(list) > kPoolLimit)
        drain(*lists);
    auto* const freed = static_cast<FreeBlock*>(block);
    freed->next = lists->first[list];
    lists->first[list] = freed;
    lists->kept += sizeOfList(list);
}

std::size_t PoolKept() noexcept {
    const Lists* const lists = listsOfThread();
    return lists == nullptr ? 0 : lists->kept;
}

void PoolTrim() noexcept {
    Lists* const lists = listsOfThread();
    if (lists != nullptr)
        drain(*lists);
}

bool PoolIsOn() noexcept {
    return true;
}

int PoolThreads() noexcept {
    return threads.load(std::memory_order_relaxed);
}

#endif

}  // namespace foundation
// NOLINTEND(cppcoreguidelines-no-malloc)
