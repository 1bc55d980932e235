#ifndef KO_TEST_SUPPORT_FAILING_HEAP_H
#define KO_TEST_SUPPORT_FAILING_HEAP_H

#include <kobase.h>

#include <cstdlib>
#include <limits>
#include <set>
#include <utility>
#include <vector>

/// While it lives, `count` allocations from number `first` (0 is the next one) on fail, and calls
/// of the memory handler are counted. What is allocated meanwhile is released by the ordinary heap,
/// and its sizes are written down.
class FailingHeap
{
public:
    explicit FailingHeap(int first, int count = std::numeric_limits<int>::max())
    {
        left = first;
        failing = count;
        hasFailed = false;
        handlerCalls = 0;
        sizes.clear();
        live.clear();
        KoSetAllocator(Allocate, Release);
        KoSetMemoryHandler([](std::size_t) { ++handlerCalls; });
    }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
    ~FailingHeap()
    {
        KoSetAllocator(nullptr, nullptr);
        KoSetMemoryHandler(nullptr);
    }

    /// From here on there is memory again.
    void Relent() { failing = 0; }
    /// How much of what was allocated meanwhile is not yet released.
    std::size_t Live() const { return live.size(); }
    int HandlerCalls() const { return handlerCalls; }
    /// True when an allocation was refused.
    bool HasFailed() const { return hasFailed; }

    /// The sizes of what was allocated since the last call.
    static std::vector<std::size_t> TakeSizes() { return std::exchange(sizes, {}); }

private:
    static void* Allocate(std::size_t size)
    {
        if (left == 0 && failing > 0) {
            --failing;
            hasFailed = true;
            return nullptr;
        }
        left -= left > 0 ? 1 : 0;
        sizes.push_back(size);
        void* const memory = std::malloc(size);
        live.insert(memory);
        return memory;
    }
    static void Release(void* memory)
    {
        live.erase(memory);
        std::free(memory);
    }

    static inline int left = 0;
    static inline int failing = 0;
    static inline bool hasFailed = false;
    static inline int handlerCalls = 0;
    static inline std::vector<std::size_t> sizes;
    static inline std::set<void*> live;
};

#endif
