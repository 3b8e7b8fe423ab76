#pragma once

#include <algorithm>
#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "mce/provider_base.h"

namespace TALVEK::TEST {

/// The rules of the grouping in their simplest form, as a reference: vectors that are searched linearly.
class CPlainGrouping {
 public:
  struct TItem {
    std::uint32_t nNumber;
    VCM::CFilePath oPath;
    std::int32_t nRevision;
    std::uint32_t nTime;
    std::string strNote;  // the caller's, not used here
  };
  struct TChange {
    std::uint32_t nID;
    std::uint32_t nStream;
    VCM::CString strUser;
    std::uint32_t nTime;
    VCM::CString strComment;
    std::uint32_t nNextItem;
    std::uint32_t nBaseTime;
    std::uint32_t nMaxTime;
    std::vector<TItem> atItems;
  };

  void AddChange(std::uint32_t nStream, const VCM::CString& strUser, const VCM::CString& strComment,
                 std::uint32_t nTime) {
    m_atChanges.push_back({NextID(), nStream, strUser, nTime, strComment, 0, MAX, MAX, {}});
  }

  void AddItem(std::uint32_t nStream, const VCM::CString& strUser, const VCM::CFilePath& oPath,
               std::uint32_t nTime, const VCM::CString& strComment, std::int32_t nRevision,
               bool bMatchComment, std::uint32_t nEndTime, const std::string& strNote = "") {
    TChange* ptChange = Find(nStream, strUser, nTime, strComment, bMatchComment, nEndTime);
    if (ptChange) {
      const std::uint32_t nChangeTime = std::max(ptChange->nTime, nTime);
      const auto itItem =
          std::find_if(ptChange->atItems.begin(), ptChange->atItems.end(),
                       [&](const TItem& tItem) { return tItem.oPath.IsEqualTo(oPath, true); });
      if (itItem == ptChange->atItems.end()) {
        ptChange->nTime = nChangeTime;
        ptChange->nMaxTime = std::min(ptChange->nMaxTime, nEndTime);
        MCE::CProviderBase::AddToComment(ptChange->strComment, strComment);
        ptChange->atItems.push_back({ptChange->nNextItem++, oPath, nRevision, nTime, strNote});
        return;
      }
      if (itItem->nRevision >= nRevision) {
        nTime = nTime < nChangeTime ? nTime : nChangeTime - 1;
      } else {
        nTime = nTime > nChangeTime ? nTime : nChangeTime + 1;
      }
    }
    m_atChanges.push_back({NextID(),
                           nStream,
                           strUser,
                           nTime,
                           strComment,
                           2,
                           nTime,
                           nEndTime,
                           {{1, oPath, nRevision, nTime, strNote}}});
  }

  /// By ID.
  const std::vector<TChange>& AsMade() const { return m_atChanges; }

  /// By stream, time and ID.
  std::vector<TChange> InOrder() const {
    std::vector<TChange> atChanges = m_atChanges;
    std::stable_sort(atChanges.begin(), atChanges.end(), [](const TChange& tLeft, const TChange& tRight) {
      return std::tie(tLeft.nStream, tLeft.nTime, tLeft.nID) <
             std::tie(tRight.nStream, tRight.nTime, tRight.nID);
    });
    return atChanges;
  }

 private:
  static constexpr std::uint32_t MAX = 0xFFFFFFFF;

  std::uint32_t NextID() const { return static_cast<std::uint32_t>(m_atChanges.size()) + 1; }

  TChange* Find(std::uint32_t nStream, const VCM::CString& strUser, std::uint32_t nTime,
                const VCM::CString& strComment, bool bMatchComment, std::uint32_t nEndTime) {
    const std::uint32_t nLow = nTime - 300;
    const std::uint32_t nHigh = nTime + 300;
    for (const TChange& tChange : InOrder()) {
      if (tChange.nStream != nStream || tChange.nTime < nLow) continue;
      if (tChange.nTime > nHigh) return nullptr;
      if (!tChange.strUser.EqualsNoCase(strUser.View())) continue;
      if (bMatchComment && !tChange.strComment.EqualsNoCase(strComment.View())) continue;
      if (nTime >= tChange.nMaxTime || nEndTime < tChange.nTime) continue;
      if (tChange.nBaseTime < nLow || tChange.nBaseTime > nHigh) continue;
      return &m_atChanges[tChange.nID - 1];
    }
    return nullptr;
  }

  std::vector<TChange> m_atChanges;
};

}  // namespace TALVEK::TEST
