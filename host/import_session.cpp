#include "host/import_session.h"

#include <unistd.h>

#include <exception>
#include <filesystem>
#include <fstream>
#include <utility>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/import_source.h"
#include "host/stop_signal.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

/// The repository view that the provider is given. Its connection receives the lines of the import log.
class CHostView : public VRO::CReposView {
 public:
  explicit CHostView(std::shared_ptr<CImportLogWatch> poWatch) : m_poWatch(std::move(poWatch)) {}
  VRM::CConnection* GetConnection() const override { return m_poWatch.get(); }

 private:
  std::shared_ptr<CImportLogWatch> m_poWatch;
};

bool IsAbsentOrFile(const fs::path& oPath) {
  std::error_code oError;
  const fs::file_status oStatus = fs::symlink_status(oPath, oError);
  return oStatus.type() == fs::file_type::not_found || fs::is_regular_file(oStatus);
}

// Renames where possible, else copies. A link, a pipe or a device is written to, not replaced.
bool MoveFile(const fs::path& oFrom, const fs::path& oTo) {
  std::error_code oError;
  if (IsAbsentOrFile(oTo)) {
    fs::rename(oFrom, oTo, oError);
    if (!oError) return true;
  }
  std::ofstream oTarget(oTo, std::ios::binary);
  std::ifstream oSource(oFrom, std::ios::binary);
  // operator<< counts an empty file as a failure.
  if (oSource.peek() != std::ifstream::traits_type::eof()) oTarget << oSource.rdbuf();
  if (!oTarget.flush()) return false;
  fs::remove(oFrom, oError);
  return true;
}

// Checked at the start: the log is moved there at the end, perhaps hours later.
void RequirePlaceForLog(const fs::path& oLog) {
  if (oLog.empty()) return;
  std::error_code oError;
  const fs::path oFolder = oLog.has_parent_path() ? oLog.parent_path() : fs::path(".");
  const std::string strProblem =
      fs::is_directory(oLog, oError)       ? "it is a folder"
      : !fs::is_directory(oFolder, oError) ? "its folder doesn't exist"
      : access(oFolder.c_str(), W_OK | X_OK) != 0 && access(oLog.c_str(), W_OK) != 0 ? "it can't be written"
                                                                                     : "";
  if (strProblem.empty()) return;
  throw EHostError(STATUS_FAILED,
                   "the import log can't go to '" + ShowBytes(oLog.string()) + "': " + strProblem,
                   "give another file with --import-log");
}

}  // namespace

CImportSession::CImportSession(const TParts& tParts, std::string strImportLog)
    : m_tParts(tParts),
      m_strImportLog(std::move(strImportLog)),
      m_poWatch(std::make_shared<CImportLogWatch>(tParts.oProgress)) {
  RequirePlaceForLog(m_strImportLog);
}

CImportSession::~CImportSession() {
  if (m_bOpen) Close();
}

VCM::CString CImportSession::Configure() {
  m_tParts.oTable.Apply(GetProvider());
  VCM::CString strMessage;
  if (GetProvider().CheckEnvironment(strMessage) == 0) strMessage.Clear();
  return strMessage;
}

void CImportSession::Open(const std::string& strClientFolder) {
  ThrowIfStopped();
  m_bOpen = true;
  if (!GetProvider().InitialiseClients(VCM::FromBytes(strClientFolder))) {
    throw EHostError(STATUS_FAILED, "the provider can't work in '" + ShowBytes(strClientFolder) + "'",
                     "give another folder with --work");
  }
  // OpenLog before LogToConnection, which opens the log; an open log gets no file any more.
  GetProvider().OpenLog(true);
  auto poView = std::make_shared<CHostView>(m_poWatch);
  GetProvider().SetRepositoryView(VRW::TObjectInvokeRef<VRO::CReposView>(std::move(poView)));
  GetProvider().LogToConnection();
}

