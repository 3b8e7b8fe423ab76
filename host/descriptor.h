#pragma once

#include <unistd.h>

#include <utility>

namespace TALVEK::HOST {

/// Owns a file descriptor; -1 is none.
class CDescriptor {
 public:
  CDescriptor() = default;
  explicit CDescriptor(int nDescriptor) : m_nDescriptor(nDescriptor) {}
  CDescriptor(CDescriptor&& oOther) noexcept : m_nDescriptor(std::exchange(oOther.m_nDescriptor, -1)) {}
  CDescriptor& operator=(CDescriptor&& oOther) noexcept {
    std::swap(m_nDescriptor, oOther.m_nDescriptor);
    return *this;
  }
  ~CDescriptor() { Close(); }

  int Get() const { return m_nDescriptor; }
  bool IsOpen() const { return m_nDescriptor >= 0; }
  void Close() {
    if (m_nDescriptor >= 0) close(m_nDescriptor);
    m_nDescriptor = -1;
  }

 private:
  int m_nDescriptor = -1;
};

}  // namespace TALVEK::HOST
