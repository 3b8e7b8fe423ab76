#include "host/import_session.h"

#include <exception>
#include <filesystem>
#include <utility>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/stop_signal.h"
#include "host/text_output.h"

namespace fs = std::filesystem;

namespace TALVEK::HOST {
namespace {

/// What the provider sees of us: a repository view that leads to whoever watches the log.
class CHostView : public VRO::CReposView {
 public:
  explicit CHostView(std::shared_ptr<CImportLogWatch> poWatch) : m_poWatch(std::move(poWatch)) {}
  VRM::CConnection* GetConnection() const override { return m_poWatch.get(); }

 private:
  std::shared_ptr<CImportLogWatch> m_poWatch;
};

// A rename where that can be done, else a copy.
bool MoveFile(const fs::path& oFrom, const fs::path& oTo) {
  std::error_code oError;
  fs::rename(oFrom, oTo, oError);
  if (!oError) return true;
  oError.clear();
  if (!fs::copy_file(oFrom, oTo, fs::copy_options::overwrite_existing, oError)) return false;
  fs::remove(oFrom, oError);
  return true;
}

}  // namespace

CImportSession::CImportSession(const TParts& tParts, std::string strImportLog)
    : m_tParts(tParts),
      m_strImportLog(std::move(strImportLog)),
      m_poWatch(std::make_shared<CImportLogWatch>(tParts.oProgress)) {}

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
  // The file first: once the log goes to a connection, no file is opened for it any more.
  GetProvider().OpenLog(true);
  auto poView = std::make_shared<CHostView>(m_poWatch);
  GetProvider().SetRepositoryView(VRW::TObjectInvokeRef<VRO::CReposView>(std::move(poView)));
  GetProvider().LogToConnection();
}

void CImportSession::ReadHistory() {
  m_tParts.oProgress.BeginPhase("reading the history", "files", 0);
  EstablishStreams();
  if (GetProvider().EstablishChangesets(m_nChangeCount) != MCE::RESULT_OK) {
    throw EHostError(STATUS_FAILED, "the provider can't keep its import database",
                     "look for room and permissions in the temporary folder");
  }
  ThrowIfStopped();
  GetProvider().ResolveStreamLinkage();
  TakeStreams();
  if (!m_strImportLog.empty()) GetProvider().LogStreamsAndChanges();
  m_tParts.oProgress.EndPhase();
}

void CImportSession::EstablishStreams() {
  const int nResult = GetProvider().EstablishStreams(m_nStreamCount);
  ThrowIfStopped();
  RequireModule();
  if (nResult != MCE::RESULT_OK) {
    VCM::CString strComplaint = m_poWatch->GetComplaint();
    if (strComplaint.View().ends_with(L'.')) strComplaint = strComplaint.Left(strComplaint.GetLength() - 1);
    throw EHostError(
        STATUS_FAILED,
        "the history can't be read" + (strComplaint.IsEmpty() ? "" : ": " + ShowText(strComplaint)),
        m_tParts.oTable.ReadsSavedLog() ? "check the path of the saved log"
                                        : "check the repository's path and the module's name");
  }
}

// Only once the streams are tied together: a copy taken before doesn't say where a stream starts.
void CImportSession::TakeStreams() {
  m_atStreams = EnumerateStreams(GetProvider(), m_nStreamCount);
  if (m_atStreams.size() == m_nStreamCount) return;
  throw EHostError(STATUS_FAILED,
                   "only " + std::to_string(m_atStreams.size()) + " of " +
                       ShowCount(m_nStreamCount, "stream") +
                       " can be reached: the others have parents that don't exist",
                   "");
}

// Without a word that the client reached the module, nothing of the history is there: that is no import with
// losses but a wrong name, a server that is down or a client that is missing.
void CImportSession::RequireModule() const {
  if (!IsCutShort() || m_poWatch->HasReachedModule()) return;
  throw EHostError(STATUS_FAILED, "the repository gives no history" + CutShortText(),
                   "check the repository's path and the module's name; the command was: " +
                       ShowText(m_poWatch->GetLastCommand()));
}

std::string CImportSession::CutShortText() const {
  const VCM::CString& strWords = m_poWatch->GetClientWords();
  return strWords.IsEmpty() ? "" : ": " + ShowText(strWords);
}

void CImportSession::Close() noexcept {
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
  if (!m_strImportLog.empty()) {
    if (MoveFile(strLog, m_strImportLog)) return;
    m_tParts.oReport.Warning("can't write the import log to '" + ShowBytes(m_strImportLog) + "'");
  } else if (m_bSucceeded || IsStopRequested()) {
    fs::remove(strLog, oIgnored);
    return;
  }
  const std::string strWhere = "the import log is " + ShowBytes(strLog);
  // On the way out of a failure: whoever catches it has one line for everything.
  if (std::uncaught_exceptions() > 0) {
    m_tParts.oConsole.SetPostscript("; " + strWhere);
  } else {
    m_tParts.oReport.Note(strWhere);
  }
}

}  // namespace TALVEK::HOST
