#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace TALVEK::VCM {

/// Owns one open file descriptor, or none (-1). Closing leaves errno alone, so that a function can return
/// early after an error and its caller can still read errno.
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
  /// Returns the descriptor, which the caller then owns.
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

/// Opens /dev/null for each standard descriptor that is closed. Call it at the start of a program. Without it
/// the next opened file, such as the import database, would get number 0, 1 or 2, and messages would be
/// written into it. Writing them to this /dev/null fails, because it is opened for reading only.
inline void OpenStandardDescriptors() {
  for (int nDescriptor = STDIN_FILENO; nDescriptor <= STDERR_FILENO; ++nDescriptor) {
    // open() takes the lowest number that is free, and those below are taken.
    if (::fcntl(nDescriptor, F_GETFD) < 0) ::open("/dev/null", O_RDONLY);
  }
}

}  // namespace TALVEK::VCM
