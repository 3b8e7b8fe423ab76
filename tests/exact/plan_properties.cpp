#include "tests/exact/plan_properties.h"

#include <algorithm>
#include <functional>
#include <map>
#include <set>

#include "tests/exact/rcs_builder.h"

namespace TALVEK::EXACT::TEST {

namespace {

using TTree = std::map<std::string, std::string>;  ///< path and number

/// What the client gives, file by file, as its manual and its behaviour say. Nothing of the passes is used.
class CClient {
 public:
  explicit CClient(const TRcsFile& tFile) : m_tFile(tFile) {
    for (const TRcsRevision& t : tFile.atRevisions)
      m_tRevisions.emplace(NumberText(t.nNumber), t);
  }

  const TRcsRevision* Find(const std::string& strNumber) const {
    const auto it = m_tRevisions.find(strNumber);
    return it == m_tRevisions.end() ? nullptr : &it->second;
  }
  /// The number, or nothing if it is dead or isn't there.
  std::string Given(const std::string& strNumber) const {
    const TRcsRevision* pt = Find(strNumber);
    return pt == nullptr || pt->bDead ? "" : strNumber;
  }
  /// The last revision directly on a branch; "1" is a branch, too.
  std::string Tip(const std::string& strBranch) const {
    TNumber nTip;
    for (const TRcsRevision& t : m_tFile.atRevisions) {
      if (NumberText(TNumber(t.nNumber.begin(), t.nNumber.end() - 1)) == strBranch)
        nTip = std::max(nTip, t.nNumber);
    }
    return NumberText(nTip);
  }
  std::string Named(const std::string& strName) const {
    for (const TRcsName& t : m_tFile.atNames) {
      if (t.strName != strName) continue;
      TNumber n = t.nNumber;
      if (n.size() % 2 == 1) return Given(Tip(NumberText(n)));
      if (n.size() < 4 || n[n.size() - 2] != 0) return Given(NumberText(n));
      n.erase(n.end() - 2);
      const std::string strTip = Tip(NumberText(n));
      return Given(strTip.empty() ? NumberText(TNumber(n.begin(), n.end() - 1)) : strTip);
    }
    return "";
  }
  std::string Trunk() const {
    if (m_tFile.nHead.empty()) return "";
    return Given(m_tFile.nDefaultBranch.empty() ? NumberText(m_tFile.nHead)
                                                : Tip(NumberText(m_tFile.nDefaultBranch)));
  }
  std::string TrunkAt(std::int64_t nTime) const {
    const std::string strTrunk = Newest(nTime, [](const TNumber& n) { return n.size() == 2; });
    const TNumber nDefault = m_tFile.nDefaultBranch;
    std::string strVendor = "1.1.1";
    if (nDefault.size() == 3 && nDefault[0] == 1 && nDefault[1] == 1 && !Tip(NumberText(nDefault)).empty()) {
      strVendor = NumberText(nDefault);
    }
    const TRcsRevision* ptImport = Find(strVendor + ".1");
    if (strTrunk != "1.1" || ptImport == nullptr || ptImport->nTime != Find("1.1")->nTime)
      return Given(strTrunk);
    return Given(Newest(nTime, [&](const TNumber& n) {
      return n.size() == 4 && NumberText(TNumber(n.begin(), n.end() - 1)) == strVendor;
    }));
  }
  /// On no line has a later revision an earlier date.
  bool DatesAreInOrder() const {
    for (const auto& [strLeft, tLeft] : m_tRevisions) {
      for (const auto& [strRight, tRight] : m_tRevisions) {
        const bool bSameLine =
            tLeft.nNumber.size() == tRight.nNumber.size() &&
            (tLeft.nNumber.size() == 2 ||
             std::equal(tLeft.nNumber.begin(), tLeft.nNumber.end() - 1, tRight.nNumber.begin()));
        if (bSameLine && tLeft.nNumber < tRight.nNumber && tLeft.nTime > tRight.nTime) return false;
      }
    }
    return true;
  }

