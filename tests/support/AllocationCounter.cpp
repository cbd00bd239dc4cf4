#include "support/AllocationCounter.h"

#include <atomic>
#include <cstdlib>
#include <new>

#include "app/base/Realtime.h"

namespace {
std::atomic<unsigned long> g_allocations{0};
std::atomic<unsigned long> g_frees{0};

void* Allocate(std::size_t size) {
  if (rt::OnAudioThread()) g_allocations.fetch_add(1, std::memory_order_relaxed);
  void* p = std::malloc(size ? size : 1);
  if (!p) throw std::bad_alloc();
  return p;
}
void* AllocateAligned(std::size_t size, std::align_val_t align) {
  if (rt::OnAudioThread()) g_allocations.fetch_add(1, std::memory_order_relaxed);
  std::size_t alignment = static_cast<std::size_t>(align);
  void* p = std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
  if (!p) throw std::bad_alloc();
  return p;
}
void Release(void* p) noexcept {
  if (p && rt::OnAudioThread()) g_frees.fetch_add(1, std::memory_order_relaxed);
  std::free(p);
}
}  // namespace

unsigned long AudioThreadAllocations() { return g_allocations.load(); }
unsigned long AudioThreadFrees() { return g_frees.load(); }
void ResetAudioThreadCounts() {
  g_allocations.store(0);
  g_frees.store(0);
}

void* operator new(std::size_t size) { return Allocate(size); }
void* operator new[](std::size_t size) { return Allocate(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  try { return Allocate(size); } catch (...) { return nullptr; }
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
  try { return Allocate(size); } catch (...) { return nullptr; }
}
void* operator new(std::size_t size, std::align_val_t align) { return AllocateAligned(size, align); }
void* operator new[](std::size_t size, std::align_val_t align) { return AllocateAligned(size, align); }
void operator delete(void* p) noexcept { Release(p); }
void operator delete[](void* p) noexcept { Release(p); }
void operator delete(void* p, std::size_t) noexcept { Release(p); }
void operator delete[](void* p, std::size_t) noexcept { Release(p); }
void operator delete(void* p, std::align_val_t) noexcept { Release(p); }
void operator delete[](void* p, std::align_val_t) noexcept { Release(p); }
void operator delete(void* p, std::size_t, std::align_val_t) noexcept { Release(p); }
void operator delete[](void* p, std::size_t, std::align_val_t) noexcept { Release(p); }
