#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "core/connection.h"
#include "core/string.h"
#include "host/progress.h"

namespace TALVEK::HOST {

/// The connection that receives each line of the import log as it is written. It updates the progress, and
/// keeps the lines that explain a failure.
class CImportLogWatch : public VRM::CConnection {
 public:
  explicit CImportLogWatch(CProgress& oProgress) : m_oProgress(oProgress) {}

  void Message(const wchar_t* pszFormat, ...) override;

  /// With true, Message throws EStopped once a stop signal has come. Throwing from the log callback is the
  /// only way to stop a provider that is reading the history: when a signal ends its client, it would start
  /// another one.
  void SetStopping(bool bStopping) { m_bStopping = bStopping; }

  /// The log of the foreign repository was not read to its end.
  bool IsHistoryCutShort() const { return m_bCutShort; }
  /// One entry for each file that has lost revisions: FILE': REASON, the end of its log line (it has no
  /// opening quote).
  const std::vector<VCM::CString>& GetIncompleteLogs() const { return m_astrIncompleteLogs; }
  /// The number of files whose logs were malformed, but could be read completely.
  std::uint64_t GetRepairedLogCount() const { return m_nRepairedLogs; }
  /// What the provider says of its plan (MCE::LOG_PLAN); empty when it says nothing.
  const VCM::CString& GetPlan() const { return m_strPlan; }
  /// The client found the module.
  bool HasReachedModule() const { return m_bReachedModule; }
  /// The first error line of the provider itself ("Failed ..."); empty when there is none.
  const VCM::CString& GetComplaint() const { return m_strComplaint; }
  const VCM::CString& GetLastCommand() const { return m_strCommand; }
  /// The last error line of the client since ForgetClientWords; empty when there is none.
  const VCM::CString& GetClientWords() const { return m_strClientWords; }
  void ForgetClientWords() { m_strClientWords.Clear(); }
  /// True when the log file has every line that came here. A provider doesn't report lines that it couldn't
  /// write (disk full).
  bool IsKeptIn(const std::filesystem::path& oLog) const;

 private:
  void TakeLine(std::wstring_view strText);
  void TakeClientLine(std::wstring_view strText);
  void TakeComplaint(std::wstring_view strText);

  CProgress& m_oProgress;
  VCM::CString m_strComplaint;
  VCM::CString m_strCommand;
  VCM::CString m_strClientWords;
  VCM::CString m_strLastLine;
  VCM::CString m_strPlan;
  std::vector<VCM::CString> m_astrIncompleteLogs;
  std::uint64_t m_nRepairedLogs = 0;
  std::uint64_t m_nLogBytes = 0;
  std::uint64_t m_nFiles = 0;
  bool m_bCutShort = false;
  bool m_bReachedModule = false;
  bool m_bStopping = false;
};

}  // namespace TALVEK::HOST
