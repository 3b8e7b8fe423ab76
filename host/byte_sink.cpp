#include "host/byte_sink.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "host/exit_status.h"

namespace TALVEK::HOST {
namespace {
constexpr std::size_t BUFFER_BYTES = 64 * 1024;
}

void CByteSink::Write(std::string_view strBytes) {
  m_strBuffer.append(strBytes);
  if (m_strBuffer.size() >= BUFFER_BYTES) Flush();
}

void CByteSink::Flush() {
  WriteThrough(m_strBuffer);
  m_strBuffer.clear();
}

void CByteSink::WriteThrough(std::string_view strBytes) {
  while (!strBytes.empty()) {
    const ssize_t nWritten = write(m_nDescriptor, strBytes.data(), strBytes.size());
    if (nWritten < 0 && errno == EINTR) continue;
    if (nWritten < 0) throw EWriteError(m_strName, std::strerror(errno));
    strBytes.remove_prefix(static_cast<std::size_t>(nWritten));
  }
}

}  // namespace TALVEK::HOST
