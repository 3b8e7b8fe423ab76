#pragma once

#include <cerrno>
#include <utility>

#include <unistd.h>

namespace TALVEK::VCM {

/// Owns one open file descriptor, or none (-1). Closing keeps errno, so that the error that made a caller
/// give up is still there when its descriptors have gone.
class CDescriptor {
 public:
  CDescriptor() = default;
  explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
  CDescriptor(CDescriptor&& oOther) noexcept : m_nDescriptor(oOther.Release()) {}
  CDescriptor& operator=(CDescriptor&& oOther) noexcept {
    std::swap(m_nDescriptor, oOther.m_nDescriptor);
    return *this;
  }
  ~CDescriptor() { Close(); }

  int Get() const { return m_nDescriptor; }
  bool IsOpen() const { return m_nDescriptor >= 0; }
  /// Gives the descriptor away.
  int Release() { return std::exchange(m_nDescriptor, -1); }

  void Close() {
    if (!IsOpen()) return;
    const int nError = errno;
    ::close(Release());
    errno = nError;
  }

 private:
  int m_nDescriptor = -1;
};

}  // namespace TALVEK::VCM
