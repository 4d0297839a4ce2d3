// Replaces the global operator new with a counting one. Kept in a file of its
// own so that no allocation expression is compiled beside these definitions.
// Live bytes are told by malloc_usable_size, so the peak counts what the heap
// really holds.
#include "bench/alloccount.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <new>

namespace {
std::atomic<long> gAllocations{0};
std::atomic<long> gLive{0};
std::atomic<long> gPeak{0};
std::atomic<bool> gTrack{false};  // bytes are counted only while asked

void Release(void* p) noexcept {
  if (p == nullptr) return;
  if (gTrack.load(std::memory_order_relaxed)) {
    gLive.fetch_sub(static_cast<long>(malloc_usable_size(p)), std::memory_order_relaxed);
  }
  std::free(p);
}
}  // namespace

long AllocationCount() { return gAllocations.load(std::memory_order_relaxed); }
long LiveBytes() { return gLive.load(std::memory_order_relaxed); }
long PeakBytes() { return gPeak.load(std::memory_order_relaxed); }
void TrackBytes(bool on) {
  gLive.store(0);
  gPeak.store(0);
  gTrack.store(on);
}

void* operator new(std::size_t size) {
  gAllocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) {
    long const live =
        gLive.fetch_add(static_cast<long>(malloc_usable_size(p)), std::memory_order_relaxed) +
        static_cast<long>(malloc_usable_size(p));
    long peak = gPeak.load(std::memory_order_relaxed);
    while (live > peak && !gPeak.compare_exchange_weak(peak, live)) {
    }
    return p;
  }
  throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete(void* p) noexcept { Release(p); }
void operator delete(void* p, std::size_t) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete[](void* p, std::size_t) noexcept { Release(p); }
