#include "fuzz/made_folders.h"

#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "fuzz/check.h"

namespace {

TALVEK::FUZZ::CMadeFolders* s_poWatcher = nullptr;

}  // namespace

extern "C" int mkdir(const char* pszPath, mode_t nMode) noexcept {
  const auto nResult = static_cast<int>(::syscall(SYS_mkdirat, AT_FDCWD, pszPath, nMode));
  if (s_poWatcher && nResult == 0) s_poWatcher->Take(pszPath);
  return nResult;
}

namespace TALVEK::FUZZ {

CMadeFolders::CMadeFolders(std::string strRoot) : m_strRoot(std::move(strRoot)) {
  s_poWatcher = this;
}

CMadeFolders::~CMadeFolders() {
  s_poWatcher = nullptr;
  for (auto it = m_astrMade.rbegin(); it != m_astrMade.rend(); ++it)
    ::rmdir(it->c_str());
}

void CMadeFolders::Take(const char* pszPath) {
  const std::string strPath = std::string(pszPath) + "/";
  m_astrMade.emplace_back(pszPath);
  Check(strPath.starts_with(m_strRoot + "/"), "a folder is made below the work folder only");
  Check(strPath.find("/../") == std::string::npos, "a folder's path doesn't lead back up");
}

}  // namespace TALVEK::FUZZ
