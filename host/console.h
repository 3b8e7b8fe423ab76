#pragma once

#include <string>
#include <string_view>
#include <utility>

namespace TALVEK::HOST {

/// Standard error: whole lines, and on a terminal one line below them that is written over again and again.
class CConsole {
 public:
  CConsole();
  ~CConsole();
  CConsole(const CConsole&) = delete;
  CConsole& operator=(const CConsole&) = delete;

  bool IsTerminal() const { return m_bTerminal; }
  /// "talvek-import: " and the text, as a line of its own.
  void Line(std::string_view strText);
  /// Replaces the line below (terminals only); it is cut to the terminal's width.
  void Transient(std::string_view strText);
  void ClearTransient();
  /// What the last line of a failed run is to say besides its reason.
  void SetPostscript(std::string strText) { m_strPostscript = std::move(strText); }
  const std::string& GetPostscript() const { return m_strPostscript; }

 private:
  void Put(std::string_view strBytes);

  bool m_bTerminal;
  bool m_bTransient = false;
  std::string m_strPostscript;
};

}  // namespace TALVEK::HOST
