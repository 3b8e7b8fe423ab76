#pragma once

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace TALVEK::VCM {

/// Owns one open file descriptor, or none (-1). Closing keeps errno: a caller that gives up because of an
/// error can still read it after its descriptors were closed.
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

/// Opens /dev/null for each standard descriptor that isn't open. Call it at the start of a program. Without
/// it the next file that the program opens, such as the import database, would get that descriptor's number,
/// and messages would be written into it. They are refused instead, because /dev/null is open for reading
/// only.
inline void OpenStandardDescriptors() {
  for (int nDescriptor = STDIN_FILENO; nDescriptor <= STDERR_FILENO; ++nDescriptor) {
    // open() takes the lowest number that is free, and those below are taken.
    if (::fcntl(nDescriptor, F_GETFD) < 0) ::open("/dev/null", O_RDONLY);
  }
}

}  // namespace TALVEK::VCM