 private:
  std::string Newest(std::int64_t nTime, const std::function<bool(const TNumber&)>& fnIsOn) const {
    TNumber nNewest;
    for (const TRcsRevision& t : m_tFile.atRevisions) {
      if (t.nTime <= nTime && fnIsOn(t.nNumber)) nNewest = std::max(nNewest, t.nNumber);
    }
    return NumberText(nNewest);
  }

  const TRcsFile& m_tFile;
  std::map<std::string, TRcsRevision> m_tRevisions;
};

class CClaims {
 public:
  CClaims(const std::vector<TRcsFile>& atFiles, const CPlan& oPlan) : m_oPlan(oPlan) {
    for (const TRcsFile& tFile : atFiles)
      m_oClients.emplace(tFile.strPath, CClient(tFile));
    for (const TRcsFile& tFile : atFiles) {
      for (const TRcsName& tName : tFile.atNames)
        m_strNames.insert(tName.strName);
    }
  }

  std::string Run() {
    Replay();
    CheckRefs();
    CheckTrunkByDate();
    CheckRevisions();
    CheckOrder();
    return m_strBroken;
  }

 private:
  void Claim(bool bHolds, const std::string& strWhat) {
    if (!bHolds && m_strBroken.empty()) m_strBroken = strWhat;
  }

  /// Trees after every change, and where each revision comes.
  void Replay() {
    const auto& atStreams = m_oPlan.Streams();
    m_tFinal.resize(atStreams.size());
    std::vector<std::int64_t> nTimes(atStreams.size(), INT64_MIN);
    std::vector<bool> bBegun(atStreams.size());
    for (TIndex nChange = 0; nChange < m_oPlan.Changes().size(); ++nChange) {
      const TPlanChange& tChange = m_oPlan.Changes()[nChange];
      const TPlanStream& tStream = atStreams[tChange.nStream];
      const std::string strWhere = tStream.strName + " #" + std::to_string(nChange);
      TTree& tTree = m_tFinal[tChange.nStream];
      if (!bBegun[tChange.nStream] && tStream.nBase != NONE) {
        Claim(tStream.nBase < nChange, strWhere + " comes before its base");
        tTree = m_tAfter[tStream.nBase];
        nTimes[tChange.nStream] = m_oPlan.Changes()[tStream.nBase].nTime;
      }
      bBegun[tChange.nStream] = true;
      Claim(tChange.nTime >= nTimes[tChange.nStream], strWhere + " is before what it follows");
      Claim(tChange.nTime >= tChange.nCvsTime, strWhere + " is earlier than in CVS");
      Claim(tChange.nItems > 0, strWhere + " changes nothing");
      nTimes[tChange.nStream] = tChange.nTime;
      std::set<std::string> strPaths;
      m_oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
        const std::string strPath = m_oPlan.History().Path(tItem.nFile);
        Claim(strPaths.insert(strPath).second, strWhere + ": " + strPath + " comes twice");
        const std::string strBefore = tItem.nBefore == NONE ? "" : m_oPlan.History().Number(tItem.nBefore);
        Claim((tTree.count(strPath) ? tTree[strPath] : "") == strBefore,
              strWhere + ": " + strPath + " wasn't " + strBefore);
        Claim(tItem.nBefore != tItem.nRevision, strWhere + ": " + strPath + " isn't changed");
        if (tItem.nRevision == NONE) {
          tTree.erase(strPath);
          return;
        }
        const std::string strNumber = m_oPlan.History().Number(tItem.nRevision);
        tTree[strPath] = strNumber;
        if (tChange.nKind != TChangeKind::OWN) return;
        auto& nPlaces = m_nPlaces[{strPath, strNumber}];
        Claim(nPlaces.emplace(tStream.strName, nChange).second,
              strWhere + ": " + strPath + " " + strNumber + " again");
      });
      m_tAfter.push_back(tTree);
    }
    for (std::size_t n = 0; n < atStreams.size(); ++n) {
      if (!bBegun[n] && atStreams[n].nBase != NONE) m_tFinal[n] = m_tAfter[atStreams[n].nBase];
    }
  }

  static std::string Print(const TTree& tTree) {
    std::string strText;
    for (const auto& [strPath, strNumber] : tTree)
      strText += " " + strPath + ":" + strNumber;
    return strText;
  }

