#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TALVEK::HOST {

/// Standard error: whole lines, and on a terminal a transient line (the progress) below them. Errors in
/// writing are ignored.
class CConsole {
 public:
  CConsole();
  ~CConsole();
  CConsole(const CConsole&) = delete;
  CConsole& operator=(const CConsole&) = delete;

  bool IsTerminal() const { return m_bTerminal; }
  /// "talvek-import: " and the text, as a line of its own.
  void Line(std::string_view strText);
  /// Replaces the transient line (terminals only). It is cut to the terminal's width.
  void Transient(std::string_view strText);
  void ClearTransient();
  /// Text that main() appends to the error line of a failed run: where the import log is.
  void SetPostscript(std::string strText) { m_strPostscript = std::move(strText); }
  const std::string& GetPostscript() const { return m_strPostscript; }

 private:
  void Put(std::string_view strBytes);

  bool m_bTerminal;
  bool m_bTransient = false;
  std::string m_strPostscript;
};

/// Tells the administrator what an import loses or changes, a line at once for each event, and counts the
/// events for the summary.
class CReport {
 public:
  explicit CReport(CConsole& oConsole) : m_oConsole(oConsole) {}
  CReport(const CReport&) = delete;
  CReport& operator=(const CReport&) = delete;

  /// Something is not in the result.
  void Loss(const std::string& strText);
  /// Something is in the result, but not as it was.
  void Changed(const std::string& strText) { m_oConsole.Line("changed: " + strText); }
  /// A stream has another name in Git than in the foreign system. Both names hold no control characters.
  void Renamed(const std::string& strName, const std::string& strGitName, const std::string& strReason);
  void Warning(const std::string& strText) { m_oConsole.Line("warning: " + strText); }
  void Note(const std::string& strText) { m_oConsole.Line(strText); }

  std::uint64_t GetLossCount() const { return m_nLosses; }
  /// How many streams were renamed, and the names of the first ten; empty when none was.
  std::string RenamedText() const;

 private:
  CConsole& m_oConsole;
  std::uint64_t m_nLosses = 0;
  std::vector<std::string> m_astrRenamed;
};

}  // namespace TALVEK::HOST
