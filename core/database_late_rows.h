#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/database_files.h"
#include "core/database_row_runs.h"
#include "core/export.h"

namespace TALVEK::VDB {

/// Rows that are to be written all together, in the order of their keys.
///
/// Memory   MOST_BYTES, about, for whoever calls Spill when they are full.
class TALVEK_CORE_API CLateRows {
 public:
  static constexpr std::size_t MOST_BYTES = std::size_t{8} << 20;
  /// Larger ones had better be written at once.
  static constexpr std::size_t LARGE_ROW = std::size_t{64} << 10;

  void Add(std::string_view strKey, std::string_view strRow);
  bool IsEmpty() const { return m_atRows.empty() && m_oRuns.IsEmpty(); }
  bool IsFull() const { return m_strBytes.size() + m_atRows.size() * sizeof(TRow) >= MOST_BYTES; }

  /// Puts what is in memory into a file beside the database's. False when it can't be written; then GetError
  /// tells errno, and rows are lost.
  bool Spill(const CDatabaseFiles& oFiles);

  /// Calls `fnWrite(strKey, strRow)` for each row by key, those with the same key as they were added, until
  /// it returns false; then forgets all. False when a call did, or when the file can't be written or read;
  /// GetError is not 0 then.
  template <class TWrite>
  bool Write(TWrite fnWrite) {
    if (m_oRuns.IsEmpty()) return WriteFromMemory(fnWrite);
    return AddRun() && m_oRuns.Merge(fnWrite);
  }

  int GetError() const { return m_nFileError != 0 ? m_nFileError : m_oRuns.GetError(); }

 private:
  struct TRow {
    std::uint64_t nBeginning;  // of the key, so that most comparisons needn't look at it
    std::uint32_t nOffset;
    std::uint32_t nKeySize;
    std::size_t nRowSize;
  };

  std::string_view Key(const TRow& tRow) const {
    return std::string_view(m_strBytes).substr(tRow.nOffset, tRow.nKeySize);
  }
  std::string_view Row(const TRow& tRow) const {
    return std::string_view(m_strBytes).substr(tRow.nOffset + tRow.nKeySize, tRow.nRowSize);
  }
  void Sort();
  bool AddRun();

  template <class TWrite>
  bool WriteFromMemory(TWrite fnWrite) {
    Sort();
    bool bWritten = true;
    for (auto it = m_atRows.begin(); bWritten && it != m_atRows.end(); ++it)
      bWritten = fnWrite(Key(*it), Row(*it));
    m_atRows.clear();
    m_strBytes.clear();
    return bWritten;
  }

  std::string m_strBytes;  // keys and rows, one behind the other
  std::vector<TRow> m_atRows;
  CRowRuns m_oRuns;
  int m_nFileError = 0;  // there is no file for the runs
};

}  // namespace TALVEK::VDB