  void CheckRefs() {
    std::set<std::string> strStreams;
    for (std::size_t n = 0; n < m_oPlan.Streams().size(); ++n) {
      const std::string& strName = m_oPlan.Streams()[n].strName;
      strStreams.insert(strName);
      TTree tExpected;
      for (const auto& [strPath, oClient] : m_oClients) {
        std::string strNumber;
        if (n == TRUNK) {
          strNumber = oClient.Trunk();
        } else if (strName.starts_with("unnamed-")) {
          if (!HasNameFor(strPath, strName.substr(8)))
            strNumber = oClient.Given(oClient.Tip(strName.substr(8)));
        } else {
          strNumber = oClient.Named(strName);
        }
        if (!strNumber.empty()) tExpected[strPath] = strNumber;
      }
      Claim(tExpected == m_tFinal[n],
            strName + " is" + Print(m_tFinal[n]) + ", the client gives" + Print(tExpected));
    }
    for (const std::string& strName : m_strNames)
      Claim(strStreams.count(strName) == 1, strName + " is no stream");
  }

  bool HasNameFor(const std::string& strPath, const std::string& strLine) const {
    const CHistory& oHistory = m_oPlan.History();
    for (const TLine& tLine : oHistory.Lines()) {
      if (oHistory.Path(tLine.nFile) == strPath && oHistory.Texts().Get(tLine.nNumber) == strLine) {
        return oHistory.Streams()[tLine.nStream].nName != NONE;
      }
    }
    return false;
  }

  void CheckTrunkByDate() {
    for (const auto& [strPath, oClient] : m_oClients) {
      if (!oClient.DatesAreInOrder()) return;
    }
    const std::vector<TIndex>& nTrunk = m_oPlan.Streams()[TRUNK].anChanges;
    for (std::size_t n = 0; n < nTrunk.size(); ++n) {
      const TPlanChange& tChange = m_oPlan.Changes()[nTrunk[n]];
      if (tChange.nKind != TChangeKind::OWN) return;
      // Between two changesets there is a moment only if the first is over before the other begins.
      bool bOver = true;
      for (std::size_t nLater = n + 1; nLater < nTrunk.size(); ++nLater) {
        bOver = bOver && (m_oPlan.Changes()[nTrunk[nLater]].nKind != TChangeKind::OWN ||
                          FirstTime(nTrunk[nLater]) > tChange.nTime);
      }
      if (!bOver) continue;
      TTree tExpected;
      for (const auto& [strPath, oClient] : m_oClients) {
        const std::string strNumber = oClient.TrunkAt(tChange.nTime);
        if (!strNumber.empty()) tExpected[strPath] = strNumber;
      }
      Claim(tExpected == m_tAfter[nTrunk[n]], "the trunk at " + std::to_string(tChange.nTime) + " is" +
                                                  Print(m_tAfter[nTrunk[n]]) + ", by date" +
                                                  Print(tExpected));
    }
  }

