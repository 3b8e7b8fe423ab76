#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "exact/log_buffer.h"
#include "exact/rcs_file.h"

namespace TALVEK::EXACT {

/// What stands between two revisions of a file.
inline constexpr std::string_view REVISION_SEPARATOR = "----------------------------";
/// What stands behind the last revision of a file.
inline constexpr std::string_view FILE_SEPARATOR =
    "=============================================================================";
/// How the header of a file begins.
inline constexpr std::string_view HEADER_BEGIN = "RCS file: ";

/// The header of a file, from "RCS file:" to "description:".
struct TLogHeader {
  std::string strRcsPath;     ///< as printed, with "Attic/" and ",v"
  bool bWorkingFile = false;  ///< it has a line that only `cvs log` prints
  TNumber nHead;
  TNumber nDefaultBranch;
  std::vector<TRcsName> atNames;
  std::size_t nTotal = 0;     ///< revisions that the file has
  std::size_t nSelected = 0;  ///< revisions that the log shows
  bool bWhole = false;        ///< false: the log ends within the header
  std::size_t nNext = 0;      ///< the place behind it
};

/// Reads the header that begins at nAt; false: no header begins there.
bool ReadHeader(CLogBuffer& oLog, std::size_t nAt, TLogHeader& tHeader);

/// Reads a number such as 1.2.0.4; false when the text isn't one.
bool ReadNumber(std::string_view strText, TNumber& nNumber);
/// Reads a time, "2003/01/02 10:11:12" (UTC) or "2005-01-02 10:11:12 +0230", in seconds since 1970 UTC. A day
/// that its month doesn't have counts on into the next one.
bool ReadTime(std::string_view strText, std::int64_t& nTime);
/// Reads the line "revision 1.5", with or without a note of a lock.
bool ReadRevisionLine(std::string_view strLine, TRcsRevision& tRevision);
/// Reads the line "date: ...;  author: ...;  state: ...;" with whatever other fields it has.
bool ReadDateLine(std::string_view strLine, TRcsRevision& tRevision);
/// Reads the line "branches:  1.2.2;  1.2.4;" of revision nNumber (here 1.2); false when the line isn't one.
bool ReadBranchesLine(std::string_view strLine, const TNumber& nNumber, std::vector<TNumber>& anBranches);

}  // namespace TALVEK::EXACT
