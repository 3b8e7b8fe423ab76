#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <vector>

#include "core/connection.h"
#include "core/string.h"
#include "host/progress.h"

namespace TALVEK::HOST {

/// Receives each line of the import log as it is written: shows how far the reading is, and remembers what
/// explains a failure.
class CImportLogWatch : public VRM::CConnection {
 public:
  explicit CImportLogWatch(CProgress& oProgress) : m_oProgress(oProgress) {}

  void Message(const wchar_t* pszFormat, ...) override;

  /// From now on Message throws EStopped once a stop was asked for. Throwing from the log callback is the
  /// only way to stop the provider, which else would start the client again that the same signal ended.
  void SetStopping(bool bStopping) { m_bStopping = bStopping; }

  /// The log of the foreign repository was not read to its end.
  bool IsHistoryCutShort() const { return m_bCutShort; }
  /// The files of which revisions are lost, as "FILE': what its log lacks".
  const std::vector<VCM::CString>& GetIncompleteLogs() const { return m_astrIncompleteLogs; }
  /// How many files' logs were odd, and are read whole all the same.
  std::uint64_t GetRepairedLogCount() const { return m_nRepairedLogs; }
  /// What the provider tells of its plan; empty when it tells nothing.
  const VCM::CString& GetPlan() const { return m_strPlan; }
  /// The foreign client got as far as the module.
  bool HasReachedModule() const { return m_bReachedModule; }
  /// The first line in which the provider itself complains; empty when it doesn't.
  const VCM::CString& GetComplaint() const { return m_strComplaint; }
  const VCM::CString& GetLastCommand() const { return m_strCommand; }
  /// The last line that the foreign client wrote on its standard error since ForgetClientWords.
  const VCM::CString& GetClientWords() const { return m_strClientWords; }
  void ForgetClientWords() { m_strClientWords.Clear(); }
  /// True when the file holds every line that came here. A provider doesn't report lines that it could not
  /// write.
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
