#pragma once

#include <compare>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "exact/log_buffer.h"
#include "exact/log_marks.h"
#include "exact/log_path.h"
#include "exact/rcs_file.h"

namespace TALVEK::EXACT {

/// Reads what `cvs rlog` prints, one file at a time.
///
/// Counts decide, not separators. A message may hold anything, a whole pasted log with headers and separators
/// included, so a line that looks like a separator is only a candidate. Of a file's candidates as many are
/// chosen as the header's "selected revisions" says, with unique numbers in the order in which the client
/// prints them (log_choice.h). The end of a file is a candidate, too: the first one at which the counts are
/// met.
/// 1. Where a message holds a header with all its revisions and its last line, these are text.
/// 2. Where the counts can't be met in this way, they may be any candidates.
/// 3. Where the chosen end is the last line of a pasted log, more of that log may follow. The end is moved
///    on if that leaves, in the part of the log ahead, fewer files that come twice; then fewer files out of
///    order, where no file was before; then, if the file has a last line of its own there.
/// What was odd is told in TRcsFile::strRepair. Where no choice meets the counts, all that is there up to the
/// first end is given, and TRcsFile::bIncomplete is set; also for the last file of a log that is cut off.
///
/// Cost     Linear where messages hold no separators. Memory: the texts of one file; where a message holds a
///          header or counts aren't met, also up to 16 MiB of the log ahead; a hash for each path.
/// Threads  One at a time.
class CLogReader {
 public:
  /// The source must outlive the reader. strRootDirectory: where the root says that the repository
  /// lies, such as "/cvs"; it is cut off the paths. strModule, which may be empty, helps to do this in a log
  /// from elsewhere.
  CLogReader(CLogBytes& oSource, std::string strRootDirectory, std::string strModule = {});
  CLogReader(const CLogReader&) = delete;
  CLogReader& operator=(const CLogReader&) = delete;

  /// The next file; false at the end of the log, tFile is empty then.
  bool Next(TRcsFile& tFile);
  /// What stands before the first file, such as an error of the server; at most 1,000 bytes. Complete after
  /// the first call of Next.
  const std::string& Preface() const { return m_oMarks.Preface(); }

 private:
  /// How a file is read: its end and its revisions, as indices of marks.
  struct TReading {
    std::size_t nEnd = 0;
    std::vector<std::size_t> anRevisions;
    std::size_t nTextRevisions = 0;  // candidates that are text
    std::size_t nTextHeaders = 0;
    bool bOnlyOne = true;
    bool bMet = true;  // the counts are met
  };
  /// What speaks against an end, the weightiest first.
  struct TOdds {
    std::size_t nTwice = 0;
    std::size_t nOutOfOrder = 0;
    bool bEndIsPasted = false;
    auto operator<=>(const TOdds&) const = default;  // NOLINT(modernize-use-nullptr): a false alarm
  };
  /// Header of a pasted log and its last line, as indices of marks.
  using TPastedEnds = std::unordered_map<std::size_t, std::size_t>;

  // Choosing the end and the revisions
  bool WithinReach(std::size_t nFirstEnd, std::size_t nEnd, std::size_t nEnds) const;
  bool MayEndAt(std::size_t nEnd) const;
  bool HoldsHeader(std::size_t nEnd) const;
  bool AddCandidates(std::size_t nFrom, std::size_t nEnd, bool bSkipPasted,
                     std::vector<std::size_t>& anMarks) const;
  std::optional<std::size_t> EndOfPasted(std::size_t nHeader, std::size_t nEnd,
                                         const TPastedEnds& anEnds) const;
  std::optional<TReading> ReadUpTo(std::size_t nEnd, const std::vector<std::size_t>& anMarks) const;
  TReading ChooseReading();
  std::vector<TOdds> OddsOf(const std::vector<std::size_t>& anEnds) const;
  TReading BeyondPasted(TReading tReading, bool bSkipPasted, std::vector<std::size_t> anMarks);
  TReading WhatIsThere(std::size_t nEnd) const;
  bool ComesBefore(const TMark& tFirst, const TMark& tSecond) const;

  // Making the file
  void MakeFile(const TReading& tReading, TRcsFile& tFile);
  void SettleBranchLines(const TReading& tReading);
  void NoteRepairs(const TReading& tReading, TRcsFile& tFile) const;

  CLogMarks m_oMarks;
  CRepositoryPath m_oPath;
  bool m_bStarted = false;
  bool m_bInOrder = true;  // all files so far came in the order in which the client walks
  bool m_bWorkingFiles = false;
  std::string m_strLastPath;
  std::unordered_set<std::size_t> m_anPathHashes;
};

}  // namespace TALVEK::EXACT
