// A log file that can't be written is no reason for a message. wxWidgets would print one on the server's
// standard error; wxLogNull suppresses it.

#include "mce/import_log.h"

#include <ctime>
#include <string>
#include <string_view>
#include <utility>

#include <wx/convauto.h>
#include <wx/filename.h>
#include <wx/log.h>
#include <wx/txtstrm.h>

#include "core/text_codec.h"

namespace TALVEK::MCE {

namespace {

// A line's prefix is the second of the hour. That is enough to see how long a step took.
constexpr int SECONDS_PER_HOUR = 3600;

}  // namespace

/// wxWidgets' text stream in UTF-8, with a function that writes bytes without its conversion. That copies a
/// line character by character, which took longer than everything else in writing a line.
class CImportLog::CLineStream : public wxTextOutputStream {
 public:
  /// The stream is lent and must outlive this one.
  explicit CLineStream(wxOutputStream& oOutput) : wxTextOutputStream(oOutput, wxEOL_NATIVE, wxConvAuto()) {}

  /// Writes a line that is UTF-8 already and ends with a line feed, which is the native line end.
  void WriteLine(std::string_view strBytes) { m_output.Write(strBytes.data(), strBytes.size()); }
};

VCM::CString MakeLogLine(VCM::CString strText, long long nNow) {
  std::wstring strLine = strText.Release();
  strLine.insert(0, L": ");
  strLine.insert(0, std::to_wstring(nNow % SECONDS_PER_HOUR));
  if (!strLine.ends_with(L'\n')) strLine += L'\n';
  return VCM::CString(std::move(strLine));
}

CImportLog::CImportLog(const TReposView& oReposView) : m_oReposView(oReposView) {}

CImportLog::~CImportLog() {
  CloseFile();
}

void CImportLog::LogToConnection() {
  m_bToConnection = true;
  m_bOpen = true;
}

bool CImportLog::Open() {
  if (m_bOpen) return false;
  m_bOpen = true;

  const wxLogNull oQuiet;
  wxFileName oFile;
  oFile.AssignTempFileName("Talvek");
  const wxString strPath = oFile.GetFullPath();
  m_strPath = VCM::CString(strPath.ToStdWstring());
  // After Pause the old file is still open. Nothing in it is lost: each line has been flushed.
  CloseFile();
  m_poFile = std::make_unique<wxFFileOutputStream>(strPath, "wb");
  // No stream over a file that isn't open: wxWidgets' assertions would print a message for each line.
  if (m_poFile->IsOk()) m_poLines = std::make_unique<CLineStream>(*m_poFile);
  return true;
}

void CImportLog::CloseFile() {
  const wxLogNull oQuiet;
  m_poLines.reset();
  m_poFile.reset();
}

VCM::CString CImportLog::Close() {
  CloseFile();
  m_bOpen = false;
  return m_strPath;
}

void CImportLog::WriteV(const wchar_t* pszFormat, std::va_list args) {
  if (!m_bOpen) return;
  m_strLastLine.FormatV(pszFormat, args);
  m_strLastLine = MakeLogLine(std::move(m_strLastLine), std::time(nullptr));

  if (m_poLines) {
    const wxLogNull oQuiet;
    m_poLines->WriteLine(VCM::ToUtf8(m_strLastLine));
    m_poFile->GetFile()->Flush();
  }
  if (m_bToConnection && !m_oReposView.IsEmpty()) {
    if (VRM::CConnection* poConnection = m_oReposView->GetConnection()) {
      poConnection->Message(L"%s", m_strLastLine.c_str());
    }
  }
}

CLogSink::CLogSink(std::function<void(const VCM::CString& strText)> fnWrite, std::function<bool()> fnIsOpen)
    : m_fnWrite(std::move(fnWrite)), m_fnIsOpen(std::move(fnIsOpen)) {}

void CLogSink::WriteLog(const wchar_t* pszFormat, ...) const {
  if (!IsLogOpen()) return;
  VCM::CString strText;
  std::va_list args;
  va_start(args, pszFormat);
  strText.FormatV(pszFormat, args);
  va_end(args);
  m_fnWrite(strText);
}

}  // namespace TALVEK::MCE
