#include "fuzz/heap_meter.h"

#include <malloc.h>

#include <atomic>
#include <cstdlib>
#include <limits>
#include <new>

namespace {

// Plain counters would do, but a fuzzer watches itself from a second thread.
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

// All forms but those for overaligned types: a sanitizer's runtime brings its own of those left out, and they
// must not meet these.
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
