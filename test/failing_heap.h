#ifndef KO_TEST_FAILING_HEAP_H
#define KO_TEST_FAILING_HEAP_H

#include <kobase.h>

#include <cstdlib>

/// While it lives, the allocations from number `first` (0 is the next one) on fail, and calls of
/// the memory handler are counted. What is allocated meanwhile is released by the ordinary heap.
class FailingHeap
{
public:
    explicit FailingHeap(int first)
    {
        left = first;
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
    bool HasFailed() const { return left < 0; }

private:
    static void* Allocate(std::size_t size)
    {
        if (left <= 0) {
            left = -1;
            return nullptr;
        }
        --left;
        return std::malloc(size);
    }

    static inline int left = 0;
    static inline int handlerCalls = 0;
};

#endif
