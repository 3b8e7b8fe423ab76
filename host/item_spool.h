#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "host/spool_file.h"

namespace TALVEK::HOST {

/// The item paths of all changesets, written in one walk over the history and read back in a second one that
/// goes the same way. On disk: a history can have millions of items.
class CItemSpool {
 public:
  void AddPath(std::string strPath) { m_astrPaths.push_back(std::move(strPath)); }
  void EndChange();
  /// Ends the writing; the next changeset read is the first.
  void Rewind() { m_oFile.Seek(0); }
  /// The paths of the next changeset, in the order of its items. Only as often as EndChange was called.
  std::vector<std::string> ReadChange();

 private:
  void AppendNumber(std::size_t nNumber);
  std::size_t ReadNumber();

  CSpoolFile m_oFile;
  std::vector<std::string> m_astrPaths;
};

}  // namespace TALVEK::HOST
