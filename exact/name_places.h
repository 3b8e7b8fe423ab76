#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "exact/records.h"
#include "exact/spool.h"

namespace TALVEK::EXACT {

/// Where a name stands in a file.
struct TNamePlace {
  TIndex nFile = NONE;
  TIndex nRevision =
      NONE;             ///< a tag: its revision; a branch: the revision that it sprouts from; NONE: not there
  TIndex nLine = NONE;  ///< a branch: its line, if that has revisions
};

/// The places of all names: written file by file, read name by name.
///
/// 1,500 names on 400,000 files are 600 million records. They are collected in memory up to a limit, sorted
/// by name and appended to a spool as a run. Files come in order, so that the places of a name, run after
/// run, are in the order of files without a merge.
///
/// Errors   As CSpool.
class CNamePlaces {
 public:
  explicit CNamePlaces(std::size_t nRecordsInMemory = std::size_t{4} << 20)
      : m_nRecordsInMemory(nRecordsInMemory) {}

  /// REQUIRES: the files of one name come in ascending order.
  void Append(TIndex nName, const TNamePlace& tPlace) {
    if (m_atOpen.size() == m_nRecordsInMemory) CloseRun();
    m_atOpen.push_back({nName, tPlace});
  }
  /// After the last Append.
  void Finish();

  /// Calls fnPlace(const TNamePlace&) in ascending order of files.
  template <class TFunction>
  void ForEach(TIndex nName, TFunction fnPlace) const {
    ForEachWhile(nName, [&](const TNamePlace& tPlace) {
      fnPlace(tPlace);
      return true;
    });
  }
  /// The same, until fnPlace returns false.
  template <class TFunction>
  void ForEachWhile(TIndex nName, TFunction fnPlace) const {
    for (const TRun& tRun : m_atRuns) {
      const auto it = std::lower_bound(tRun.atStarts.begin(), tRun.atStarts.end(), nName,
                                       [](const TStart& tStart, TIndex n) { return tStart.nName < n; });
      if (it == tRun.atStarts.end() || it->nName != nName) continue;
      const std::uint64_t nEnd = it + 1 == tRun.atStarts.end() ? tRun.nEnd : (it + 1)->nFirst;
      TNamePlace atBlock[512];
      for (std::uint64_t nPlace = it->nFirst; nPlace < nEnd;) {
        const std::size_t nCount = static_cast<std::size_t>(std::min<std::uint64_t>(512, nEnd - nPlace));
        m_oSpool.Read(nPlace * sizeof(TNamePlace), atBlock, nCount * sizeof(TNamePlace));
        for (std::size_t n = 0; n < nCount; ++n)
          fnPlace(static_cast<const TNamePlace&>(atBlock[n]));
        nPlace += nCount;
      }
    }
  }

 private:
  struct TOpen {
    TIndex nName;
    TNamePlace tPlace;
  };
  struct TStart {
    TIndex nName;
    std::uint64_t nFirst;  ///< record in the spool
  };
  struct TRun {
    std::vector<TStart> atStarts;  ///< ascending by name
    std::uint64_t nEnd = 0;
  };

  void CloseRun();

  std::size_t m_nRecordsInMemory;
  std::vector<TOpen> m_atOpen;
  std::vector<TRun> m_atRuns;
  CSpool m_oSpool;
};

}  // namespace TALVEK::EXACT
