#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/string.h"
#include "host/history_walk.h"
#include "host/import_log_watch.h"
#include "host/progress.h"
#include "host/property_table.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// One import through a provider. Calls the provider's operations in the order that it demands.
///
/// Shape    Configure, Open, ReadHistory, then any walk; Succeed when all went well.
/// Errors   EHostError and EStopped.
/// Owns     The import log. The destructor moves it to where the administrator wants it. Otherwise it deletes
///          it after a success or a stop, and keeps it, with a message, after a failure or losses.
class CImportSession {
 public:
  struct TParts {
    MCE::CProvider& oProvider;
    const CPropertyTable& oTable;
    CConsole& oConsole;
    CProgress& oProgress;
    CReport& oReport;
  };

  /// `strImportLog`: where the import log goes; empty: nowhere.
  CImportSession(const TParts& tParts, std::string strImportLog);
  ~CImportSession();
  CImportSession(const CImportSession&) = delete;
  CImportSession& operator=(const CImportSession&) = delete;

  /// Sets the properties and returns what the provider says of its environment; empty when all is well.
  VCM::CString Configure();
  /// Opens the log and names the client folder. After Configure.
  void Open(const std::string& strClientFolder);
  /// Reads the whole history into the import database.
  void ReadHistory();
  /// Says that the import has succeeded, so that the log isn't kept.
  void Succeed() { m_bSucceeded = true; }

  MCE::CProvider& GetProvider() const { return m_tParts.oProvider; }
  CImportLogWatch& GetLogWatch() { return *m_poWatch; }
  const CImportLogWatch& GetLogWatch() const { return *m_poWatch; }
  const std::vector<TStream>& GetStreams() const { return m_atStreams; }
  std::uint32_t GetChangeCount() const { return m_nChangeCount; }
  /// The foreign repository gave only a part of its history.
  bool IsCutShort() const { return m_poWatch->IsHistoryCutShort(); }
  /// Why: ": " and the client's error message; empty when it gave none.
  std::string CutShortText() const;

 private:
  void RequireModule() const;
  std::string ComplaintText() const;
  void EstablishStreams();
  void TakeStreams();
  void Close() noexcept;
  void SettleLog(const std::string& strLog);

  TParts m_tParts;
  std::string m_strImportLog;
  std::shared_ptr<CImportLogWatch> m_poWatch;
  std::vector<TStream> m_atStreams;
  unsigned m_nStreamCount = 0;
  std::uint32_t m_nChangeCount = 0;
  bool m_bOpen = false;
  bool m_bSucceeded = false;
};

}  // namespace TALVEK::HOST
