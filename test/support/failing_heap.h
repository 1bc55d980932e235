#ifndef KO_TEST_SUPPORT_FAILING_HEAP_H
#define KO_TEST_SUPPORT_FAILING_HEAP_H

#include <kobase.h>

#include <cstdlib>
#include <limits>

/// While it lives, `count` allocations from number `first` (0 is the next one) on fail, and calls
/// of the memory handler are counted. What is allocated meanwhile is released by the ordinary heap.
class FailingHeap
{
public:
    explicit FailingHeap(int first, int count = std::numeric_limits<int>::max())
    {
        left = first;
        failing = count;
        hasFailed = false;
        handlerCalls = 0;
        KoSetAllocator(Allocate, std::free);
        KoSetMemoryHandler([](std::size_t) { ++handlerCalls; });
    }
    FailingHeap(const FailingHeap&) = delete;
    FailingHeap& operator=(const FailingHeap&) = delete;
    ~FailingHeap()
    {
        KoSetAllocator(nullptr, nullptr);
        KoSetMemoryHandler(nullptr);
    }

    int HandlerCalls() const { return handlerCalls; }
    /// True when an allocation was refused.
    bool HasFailed() const { return hasFailed; }

private:
    static void* Allocate(std::size_t size)
    {
        if (left > 0) {
            --left;
            return std::malloc(size);
        }
        if (failing == 0)
            return std::malloc(size);
        --failing;
        hasFailed = true;
        return nullptr;
    }

    static inline int left = 0;
    static inline int failing = 0;
    static inline bool hasFailed = false;
    static inline int handlerCalls = 0;
};

#endif
