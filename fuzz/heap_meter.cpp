#include "fuzz/heap_meter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

// Atomic, because a fuzzer has a second thread that watches it.
std::atomic<std::size_t> s_nLive{0};
std::atomic<std::size_t> s_nPeak{0};
std::atomic<std::uint64_t> s_nAllocations{0};
std::atomic<std::uint64_t> s_nFailing{std::numeric_limits<std::uint64_t>::max()};

void* Allocate(std::size_t nBytes) noexcept {
  if (s_nAllocations++ == s_nFailing) return nullptr;
  void* const pBlock = std::malloc(nBytes == 0 ? 1 : nBytes);
  if (!pBlock) return nullptr;
  const std::size_t nLive = s_nLive += malloc_usable_size(pBlock);
  if (nLive > s_nPeak) s_nPeak = nLive;
  return pBlock;
}

void* AllocateOrThrow(std::size_t nBytes) {
  void* const pBlock = Allocate(nBytes);
  if (!pBlock) throw std::bad_alloc();
  return pBlock;
}

void Free(void* pBlock) noexcept {
  if (!pBlock) return;
  s_nLive -= malloc_usable_size(pBlock);
  std::free(pBlock);
}

}  // namespace

// All forms except those for overaligned types. For a form that is missing here a sanitizer's runtime has its
// own, and memory from one must not be freed by the other.
void* operator new(std::size_t nBytes) {
  return AllocateOrThrow(nBytes);
}
void* operator new[](std::size_t nBytes) {
  return AllocateOrThrow(nBytes);
}
void* operator new(std::size_t nBytes, const std::nothrow_t&) noexcept {
  return Allocate(nBytes);
}
void* operator new[](std::size_t nBytes, const std::nothrow_t&) noexcept {
  return Allocate(nBytes);
}
void operator delete(void* pBlock) noexcept {
  Free(pBlock);
}
void operator delete[](void* pBlock) noexcept {
  Free(pBlock);
}
void operator delete(void* pBlock, std::size_t) noexcept {
  Free(pBlock);
}
void operator delete[](void* pBlock, std::size_t) noexcept {
  Free(pBlock);
}
void operator delete(void* pBlock, const std::nothrow_t&) noexcept {
  Free(pBlock);
}
void operator delete[](void* pBlock, const std::nothrow_t&) noexcept {
  Free(pBlock);
}

namespace TALVEK::FUZZ {

THeapUse GetHeapUse() {
  return {s_nLive, s_nPeak, s_nAllocations};
}

void ResetHeapPeak() {
  s_nPeak = s_nLive.load();
}

void FailAllocationAfter(std::uint64_t nAllocations) {
  s_nFailing = s_nAllocations + nAllocations;
}

}  // namespace TALVEK::FUZZ