  /// The earliest time of the revisions in a change of the trunk.
  std::int64_t FirstTime(TIndex nChange) const {
    std::int64_t nTime = m_oPlan.Changes()[nChange].nCvsTime;
    m_oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
      if (tItem.nRevision != NONE)
        nTime = std::min(nTime, m_oPlan.History().Revisions()[tItem.nRevision].nTime);
      if (tItem.nRevision == NONE) nTime = std::min(nTime, DeletedAt(tItem.nBefore));
    });
    return nTime;
  }

  /// The time of the dead trunk revision that follows a living one; the beginning of time if that one is the
  /// vendor's. 1.1 can be followed by a dead 1.1.1.1 instead, which has the time of 1.1.
  std::int64_t DeletedAt(TIndex nBefore) const {
    const CHistory& oHistory = m_oPlan.History();
    const bool bVendors = !oHistory.Texts().Get(oHistory.LineOf(nBefore).nNumber).empty();
    if (bVendors) return INT64_MIN;
    const bool bNextIsDead =
        nBefore + 1 < oHistory.LineOf(nBefore).nEndRevision && !oHistory.IsAlive(nBefore + 1);
    return oHistory.Revisions()[bNextIsDead ? nBefore + 1 : nBefore].nTime;
  }

  void CheckRevisions() {
    const CHistory& oHistory = m_oPlan.History();
    for (const auto& [tRevision, nPlaces] : m_nPlaces) {
      const auto& [strPath, strNumber] = tRevision;
      const std::size_t nDots = static_cast<std::size_t>(std::count(strNumber.begin(), strNumber.end(), '.'));
      const bool bTrunk = nPlaces.count("Main") != 0;
      if (nDots == 1)
        Claim(bTrunk && nPlaces.size() == 1, strPath + " " + strNumber + " isn't only on the trunk");
      if (nDots != 1 && bTrunk) {
        Claim(nDots == 3 && strNumber.starts_with("1.1."), strPath + " " + strNumber + " is on the trunk");
      }
      if (nDots != 1)
        Claim(nPlaces.size() == (bTrunk ? 2U : 1U), strPath + " " + strNumber + " isn't in one branch");
    }
    for (TIndex n = 0; n < oHistory.Revisions().size(); ++n) {
      if (oHistory.Revisions()[n].bDead) continue;
      const std::string strPath = oHistory.Path(oHistory.FileOf(n));
      const std::string strNumber = oHistory.Number(n);
      if (m_nPlaces.count({strPath, strNumber}) != 0) continue;
      // 1.1 counts with the 1.1.1.1 that the trunk shows in its place.
      const bool bInPlace = strNumber == "1.1" && TrunkHasTheContentAsAnImport(strPath);
      Claim(bInPlace, strPath + " " + strNumber + " is lost");
    }
  }

  /// The trunk has a vendor branch's first revision, and it has the content of 1.1.
  bool TrunkHasTheContentAsAnImport(const std::string& strPath) const {
    return std::any_of(m_nPlaces.begin(), m_nPlaces.end(), [&](const auto& tPlaces) {
      const auto& [strFile, strNumber] = tPlaces.first;
      return strFile == strPath && tPlaces.second.count("Main") != 0 && strNumber.ends_with(".1") &&
             std::count(strNumber.begin(), strNumber.end(), '.') == 3 &&
             !m_oClients.at(strPath).Find(strNumber)->bDiffers;
    });
  }

  void CheckOrder() {
    for (const auto& [tRevision, nPlaces] : m_nPlaces) {
      for (const auto& [tOther, nOtherPlaces] : m_nPlaces) {
        if (tRevision.first != tOther.first) continue;
        const TNumber nLeft = Number(tRevision.second), nRight = Number(tOther.second);
        for (const auto& [strStream, nChange] : nPlaces) {
          if (nOtherPlaces.count(strStream) == 0 || nLeft.size() != nRight.size() || !(nLeft < nRight))
            continue;
          Claim(nChange < nOtherPlaces.at(strStream),
                tOther.first + " " + tOther.second + " comes before " + tRevision.second);
        }
        // A branch's revision comes after the one that the branch sprouts from, in whatever stream that is
        // first seen.
        if (nRight.size() != nLeft.size() + 2 || !std::equal(nLeft.begin(), nLeft.end(), nRight.begin()))
          continue;
        const auto itOwn = nPlaces.size() == 2 && nPlaces.begin()->first == "Main"
                               ? std::next(nPlaces.begin())
                               : nPlaces.begin();
        for (const auto& [strStream, nChange] : nOtherPlaces) {
          if (strStream != "Main") {
            Claim(itOwn->second < nChange,
                  tOther.first + " " + tOther.second + " comes before its branch point");
          }
        }
      }
    }
  }

  const CPlan& m_oPlan;
  std::map<std::string, CClient> m_oClients;
  std::set<std::string> m_strNames;
  std::vector<TTree> m_tFinal;  ///< by stream
  std::vector<TTree> m_tAfter;  ///< by change
  std::map<std::pair<std::string, std::string>, std::map<std::string, TIndex>>
      m_nPlaces;  ///< own changes by stream
  std::string m_strBroken;
};

}  // namespace

std::string BrokenClaim(const std::vector<TRcsFile>& atFiles, const CPlan& oPlan) {
  return CClaims(atFiles, oPlan).Run();
}

}  // namespace TALVEK::EXACT::TEST
