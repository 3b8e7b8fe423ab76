#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_buffer.h"
#include "exact/log_text.h"
#include "exact/rcs_file.h"

namespace TALVEK::EXACT {

enum class TMarkKind {
  HEADER,    ///< "RCS file:" to "description:"
  REVISION,  ///< a separator and the lines of number and date behind it
  RULE       ///< a line of equals signs, or the end of the log where none stands there
};

/// A place of the log that looks as if the client had printed it; it may be text all the same.
struct TMark {
  TMarkKind nKind = TMarkKind::RULE;
  std::size_t nAt = 0;    ///< where the text before it ends
  std::size_t nNext = 0;  ///< where the text behind it begins
  bool bFileEnd =
      false;  ///< a rule that a header or the end of the log follows; a header that follows a rule
  std::unique_ptr<TRcsRevision> ptRevision;  ///< without message
  std::vector<TNumber> anBranches;           ///< of a revision: those of a line "branches:" behind it
  std::unique_ptr<TLogHeader> ptHeader;
};

/// The marks of the file at hand and of the part of the log behind it that was looked at. The first one is
/// the file's header.
class CLogMarks {
 public:
  explicit CLogMarks(CLogBytes& oSource) : m_oLog(oSource) {}

  /// Goes to the first file; false: the log has none.
  bool FindFirstHeader();
  /// The first mark behind nMark that may end a file, looked for in the log when it must be; nothing: the log
  /// ends.
  std::optional<std::size_t> EndAfter(std::size_t nMark);
  /// Goes to the header behind the mark that ends the file.
  void DropFile(std::size_t nEnd);

  std::size_t Count() const { return m_atMarks.size(); }
  TMark& operator[](std::size_t nMark) { return m_atMarks[nMark]; }
  const TMark& operator[](std::size_t nMark) const { return m_atMarks[nMark]; }
  CLogBuffer& Log() { return m_oLog; }
  std::string_view Text(std::size_t nFrom, std::size_t nTo) const { return m_oLog.Text(nFrom, nTo); }
  /// Whether the log ends within a file, and this mark is its last one.
  bool IsCutAt(std::size_t nMark) const { return m_bCut && nMark + 1 == m_atMarks.size(); }
  /// What stands before the first file; at most 1,000 bytes.
  const std::string& Preface() const { return m_strPreface; }

 private:
  bool FindEnd();
  void FindInFirstText(std::string_view strLine, std::size_t nAt, std::size_t nNext, bool& bIsEnd);
  void FindRevision(std::size_t nSeparator, std::size_t nNext);
  bool FindRule(std::size_t nRule, std::size_t nNext);
  bool FindHeader(std::size_t nAt, bool bBehindRule);
  bool AddEnd(std::size_t nAt, std::size_t nNext, bool bCut);

  CLogBuffer m_oLog;
  std::string m_strPreface;
  std::deque<TMark> m_atMarks;
  std::size_t m_nScanned = 0;
  bool m_bFirstText = false;  // no separator has come since the last header
  bool m_bLogEnded = false;
  bool m_bCut = false;
};

}  // namespace TALVEK::EXACT
