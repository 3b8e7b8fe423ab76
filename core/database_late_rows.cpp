#include "core/database_late_rows.h"

#include <algorithm>
#include <tuple>

namespace TALVEK::VDB {

void CLateRows::Add(std::string_view strKey, std::string_view strRow) {
  std::uint64_t nBeginning = 0;
  for (std::size_t i = 0; i < sizeof nBeginning; ++i)
    nBeginning = nBeginning << 8U | (i < strKey.size() ? static_cast<unsigned char>(strKey[i]) : 0U);
  m_atRows.push_back({nBeginning, static_cast<std::uint32_t>(m_strBytes.size()),
                      static_cast<std::uint32_t>(strKey.size()), strRow.size()});
  m_strBytes += strKey;
  m_strBytes += strRow;
}

void CLateRows::Sort() {
  std::sort(m_atRows.begin(), m_atRows.end(), [this](const TRow& tLeft, const TRow& tRight) {
    if (tLeft.nBeginning != tRight.nBeginning) return tLeft.nBeginning < tRight.nBeginning;
    return std::make_tuple(Key(tLeft), tLeft.nOffset) < std::make_tuple(Key(tRight), tRight.nOffset);
  });
}

}  // namespace TALVEK::VDB
