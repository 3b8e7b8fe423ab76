#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace TALVEK::EXACT {

/// A revision or branch number as its components: 1.2.0.4 is {1, 2, 0, 4}.
using TNumber = std::vector<std::uint32_t>;

/// "1.2.0.4"
std::string NumberText(const TNumber& nNumber);

/// A symbolic name of one RCS file, as the log prints it: a branch keeps its magic 0.
struct TRcsName {
  std::string strName;
  TNumber nNumber;
};

/// One revision of one RCS file, as the log prints it.
struct TRcsRevision {
  TNumber nNumber;
  std::int64_t nTime = 0;  ///< seconds since 1970 UTC
  std::string strAuthor;
  bool bDead = false;       ///< the state is "dead"; a revision in any other state is alive
  std::string strCommitId;  ///< empty where the server notes none
  std::string strMessage;   ///< lines joined by line feeds, without the last line end
  bool bDiffers = false;    ///< lines were added or removed since the revision before; false: not told
};

/// One RCS file of the history. Texts are the bytes of the log.
struct TRcsFile {
  std::string strPath;                    ///< below the repository's directory, without "Attic/" and ",v"
  TNumber nHead;                          ///< empty where the file has no head
  TNumber nDefaultBranch;                 ///< of the header line "branch:"; empty where there is none
  std::vector<TRcsName> atNames;          ///< in the order of the log
  std::vector<TRcsRevision> atRevisions;  ///< in the order of the log
  std::string strRepair;     ///< what in this file's log was odd and how it was read; empty: nothing
  bool bIncomplete = false;  ///< the log's own counts couldn't be met: some revision is lost or made up
};

}  // namespace TALVEK::EXACT
