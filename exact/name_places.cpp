#include "exact/name_places.h"

#include <tuple>

namespace TALVEK::EXACT {

void CNamePlaces::CloseRun() {
  std::sort(m_atOpen.begin(), m_atOpen.end(), [](const TOpen& tLeft, const TOpen& tRight) {
    return std::tie(tLeft.nName, tLeft.tPlace.nFile) < std::tie(tRight.nName, tRight.tPlace.nFile);
  });
  TRun tRun;
  std::uint64_t nPlace = m_oSpool.Size() / sizeof(TNamePlace);
  for (const TOpen& tOpen : m_atOpen) {
    if (tRun.atStarts.empty() || tRun.atStarts.back().nName != tOpen.nName) {
      tRun.atStarts.push_back({tOpen.nName, nPlace});
    }
    m_oSpool.Append(&tOpen.tPlace, sizeof(TNamePlace));
    ++nPlace;
  }
  tRun.nEnd = nPlace;
  m_atRuns.push_back(std::move(tRun));
  m_atOpen.clear();
}

void CNamePlaces::Finish() {
  CloseRun();
  m_atOpen.shrink_to_fit();
}

}  // namespace TALVEK::EXACT
