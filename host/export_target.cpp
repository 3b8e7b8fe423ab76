#include "host/export_target.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "host/exit_status.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

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
  // A temporary file is made for its owner alone; this one is to be as any other file is.
  fchmod(m_oDescriptor.Get(), 0666 & ~ProcessMask());
  std::error_code oError;
  fs::rename(m_oPartial, m_oFile, oError);
  if (oError) ThrowUnwritable(m_oFile, oError.message().c_str());
  m_oPartial.clear();
}

}  // namespace TALVEK::HOST
