#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "core/descriptor.h"
#include "core/export.h"

namespace TALVEK::VDB {

/// Rows that wait in a file: runs, each in the order of its keys, that are merged in the end.
///
/// Shape    Keys have four bytes at least. In the file, each row stands behind the lengths of its key and of
/// itself, in 4 bytes each, as this
///          process has them.
/// Errors   False, and GetError tells errno; some of the rows are lost then.
/// Memory   A block for the run that is written; when they are merged, one for each run.
/// Owns     The file, which should have no name: nobody else needs it, and it ends with the process.
class TALVEK_CORE_API CRowRuns {
 public:
  CRowRuns() = default;
  explicit CRowRuns(VCM::CDescriptor oFile) : m_oFile(std::move(oFile)) {}

  bool IsEmpty() const { return m_atRuns.empty(); }
  void BeginRun();
  /// Adds a row to the run that was begun last.
  bool Add(std::string_view strKey, std::string_view strRow);
  bool EndRun() { return FlushBuffer(); }

  /// Calls `fnVisit(strKey, strRow)` for each row by key, those with the same key in the order of their runs,
  /// until it returns false; then forgets all.
  template <class TVisit>
  bool Merge(TVisit fnVisit) {
    bool bVisited = BeginMerge();
    while (bVisited && !m_atHeap.empty())
      bVisited = fnVisit(First().Key(), First().Row()) && Advance();
    return EndMerge() && bVisited;
  }

  int GetError() const { return m_nError; }

 private:
  struct TRun {
    std::uint64_t nBegin;
    std::uint64_t nEnd;
  };

  /// Reads a run row by row.
  class CReader {
   public:
    CReader(int nDescriptor, const TRun& tRun) : m_nDescriptor(nDescriptor), m_tRest(tRun) {}
    bool IsAtEnd() const { return m_nKeySize == 0 && m_nRowSize == 0; }
    /// False with an errno when the run can't be read.
    bool Next();
    std::string_view Key() const { return Here().substr(0, m_nKeySize); }
    std::string_view Row() const { return Here().substr(m_nKeySize, m_nRowSize); }

   private:
    std::string_view Here() const { return std::string_view(m_strBuffer).substr(m_nPosition); }
    bool Fill(std::size_t nBytes);

    int m_nDescriptor;
    TRun m_tRest;  // what hasn't been read into the buffer
    std::string m_strBuffer;
    std::size_t m_nPosition = 0;  // of the key
    std::size_t m_nKeySize = 0;
    std::size_t m_nRowSize = 0;
  };

  /// A run that has a row left.
  struct TCandidate {
    std::uint64_t nBeginning;  // of the key, so that most comparisons needn't look at it
    std::size_t nRun;
  };

  bool FlushBuffer();
  bool Fail(int nError);
  bool BeginMerge();
  bool Advance();
  bool EndMerge();
  bool Enter(std::size_t nRun);
  /// The order of the heap: true when the left one comes later.
  auto ComesLater() const {
    return [this](const TCandidate& tLeft, const TCandidate& tRight) {
      if (tLeft.nBeginning != tRight.nBeginning) return tLeft.nBeginning > tRight.nBeginning;
      return std::make_tuple(m_aoReaders[tLeft.nRun].Key(), tLeft.nRun) >
             std::make_tuple(m_aoReaders[tRight.nRun].Key(), tRight.nRun);
    };
  }
  CReader& First() { return m_aoReaders[m_atHeap.front().nRun]; }

  VCM::CDescriptor m_oFile;
  std::vector<TRun> m_atRuns;
  std::string m_strBuffer;  // the end of the last run, not in the file yet
  std::vector<CReader> m_aoReaders;
  std::vector<TCandidate> m_atHeap;  // the one with the first row in front
  int m_nError = 0;
};

/// The first eight bytes of a key as a number, filled up with zeros: numbers that differ compare as the keys.
inline std::uint64_t KeyBeginning(std::string_view strKey) {
  std::uint64_t nBeginning = 0;
  for (std::size_t i = 0; i < sizeof nBeginning; ++i)
    nBeginning = nBeginning << 8U | (i < strKey.size() ? static_cast<unsigned char>(strKey[i]) : 0U);
  return nBeginning;
}

}  // namespace TALVEK::VDB