void CImportSession::ReadHistory() {
  m_tParts.oProgress.BeginPhase("reading the history", "files", 0);
  m_poWatch->SetStopping(true);
  EstablishStreams();
  if (GetProvider().EstablishChangesets(m_nChangeCount) != MCE::RESULT_OK) {
    throw EHostError(STATUS_FAILED, "the provider can't keep its import database" + ComplaintText(),
                     "look for room and permissions in the temporary folder");
  }
  ThrowIfStopped();
  GetProvider().ResolveStreamLinkage();
  TakeStreams();
  if (!m_strImportLog.empty()) GetProvider().LogStreamsAndChanges();
  m_poWatch->SetStopping(false);
  m_tParts.oProgress.EndPhase();
}

void CImportSession::EstablishStreams() {
  const int nResult = GetProvider().EstablishStreams(m_nStreamCount);
  ThrowIfStopped();
  RequireModule();
  if (nResult != MCE::RESULT_OK) {
    throw EHostError(STATUS_FAILED,
                     "the history can't be read" + ComplaintText() + (IsCutShort() ? CutShortText() : ""),
                     ReadsSavedLog(m_tParts.oTable) ? "check the path of the saved log"
                                                    : "check the repository's path and the module's name");
  }
}

// Call it after ResolveStreamLinkage, which sets the base changes.
void CImportSession::TakeStreams() {
  m_atStreams = EnumerateStreams(GetProvider(), m_nStreamCount);
  if (m_atStreams.size() == m_nStreamCount) return;
  throw EHostError(STATUS_FAILED,
                   "only " + std::to_string(m_atStreams.size()) + " of " +
                       ShowCount(m_nStreamCount, "stream") +
                       " can be reached: the others have parents that don't exist",
                   "");
}

// If the client never found the module, there is no history at all: the name is wrong, the server is down or
// the client is missing. That is a failure, not an import with losses.
void CImportSession::RequireModule() const {
  if (!IsCutShort() || m_poWatch->HasReachedModule()) return;
  throw EHostError(STATUS_FAILED, "the repository gives no history" + CutShortText(),
                   "check the repository's path and the module's name; the command was: " +
                       ShowText(m_poWatch->GetLastCommand()));
}

std::string CImportSession::ComplaintText() const {
  VCM::CString strComplaint = m_poWatch->GetComplaint();
  if (strComplaint.View().ends_with(L'.')) strComplaint = strComplaint.Left(strComplaint.GetLength() - 1);
  return strComplaint.IsEmpty() ? "" : ": " + ShowText(strComplaint);
}

std::string CImportSession::CutShortText() const {
  const VCM::CString& strWords = m_poWatch->GetClientWords();
  return strWords.IsEmpty() ? "" : ": " + ShowText(strWords);
}

void CImportSession::Close() noexcept {
  m_poWatch->SetStopping(false);
  try {
    GetProvider().RemoveClients();
    const std::string strLog = VCM::ToBytes(GetProvider().GetLogPath());
    GetProvider().SetRepositoryView({});
    m_tParts.oProgress.EndPhase();
    if (!strLog.empty()) SettleLog(strLog);
  } catch (const std::exception&) {
    // Out of memory at the very end: the log stays where it is.
  }
}

void CImportSession::SettleLog(const std::string& strLog) {
  std::error_code oIgnored;
  const bool bWhole = m_poWatch->IsKeptIn(strLog);
  if (!m_strImportLog.empty()) {
    if (!bWhole)
      m_tParts.oReport.Warning("the import log lacks lines that found no room in " + ShowBytes(strLog));
    if (MoveFile(strLog, m_strImportLog)) return;
    m_tParts.oReport.Warning("can't write the import log to '" + ShowBytes(m_strImportLog) + "'");
  } else if (m_bSucceeded || IsStopRequested()) {
    fs::remove(strLog, oIgnored);
    return;
  }
  const std::string strWhere =
      "the import log is " + ShowBytes(strLog) + (bWhole ? "" : ", without lines that found no room");
  // If we are here by an exception, main() prints one line for it; the place of the log belongs to that line.
  if (std::uncaught_exceptions() > 0) {
    m_tParts.oConsole.SetPostscript("; " + strWhere);
  } else {
    m_tParts.oReport.Note(strWhere);
  }
}

}  // namespace TALVEK::HOST
