#include "session/file_text.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "core/descriptor.h"

namespace TALVEK::SESSION {

std::string ReadFileText(const std::string& strPath) {
  constexpr std::size_t MAX_FILE = 1 << 28;
  const VCM::CDescriptor oFile(::open(strPath.c_str(), O_RDONLY | O_CLOEXEC));
  std::string strText;
  char achBlock[4096];
  while (oFile.IsOpen() && strText.size() < MAX_FILE) {
    const ssize_t nRead = ::read(oFile.Get(), achBlock, sizeof achBlock);
    if (nRead == 0) return strText;
    if (nRead > 0) strText.append(achBlock, static_cast<std::size_t>(nRead));
    if (nRead < 0 && errno != EINTR) break;
  }
  return std::string();
}

}  // namespace TALVEK::SESSION
