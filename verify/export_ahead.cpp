#include "verify/export_ahead.h"

#include <fcntl.h>

#include <csignal>
#include <system_error>

#include "core/child_process.h"
#include "core/descriptor.h"
#include "core/process_capture.h"
#include "core/text_codec.h"

namespace fs = std::filesystem;

namespace TALVEK::VERIFY {
namespace {

/// Enough to spend the clients' sleep, and few enough for a server and a disk.
constexpr std::size_t MOST_EXPORTS = 4;

}  // namespace

CExportAhead::~CExportAhead() {
  for (const auto& [strCommandLine, tExport] : m_atExports)
    VCM::SignalChild(tExport.nProcess, SIGTERM);
  for (const auto& [strCommandLine, tExport] : m_atExports)
    VCM::WaitForChild(tExport.nProcess);
}

bool CExportAhead::CanBegin() const {
  return m_atExports.size() < MOST_EXPORTS;
}

void CExportAhead::Begin(const VCM::CString& strCommandLine, const char* pszTarget) {
  const fs::path oFolder = m_oFolder / ("ahead-" + std::to_string(m_nBegun++));
  std::error_code oError;
  fs::create_directory(oFolder, oError);
  VCM::TChildStart tStart;
  for (const VCM::CString& strWord : VCM::SplitCommandLine(strCommandLine))
    tStart.astrArguments.push_back(VCM::ToBytes(strWord));
  // What it says doesn't matter: one that fails is run again.
  const VCM::CDescriptor oNowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
  tStart.nStdOutput = tStart.nStdError = oNowhere.Get();
  const std::string strFolder = oFolder.string();
  tStart.pszFolder = strFolder.c_str();
  TExport tExport;
  tExport.oTarget = oFolder / pszTarget;
  if (!oError && VCM::StartChild(tStart, tExport.nProcess) == 0)
    m_atExports.emplace(strCommandLine, std::move(tExport));
}

std::optional<fs::path> CExportAhead::Take(const VCM::CString& strCommandLine) {
  const auto oFound = m_atExports.find(strCommandLine);
  if (oFound == m_atExports.end()) return std::nullopt;
  const TExport tExport = oFound->second;
  m_atExports.erase(oFound);
  const VCM::TChildResult tResult = VCM::WaitForChild(tExport.nProcess);
  if (tResult.nKind == VCM::TChildResult::ENDED && tResult.nValue == 0) return tExport.oTarget;
  std::error_code oError;
  fs::remove_all(tExport.oTarget.parent_path(), oError);
  return std::nullopt;
}

}  // namespace TALVEK::VERIFY
