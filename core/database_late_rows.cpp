#include "core/database_late_rows.h"

#include <algorithm>
#include <cerrno>
#include <tuple>
#include <utility>

namespace TALVEK::VDB {

void CLateRows::Add(std::string_view strKey, std::string_view strRow) {
  m_atRows.push_back({KeyBeginning(strKey), static_cast<std::uint32_t>(m_strBytes.size()),
                      static_cast<std::uint32_t>(strKey.size()), strRow.size()});
  m_strBytes += strKey;
  m_strBytes += strRow;
}

bool CLateRows::Spill(const CDatabaseFiles& oFiles) {
  if (m_oRuns.IsEmpty()) {
    VCM::CDescriptor oFile = oFiles.MakeScratchFile();
    if (!oFile.IsOpen()) {
      m_nFileError = errno;
      return false;
    }
    m_oRuns = CRowRuns(std::move(oFile));
  }
  return AddRun();
}

bool CLateRows::AddRun() {
  m_oRuns.BeginRun();
  return WriteFromMemory([this](std::string_view strKey, std::string_view strRow) {
           return m_oRuns.Add(strKey, strRow);
         }) &&
         m_oRuns.EndRun();
}

void CLateRows::Sort() {
  std::sort(m_atRows.begin(), m_atRows.end(), [this](const TRow& tLeft, const TRow& tRight) {
    if (tLeft.nBeginning != tRight.nBeginning) return tLeft.nBeginning < tRight.nBeginning;
    return std::make_tuple(Key(tLeft), tLeft.nOffset) < std::make_tuple(Key(tRight), tRight.nOffset);
  });
}

}  // namespace TALVEK::VDB
