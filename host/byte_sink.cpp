#include "host/byte_sink.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

constexpr std::size_t BUFFER_BYTES = std::size_t{64} * 1024;

[[noreturn]] void ThrowUnwritable(const fs::path& oFile, const char* pszReason) {
  throw EHostError(STATUS_FAILED, "can't write to '" + ShowBytes(oFile.string()) + "': " + pszReason,
                   "give another file with --fast-export");
}

mode_t ProcessMask() {
  const mode_t nMask = umask(0);
  umask(nMask);
  return nMask;
}

}  // namespace

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

CExportTarget::CExportTarget(const std::string& strFile) : m_oFile(strFile) {
  if (strFile == "-") return;
  std::error_code oError;
  if (fs::exists(m_oFile, oError) && !fs::is_regular_file(m_oFile, oError)) {
    m_oDescriptor = VCM::CDescriptor(open(m_oFile.c_str(), O_WRONLY | O_CLOEXEC));
    if (!m_oDescriptor.IsOpen()) ThrowUnwritable(m_oFile, std::strerror(errno));
    return;
  }
  std::string strPartial = m_oFile.string() + ".XXXXXX";
  m_oDescriptor = VCM::CDescriptor(mkostemp(strPartial.data(), O_CLOEXEC));
  if (!m_oDescriptor.IsOpen()) ThrowUnwritable(m_oFile, std::strerror(errno));
  m_oPartial = strPartial;
}

CExportTarget::~CExportTarget() {
  std::error_code oIgnored;
  if (!m_oPartial.empty()) fs::remove(m_oPartial, oIgnored);
}

int CExportTarget::GetDescriptor() const {
  return m_oDescriptor.IsOpen() ? m_oDescriptor.Get() : STDOUT_FILENO;
}

void CExportTarget::Finish() {
  if (m_oPartial.empty()) return;
  // mkostemp() lets only the owner read the file; give it the usual permissions.
  fchmod(m_oDescriptor.Get(), 0666 & ~ProcessMask());
  std::error_code oError;
  fs::rename(m_oPartial, m_oFile, oError);
  if (oError) ThrowUnwritable(m_oFile, oError.message().c_str());
  m_oPartial.clear();
}

}  // namespace TALVEK::HOST
