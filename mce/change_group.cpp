#include "mce/change_group.h"

#include <algorithm>
#include <iterator>
#include <string_view>
#include <utility>

#include "core/text_codec.h"
#include "core/text_hash.h"

namespace TALVEK::MCE {

namespace {

/// What a group takes beside its texts and changes, about: itself, and what the heap keeps for each piece.
constexpr std::size_t GROUP_BYTES = sizeof(CChangeGroup) + 64;

std::string ToStored(std::wstring_view strText) {
  std::string strStored;
  VCM::EncodeStored(strText, strStored);
  return strStored;
}

/// True when both are the same ASCII text. Without a way out of the loop, so that many characters are
/// compared at a time.
bool AreSameAscii(std::string_view strStored, std::wstring_view strText) {
  if (strStored.size() != strText.size()) return false;
  std::uint32_t nDifference = 0;
  for (std::size_t i = 0; i < strStored.size(); ++i) {
    const std::uint32_t nByte = static_cast<unsigned char>(strStored[i]);
    nDifference |= (nByte ^ static_cast<std::uint32_t>(strText[i])) | (nByte & 0x80U);
  }
  return nDifference == 0;
}

bool EqualsNoCase(std::string_view strStored, std::wstring_view strText) {
  return AreSameAscii(strStored, strText) || VCM::DecodeStored(strStored).EqualsNoCase(strText);
}

}  // namespace

TChangeGroupKey::TChangeGroupKey(std::uint32_t nStream, std::wstring_view strUserName,
                                 std::wstring_view strMessage)
    : strUser(strUserName), strComment(strMessage) {
  nStreamID = nStream;
  const VCM::CTextHash oHash = VCM::CTextHash().AddNoCase(strUser).AddNoCase(strComment);
  nHashHigh = oHash.GetHigh();
  nHashLow = oHash.GetLow();
}

std::size_t TChangeGroupNumbers::GetHash() const {
  const std::uint64_t nTexts = std::uint64_t{nHashHigh} << 32U | nHashLow;
  const std::uint64_t nNumbers = (std::uint64_t{nStreamID} << 32U | nPeriod) * 0x9E3779B97F4A7C15U;
  return nTexts ^ nNumbers >> 16U;
}

CChangeGroup::CChangeGroup(const TChangeGroupKey& tKey)
    : m_tNumbers(tKey), m_strUser(ToStored(tKey.strUser)), m_strComment(ToStored(tKey.strComment)) {}

bool CChangeGroup::IsOf(const TChangeGroupKey& tKey) const {
  return m_tNumbers == tKey && EqualsNoCase(m_strUser, tKey.strUser) &&
         EqualsNoCase(m_strComment, tKey.strComment);
}

std::size_t CChangeGroup::GetBytes() const {
  return GROUP_BYTES + m_strUser.size() + m_strComment.size() + m_atChanges.size() * sizeof(TOpenChange);
}

void CChangeGroup::Add(const TOpenChange& tChange) {
  m_atChanges.push_back(tChange);
  if (m_atChanges.size() < CROWD) return;
  if (!m_poSeconds) m_poSeconds = std::make_unique<std::map<std::uint32_t, TSecond>>();
  const std::size_t nFirst = m_atChanges.size() == CROWD ? 0 : m_atChanges.size() - 1;
  for (std::size_t i = nFirst; i < m_atChanges.size(); ++i)
    AddToSecond(static_cast<std::uint32_t>(i));
}

int CChangeGroup::FindFirst(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const {
  return m_poSeconds ? FindFirstOfCrowd(tWindow, nLookedAt) : FindFirstOfAll(tWindow, nLookedAt);
}

int CChangeGroup::FindFirstOfAll(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const {
  int nFound = -1;
  for (std::uint32_t i = 0; i < m_atChanges.size(); ++i) {
    const bool bEarlier =
        nFound < 0 || m_atChanges[i].nTime < m_atChanges[static_cast<std::size_t>(nFound)].nTime;
    if (bEarlier && IsAdmitted(tWindow, i)) nFound = static_cast<int>(i);
  }
  nLookedAt += m_atChanges.size();
  return nFound;
}

int CChangeGroup::FindFirstOfCrowd(const TGroupingWindow& tWindow, std::uint64_t& nLookedAt) const {
  const std::uint32_t nHigh = std::min(tWindow.nHigh, tWindow.nEndTime);
  for (auto it = m_poSeconds->lower_bound(tWindow.nLow); it != m_poSeconds->end() && it->first <= nHigh;
       ++it) {
    ++nLookedAt;
    if (it->second.back().nMaxTime <= tWindow.nTime) continue;
    const int nFound = FindFirstOfSecond(it->second, tWindow, nLookedAt);
    if (nFound >= 0) return nFound;
  }
  return -1;
}

int CChangeGroup::FindFirstOfSecond(const TSecond& atPlaces, const TGroupingWindow& tWindow,
                                    std::uint64_t& nLookedAt) const {
  auto it = std::partition_point(atPlaces.begin(), atPlaces.end(),
                                 [&](const TPlace& tPlace) { return tPlace.nMaxTime <= tWindow.nTime; });
  for (; it != atPlaces.end(); ++it) {
    ++nLookedAt;
    if (IsAdmitted(tWindow, it->nChange)) return static_cast<int>(it->nChange);
  }
  return -1;
}

bool CChangeGroup::IsAdmitted(const TGroupingWindow& tWindow, std::uint32_t nChange) const {
  const TOpenChange& tChange = m_atChanges[nChange];
  return tWindow.Admits(tChange.nTime, tChange.nBaseTime, tChange.nMaxTime);
}

void CChangeGroup::Join(int nPlace, std::uint32_t nItemTime, std::uint32_t nItemEnd) {
  const auto nChange = static_cast<std::uint32_t>(nPlace);
  TOpenChange& tChange = m_atChanges[nChange];
  const bool bOther = nItemTime > tChange.nTime || nItemEnd < tChange.nMaxTime;
  const bool bReorder = bOther && m_poSeconds;
  if (bReorder) RemoveFromSecond(nChange);
  tChange.nTime = std::max(tChange.nTime, nItemTime);
  tChange.nMaxTime = std::min(tChange.nMaxTime, nItemEnd);
  ++tChange.nNextItem;
  tChange.bAltered = true;
  if (bReorder) AddToSecond(nChange);
}

void CChangeGroup::AddToSecond(std::uint32_t nChange) {
  TSecond& atPlaces = (*m_poSeconds)[m_atChanges[nChange].nTime];
  auto it = std::partition_point(atPlaces.begin(), atPlaces.end(),
                                 [&](const TPlace& tPlace) { return tPlace.nChange < nChange; });
  it = atPlaces.insert(it, {nChange, 0});
  std::uint32_t nMaxTime = it == atPlaces.begin() ? 0 : std::prev(it)->nMaxTime;
  for (; it != atPlaces.end(); ++it)
    it->nMaxTime = nMaxTime = std::max(nMaxTime, m_atChanges[it->nChange].nMaxTime);
}

void CChangeGroup::RemoveFromSecond(std::uint32_t nChange) {
  const auto itSecond = m_poSeconds->find(m_atChanges[nChange].nTime);
  TSecond& atPlaces = itSecond->second;
  auto it = std::partition_point(atPlaces.begin(), atPlaces.end(),
                                 [&](const TPlace& tPlace) { return tPlace.nChange < nChange; });
  it = atPlaces.erase(it);
  std::uint32_t nMaxTime = it == atPlaces.begin() ? 0 : std::prev(it)->nMaxTime;
  for (; it != atPlaces.end(); ++it)
    it->nMaxTime = nMaxTime = std::max(nMaxTime, m_atChanges[it->nChange].nMaxTime);
  if (atPlaces.empty()) m_poSeconds->erase(itSecond);
}

}  // namespace TALVEK::MCE
