#pragma once

#include <sys/resource.h>

#include <csignal>

namespace TALVEK::TEST {

/// Refuses what would make a file longer than so many bytes, as a full disk does; the signal that comes with
/// it is ignored.
class CFileSizeLimitScope {
 public:
  explicit CFileSizeLimitScope(rlim_t nBytes) : m_pfnBefore(std::signal(SIGXFSZ, SIG_IGN)) {
    getrlimit(RLIMIT_FSIZE, &m_tBefore);
    const rlimit tLimit = {nBytes, m_tBefore.rlim_max};
    setrlimit(RLIMIT_FSIZE, &tLimit);
  }
  ~CFileSizeLimitScope() {
    setrlimit(RLIMIT_FSIZE, &m_tBefore);
    std::signal(SIGXFSZ, m_pfnBefore);
  }
  CFileSizeLimitScope(const CFileSizeLimitScope&) = delete;
  CFileSizeLimitScope& operator=(const CFileSizeLimitScope&) = delete;

 private:
  void (*m_pfnBefore)(int);
  rlimit m_tBefore{};
};

}  // namespace TALVEK::TEST
