#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
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

/// For the start of a program. One that is started without a standard descriptor would open some file of its
/// own in its place, such as the import database, and write its output or its messages into it. Afterwards
/// output to a missing one fails.
inline void OpenStandardDescriptors() {
  for (int nDescriptor = STDIN_FILENO; nDescriptor <= STDERR_FILENO; ++nDescriptor) {
    // open() takes the lowest number that is free, and those below are taken.
    if (::fcntl(nDescriptor, F_GETFD) < 0) ::open("/dev/null", O_RDONLY);
  }
}

}  // namespace TALVEK::VCM
