#pragma once

#include <cstdint>
#include <string>

#include "host/console.h"

namespace TALVEK::HOST {

/// What the administrator must know of an import, line by line, and how much of it there was.
class CReport {
 public:
  explicit CReport(CConsole& oConsole) : m_oConsole(oConsole) {}
  CReport(const CReport&) = delete;
  CReport& operator=(const CReport&) = delete;

  /// Something is not in the result.
  void Loss(const std::string& strText) {
    ++m_nLosses;
    m_oConsole.Line("lost: " + strText);
  }
  /// Something is in the result, but not as it was.
  void Changed(const std::string& strText) { m_oConsole.Line("changed: " + strText); }
  void Warning(const std::string& strText) { m_oConsole.Line("warning: " + strText); }
  void Note(const std::string& strText) { m_oConsole.Line(strText); }

  std::uint64_t GetLossCount() const { return m_nLosses; }

 private:
  CConsole& m_oConsole;
  std::uint64_t m_nLosses = 0;
};

}  // namespace TALVEK::HOST
