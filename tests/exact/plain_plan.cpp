#include "tests/exact/plain_plan.h"

#include <algorithm>
#include <map>
#include <set>
#include <tuple>

#include "tests/exact/rcs_builder.h"

namespace TALVEK::EXACT::TEST {

namespace {

constexpr int NEVER = 1 << 30;

/// A revision: the place of its file, and its number. An empty number: no revision.
using TRef = std::pair<int, TNumber>;
using TState = std::map<int, TNumber>;

struct TPlainEvent {
  std::string strStream;
  TRef tRef;
  int nStep = 0;   ///< its place among the events of the file in the stream
  TNumber nAfter;  ///< empty: deleted
  TNumber nBefore;
  const TRcsRevision* pt = nullptr;

  std::tuple<std::int64_t, int, int> Order() const { return {pt->nTime, tRef.first, nStep}; }
};

struct TPlainSet {
  std::vector<TPlainEvent> atEvents;  ///< in the order of Order()

  std::int64_t Time() const {
    std::int64_t nTime = atEvents[0].pt->nTime;
    for (const TPlainEvent& t : atEvents)
      nTime = std::max(nTime, t.pt->nTime);
    return nTime;
  }
};

struct TPlainChange {
  std::string strStream;
  std::string strKind;
  std::string strText;  ///< author and message
  std::int64_t nTime = 0;
  bool bTime = true;                                      ///< false: it sets no revision
  std::vector<std::tuple<int, TNumber, TNumber>> tItems;  ///< file, after, before
};

/// The key of a change: 2 p for the changeset at place p (from 1), 2 p + 1 for what is made up behind it;
/// then the order in which streams were placed.
using TKey = std::pair<int, int>;

class CPlain {
 public:
  CPlain(const std::vector<TRcsFile>& atFiles, const THistoryOptions& tOptions) : m_t(tOptions) {
    for (const TRcsFile& tFile : atFiles)
      m_atFiles.emplace(Files(), tFile);
  }

  std::string Run() {
    FindLines();
    FindStreams();
    for (const std::string& strStream : m_strStreams)
      FindEvents(strStream);
    for (const std::string& strStream : m_strStreams)
      Group(strStream);
    Order();
    PlaceAll();
    return Write();
  }

 private:
  // Know: lines, names, streams, and what a stream starts with.

  static bool IsMagic(const TNumber& n) { return n.size() >= 4 && n.size() % 2 == 0 && n[n.size() - 2] == 0; }
  static bool IsBranch(const TNumber& n) { return IsMagic(n) || n.size() % 2 == 1; }
  static bool IsPlainOnFirst(const TNumber& n) { return n.size() == 3 && n[0] == 1 && n[1] == 1; }
  static TNumber Up(TNumber n, int nParts = 1) {
    n.resize(n.size() - static_cast<std::size_t>(nParts));
    return n;
  }
  /// The number of the line of a branch name.
  static TNumber LineOfName(const TNumber& n) {
    if (!IsMagic(n)) return n;
    TNumber nLine = Up(n, 2);
    nLine.push_back(n.back());
    return nLine;
  }
  static TNumber LineOf(const TNumber& nRevision) {
    return nRevision.size() == 2 ? TNumber{} : Up(nRevision);
  }

  bool Alive(int nFile, const TNumber& n) {
    const auto it = m_tRevisions[nFile].find(n);
    return it != m_tRevisions[nFile].end() && !it->second->bDead;
  }
  TNumber IfAlive(int nFile, const TNumber& n) { return Alive(nFile, n) ? n : TNumber{}; }

  void FindLines() {
    for (const auto& [nFile, tFile] : m_atFiles) {
      for (const TRcsRevision& t : tFile.atRevisions) {
        if (m_t.nEndTime && t.nTime > *m_t.nEndTime) {
          m_tCut.insert(TRef{nFile, t.nNumber});
          m_nCutFiles.insert(nFile);
        } else if (m_tRevisions[nFile].emplace(t.nNumber, &t).second) {
          m_nLines[nFile][LineOf(t.nNumber)].push_back(t.nNumber);
        }
      }
      for (auto& [nLine, nRevisions] : m_nLines[nFile])
        std::sort(nRevisions.begin(), nRevisions.end());
    }
  }

  void FindStreams() {
    std::map<std::string, int> nBranchFiles;
    std::set<std::string> strCut;
    for (int nFile = 0; nFile < Files(); ++nFile) {
      for (const TRcsName& t : m_atFiles.at(nFile).atNames) {
        if (!m_nNames[t.strName].emplace(nFile, t.nNumber).second) continue;
        nBranchFiles[t.strName] += IsBranch(t.nNumber) ? 1 : 0;
        if (!IsBranch(t.nNumber) && m_tCut.count(TRef{nFile, t.nNumber})) strCut.insert(t.strName);
      }
    }
    m_strStreams.push_back("Main");
    std::map<std::pair<int, TNumber>, std::string> strOwners;
    std::set<std::pair<int, TNumber>> tNamed;
    for (const auto& [strName, nPlaces] : m_nNames) {
      const bool bTag = nBranchFiles[strName] == 0;
      const bool bOut = (m_t.fnWanted && !m_t.fnWanted(strName)) || !m_t.bCreateBranches ||
                        (bTag && (!m_t.bStreamsForTags || strCut.count(strName)));
      for (const auto& [nFile, nNumber] : nPlaces) {
        const std::pair<int, TNumber> tLine{nFile, LineOfName(nNumber)};
        if (!IsBranch(nNumber) || nNumber.size() == 1 || !m_nLines[nFile].count(tLine.second)) continue;
        tNamed.insert(tLine);
        if (bOut) continue;
        const auto [it, bNew] = strOwners.emplace(tLine, strName);
        if (!bNew && nBranchFiles[strName] > nBranchFiles[it->second]) it->second = strName;
      }
      if (bOut) continue;
      m_strStreams.push_back(strName);
      if (bTag) m_strTags.insert(strName);
    }
    for (const auto& [tLine, strOwner] : strOwners)
      m_nOwn[strOwner][tLine.first] = tLine.second;
    if (!m_t.bCreateBranches || !m_t.bUnnamedBranches) return;
    std::set<TNumber> nUnnamed;
    for (int nFile = 0; nFile < Files(); ++nFile) {
      for (const auto& [nLine, nRevisions] : m_nLines[nFile]) {
        if (nLine.empty() || tNamed.count(TRef{nFile, nLine})) continue;
        nUnnamed.insert(nLine);
        m_nOwn["unnamed-" + NumberText(nLine)][nFile] = nLine;
      }
    }
    for (const TNumber& nLine : nUnnamed)
      m_strStreams.push_back("unnamed-" + NumberText(nLine));
  }

  /// `cvs import` made the line: its number is odd, or a name is spelled as import does it.
  bool IsVendor(int nFile, const TNumber& nLine) {
    if (!IsPlainOnFirst(nLine)) return false;
    if (nLine[2] % 2 == 1) return true;
    return std::any_of(m_nNames.begin(), m_nNames.end(), [&](const auto& t) {
      const auto it = t.second.find(nFile);
      return it != t.second.end() && it->second == nLine;
    });
  }

  /// The line's own first revision may be one that CVS made because the file joined the branch later.
  bool JoinedLater(int nFile, const TNumber& nLine) {
    const TRcsRevision& t = *m_tRevisions[nFile][m_nLines[nFile][nLine][0]];
    if (!t.bDead) return false;
    const auto itSprout = m_tRevisions[nFile].find(Up(nLine));
    if (itSprout != m_tRevisions[nFile].end() && t.nTime <= itSprout->second->nTime) return true;
    return t.strMessage.substr(0, 5) == "file " &&
           t.strMessage.find(" was added on branch ") != std::string::npos;
  }

  TNumber EntryOfLine(int nFile, const TNumber& nLine) {
    if (IsVendor(nFile, nLine) || JoinedLater(nFile, nLine)) return {};
    return IfAlive(nFile, Up(nLine));
  }

  /// What a name that doesn't own the file's line gives in the file.
  TNumber GivenByName(int nFile, const TNumber& nNumber) {
    if (!IsBranch(nNumber)) return IfAlive(nFile, nNumber);
    if (nNumber.size() == 1) {
      TNumber nLast;
      for (const TNumber& n : m_nLines[nFile][TNumber{}]) {
        if (n[0] == nNumber[0]) nLast = n;
      }
      return IfAlive(nFile, nLast);
    }
    const auto it = m_nLines[nFile].find(LineOfName(nNumber));
    if (it != m_nLines[nFile].end()) return IfAlive(nFile, it->second.back());
    return IsMagic(nNumber) ? IfAlive(nFile, Up(nNumber, 2)) : TNumber{};
  }

  TState Entries(const std::string& strStream) {
    TState tEntries;
    if (m_nNames.count(strStream)) {
      for (const auto& [nFile, nNumber] : m_nNames[strStream])
        tEntries[nFile] = GivenByName(nFile, nNumber);
    }
    for (const auto& [nFile, nLine] : m_nOwn[strStream])
      tEntries[nFile] = EntryOfLine(nFile, nLine);
    std::erase_if(tEntries, [](const auto& t) { return t.second.empty(); });
    return tEntries;
  }

  bool IsVendorStream(const std::string& strStream) {
    int nVendor = 0;
    for (const auto& [nFile, nLine] : m_nOwn[strStream])
      nVendor += IsVendor(nFile, nLine) ? 1 : -1;
    return nVendor > 0;
  }

  // Show: events.

  std::vector<TNumber> TrunkRevisions(int nFile) {
    std::vector<TNumber> nTrunk = m_nLines[nFile][TNumber{}];
    const TNumber nDefault = m_atFiles[nFile].nDefaultBranch;
    TNumber nVendor = {1, 1, 1};
    if (IsPlainOnFirst(nDefault) && m_nLines[nFile].count(nDefault)) nVendor = nDefault;
    if (nTrunk.empty() || nTrunk[0] != TNumber{1, 1} || !m_nLines[nFile].count(nVendor)) return nTrunk;
    const std::vector<TNumber>& nImports = m_nLines[nFile][nVendor];
    if (nImports[0].back() != 1 || Rev(nFile, nImports[0]).nTime != Rev(nFile, nTrunk[0]).nTime)
      return nTrunk;
    std::vector<TNumber> nSeen;
    const TRcsRevision& tImport = Rev(nFile, nImports[0]);
    const bool bKeepsFirst = Alive(nFile, nTrunk[0]) && (tImport.bDead || tImport.bDiffers);
    std::int64_t nNewest = Rev(nFile, nImports[0]).nTime;
    for (const TNumber& n : nImports) {
      nNewest = std::max(nNewest, Rev(nFile, n).nTime);
      if (!nSeen.empty() && nTrunk.size() > 1 && nNewest >= Rev(nFile, nTrunk[1]).nTime) break;
      nSeen.push_back(n);
    }
    nSeen.insert(nSeen.end(), nTrunk.begin() + 1, nTrunk.end());
    if (bKeepsFirst) nSeen.insert(nSeen.begin(), nTrunk[0]);
    return nSeen;
  }

  TNumber TrunkEnd(int nFile) {
    const TRcsFile& tFile = m_atFiles[nFile];
    if (tFile.nHead.empty()) return {};
    if (tFile.nDefaultBranch.empty()) return IfAlive(nFile, tFile.nHead);
    return GivenByName(nFile, tFile.nDefaultBranch);
  }

  void FindEvents(const std::string& strStream) {
    for (int nFile = 0; nFile < Files(); ++nFile) {
      std::vector<TNumber> nRevisions;
      TNumber nBefore;
      if (strStream == "Main") {
        nRevisions = TrunkRevisions(nFile);
      } else if (m_nOwn[strStream].count(nFile)) {
        nRevisions = m_nLines[nFile][m_nOwn[strStream][nFile]];
        nBefore = EntryOfLine(nFile, m_nOwn[strStream][nFile]);
      }
      for (const TNumber& n : nRevisions) {
        const TNumber nAfter = IfAlive(nFile, n);
        if (nAfter.empty() && nBefore.empty()) continue;
        auto& atEvents = m_atEvents[strStream];
        atEvents.push_back(
            {strStream, {nFile, n}, static_cast<int>(atEvents.size()), nAfter, nBefore, &Rev(nFile, n)});
        nBefore = nAfter;
      }
    }
  }

  // Group.

  void Group(const std::string& strStream) {
    std::map<std::vector<std::string>, std::vector<TPlainEvent>> atGroups;
    for (const TPlainEvent& t : m_atEvents[strStream]) {
      const std::vector<std::string> strKey{t.pt->strCommitId, t.pt->strAuthor, t.pt->strMessage};
      atGroups[strKey].push_back(t);
    }
    for (auto& [strKey, atEvents] : atGroups) {
      std::sort(atEvents.begin(), atEvents.end(), ByOrder);
      std::vector<TPlainEvent> atOpen;
      for (const TPlainEvent& t : atEvents) {
        if (strKey[0].empty() && !atOpen.empty() && t.pt->nTime - atOpen.back().pt->nTime > 300)
          Close(atOpen);
        atOpen.push_back(t);
        for (std::size_t i = 0; i + 1 < atOpen.size(); ++i) {
          if (atOpen[i].tRef.first != t.tRef.first) continue;
          std::size_t nCut = i + 1;
          for (std::size_t k = i + 1; k < atOpen.size(); ++k) {
            if (Gap(atOpen, k) > Gap(atOpen, nCut)) nCut = k;
          }
          std::vector<TPlainEvent> atRest(atOpen.begin() + static_cast<std::ptrdiff_t>(nCut), atOpen.end());
          atOpen.resize(nCut);
          Close(atOpen);
          atOpen = atRest;
          break;
        }
      }
      Close(atOpen);
    }
  }

  static bool ByOrder(const TPlainEvent& tLeft, const TPlainEvent& tRight) {
    return tLeft.Order() < tRight.Order();
  }
  static std::int64_t Gap(const std::vector<TPlainEvent>& at, std::size_t k) {
    return at[k].pt->nTime - at[k - 1].pt->nTime;
  }
  void Close(std::vector<TPlainEvent>& atOpen) {
    m_atLeft.push_back({atOpen});
    atOpen.clear();
  }

  // Order.

  using TEventKey = std::pair<std::string, int>;  ///< stream and step

  /// The event that has to come before this one.
  TEventKey Needs(const TPlainEvent& t) {
    const std::vector<TPlainEvent>& at = m_atEvents[t.strStream];
    if (t.nStep > 0 && at[static_cast<std::size_t>(t.nStep - 1)].tRef.first == t.tRef.first) {
      return {t.strStream, t.nStep - 1};
    }
    if (t.strStream == "Main") return {"", 0};
    return EventOf({t.tRef.first, Up(LineOf(t.tRef.second))});
  }

  /// The event with which a revision comes: on its own line's stream, else on the trunk. 1.1 comes with the
  /// 1.1.1.1 that the trunk shows in its place.
  TEventKey EventOf(const TRef& tRef) {
    for (const auto& [strStream, atEvents] : m_atEvents) {
      if (strStream == "Main") continue;
      for (const TPlainEvent& t : atEvents) {
        if (t.tRef == tRef) return {strStream, t.nStep};
      }
    }
    const std::vector<TNumber> nSeen = TrunkRevisions(tRef.first);
    const TRef tWanted = tRef.second == TNumber{1, 1} && !nSeen.empty() && LineOf(nSeen[0]).size() == 3
                             ? TRef{tRef.first, nSeen[0]}
                             : tRef;
    for (const TPlainEvent& t : m_atEvents["Main"]) {
      if (t.tRef == tWanted) return {"Main", t.nStep};
    }
    return {"", 0};
  }

  static auto SetKey(const TPlainSet& tSet, const std::map<std::string, int>& nStreams) {
    const TPlainEvent* ptFirst = &tSet.atEvents[0];
    for (const TPlainEvent& t : tSet.atEvents) {
      if (t.tRef.first < ptFirst->tRef.first) ptFirst = &t;
    }
    return std::make_tuple(tSet.Time(), nStreams.at(ptFirst->strStream), ptFirst->tRef.first, ptFirst->nStep);
  }

  void Order() {
    std::map<std::string, int> nStreams;
    for (const std::string& str : m_strStreams)
      nStreams.emplace(str, static_cast<int>(nStreams.size()));
    while (!m_atLeft.empty()) {
      std::sort(m_atLeft.begin(), m_atLeft.end(), [&](const TPlainSet& tLeft, const TPlainSet& tRight) {
        return SetKey(tLeft, nStreams) < SetKey(tRight, nStreams);
      });
      m_nSetOf.clear();
      for (std::size_t n = 0; n < m_atLeft.size(); ++n) {
        for (const TPlainEvent& t : m_atLeft[n].atEvents)
          m_nSetOf[{t.strStream, t.nStep}] = n;
      }
      std::size_t nNext = 0;
      while (nNext < m_atLeft.size() && SmallestNeeded(nNext) != m_atLeft.size())
        ++nNext;
      if (nNext == m_atLeft.size()) {
        OpenCircle();
        continue;
      }
      m_atOrder.push_back(m_atLeft[nNext]);
      m_atLeft.erase(m_atLeft.begin() + static_cast<std::ptrdiff_t>(nNext));
    }
    for (std::size_t n = 0; n < m_atOrder.size(); ++n) {
      for (const TPlainEvent& t : m_atOrder[n].atEvents)
        m_nMoments[{t.strStream, t.nStep}] = static_cast<int>(n) + 1;
    }
  }

  /// The changeset that is left and has what this event needs; the number of all: none.
  std::size_t NeededSet(const TPlainEvent& t) {
    const auto it = m_nSetOf.find(Needs(t));
    return it == m_nSetOf.end() ? m_atLeft.size() : it->second;
  }
  std::size_t SmallestNeeded(std::size_t nSet) {
    std::size_t nSmallest = m_atLeft.size();
    for (const TPlainEvent& t : m_atLeft[nSet].atEvents)
      nSmallest = std::min(nSmallest, NeededSet(t));
    return nSmallest;
  }

  void OpenCircle() {
    std::vector<std::size_t> nWay;
    std::size_t nSet = 0;
    while (std::find(nWay.begin(), nWay.end(), nSet) == nWay.end()) {
      nWay.push_back(nSet);
      nSet = SmallestNeeded(nSet);
    }
    nWay.erase(nWay.begin(), std::find(nWay.begin(), nWay.end(), nSet));

    // For each changeset of the circle: does the circle come in by this event, does it go out by it?
    std::map<std::size_t, std::vector<std::pair<bool, bool>>> bInOut;
    for (std::size_t n = 0; n < nWay.size(); ++n) {
      const std::size_t nEarlier = nWay[(n + 1) % nWay.size()];
      const std::size_t nLater = nWay[(n + nWay.size() - 1) % nWay.size()];
      std::set<TEventKey> tNeeded;
      for (const TPlainEvent& t : m_atLeft[nLater].atEvents)
        tNeeded.insert(Needs(t));
      for (const TPlainEvent& t : m_atLeft[nWay[n]].atEvents) {
        bInOut[nWay[n]].emplace_back(NeededSet(t) == nEarlier, tNeeded.count({t.strStream, t.nStep}) != 0);
      }
    }

    std::int64_t nWidest = -1;
    std::size_t nBest = 0, nBestCut = 0;
    for (const auto& [n, bFlags] : bInOut) {
      for (std::size_t k = 1; k < bFlags.size(); ++k) {
        bool bSeparates = true;
        for (std::size_t i = 0; i < bFlags.size(); ++i) {
          if (i < k ? bFlags[i].first : bFlags[i].second) bSeparates = false;
        }
        if (!bSeparates || Gap(m_atLeft[n].atEvents, k) <= nWidest) continue;
        nWidest = Gap(m_atLeft[n].atEvents, k);
        nBest = n;
        nBestCut = k;
      }
    }
    if (nWidest >= 0) {
      Split(nBest, [&](std::size_t i) { return i < nBestCut; });
      return;
    }
    for (const auto& [n, bFlags] : bInOut) {
      const auto IsEarly = [&bFlags = bFlags](std::size_t i) { return bFlags[i].second && !bFlags[i].first; };
      bool bAny = false;
      for (std::size_t i = 0; i < bFlags.size(); ++i)
        bAny = bAny || IsEarly(i);
      if (!bAny) continue;
      Split(n, IsEarly);
      return;
    }
  }

  template <class TFunction>
  void Split(std::size_t nSet, TFunction fnIsEarly) {
    TPlainSet tEarly, tLate;
    for (std::size_t i = 0; i < m_atLeft[nSet].atEvents.size(); ++i) {
      (fnIsEarly(i) ? tEarly : tLate).atEvents.push_back(m_atLeft[nSet].atEvents[i]);
    }
    m_atLeft[nSet] = tEarly;
    m_atLeft.push_back(tLate);
  }

  // Place names.

  int MomentOf(const TRef& tRef) {
    const auto it = m_nMoments.find(EventOf(tRef));
    return it == m_nMoments.end() ? 0 : it->second;
  }

  int FirstOwn(const std::string& strStream) {
    for (std::size_t n = 0; n < m_atOrder.size(); ++n) {
      if (m_atOrder[n].atEvents[0].strStream == strStream) return static_cast<int>(n) + 1;
    }
    return NEVER;
  }

  void PlaceAll() {
    std::vector<std::string> strOrder = m_strStreams;
    std::stable_sort(strOrder.begin() + 1, strOrder.end(),
                     [this](const std::string& strLeft, const std::string& strRight) {
                       const bool bLeft = m_strTags.count(strLeft) != 0,
                                  bRight = m_strTags.count(strRight) != 0;
                       if (bLeft != bRight) return bRight;
                       return !bLeft && FirstOwn(strLeft) < FirstOwn(strRight);
                     });
    for (const std::string& strStream : strOrder) {
      m_nPlace = static_cast<int>(&strStream - strOrder.data());
      Place(strStream);
    }
  }

  void Place(const std::string& strStream) {
    const int nFirstOwn = FirstOwn(strStream);
    TState tWanted;
    std::map<int, TState> tJoins;
    int nLatest = 0;
    for (const auto& [nFile, nRevision] : Entries(strStream)) {
      const int nMoment = MomentOf({nFile, nRevision});
      if (nMoment < nFirstOwn) {
        tWanted[nFile] = nRevision;
        nLatest = std::max(nLatest, nMoment);
      } else {
        tJoins[nMoment][nFile] = nRevision;
      }
    }

    TState tState;
    TKey tBase{0, 0};
    if (!IsVendorStream(strStream)) tBase = FindBase(strStream, tWanted, nFirstOwn);
    if (m_tBases.count(strStream)) tState = m_tStates[tBase];
    if (tState != tWanted) {
      const int nMoment = std::max(nLatest, tBase.first / 2);
      Change(strStream, "start", {2 * nMoment + 1, m_nPlace}, tState, tWanted, {});
    }
    tState = tWanted;
    for (int nMoment = 1; nMoment <= static_cast<int>(m_atOrder.size()); ++nMoment) {
      const TPlainSet& tSet = m_atOrder[static_cast<std::size_t>(nMoment - 1)];
      TState tAfter = tState;
      if (tSet.atEvents[0].strStream == strStream) {
        for (const TPlainEvent& t : tSet.atEvents) {
          tAfter[t.tRef.first] = t.nAfter;
          if (t.nAfter.empty()) tAfter.erase(t.tRef.first);
        }
        Change(strStream, "own", {2 * nMoment, m_nPlace}, tState, tAfter, tSet);
        tState = tAfter;
      }
      if (!tJoins.count(nMoment)) continue;
      for (const auto& [nFile, nRevision] : tJoins[nMoment])
        tAfter[nFile] = nRevision;
      Change(strStream, "join", {2 * nMoment + 1, m_nPlace}, tState, tAfter, {});
      tState = tAfter;
    }
    if (strStream != "Main") return;
    TState tEnd = tState;
    for (int nFile = 0; nFile < Files(); ++nFile) {
      if (m_nCutFiles.count(nFile)) continue;
      tEnd[nFile] = TrunkEnd(nFile);
      if (tEnd[nFile].empty()) tEnd.erase(nFile);
    }
    if (tEnd != tState)
      Change("Main", "end", {2 * static_cast<int>(m_atOrder.size()) + 1, 0}, tState, tEnd, {});
  }

  /// The change with most of the wanted files in place; then with the fewest others; then the trunk's; then
  /// the earliest; then that of the stream placed first. Tags count if they have exactly the wanted state.
  TKey FindBase(const std::string& strStream, const TState& tWanted, int nFirstOwn) {
    std::tuple<int, int, bool, TKey> tBest{0, 0, false, {0, 0}};
    for (const auto& [tKey, tState] : m_tStates) {
      const std::string& strOf = m_tChanges[tKey].strStream;
      if (tKey.first >= 2 * std::int64_t{nFirstOwn} || (m_strTags.count(strOf) && tState != tWanted))
        continue;
      int nMatch = 0, nExtra = 0;
      for (const auto& [nFile, nRevision] : tState) {
        const auto it = tWanted.find(nFile);
        if (it == tWanted.end()) ++nExtra;
        if (it != tWanted.end() && it->second == nRevision) ++nMatch;
      }
      if (nMatch != 0) tBest = std::min(tBest, std::make_tuple(-nMatch, nExtra, strOf != "Main", tKey));
    }
    if (std::get<0>(tBest) != 0) m_tBases[strStream] = std::get<3>(tBest);
    return std::get<3>(tBest);
  }

  void Change(const std::string& strStream, const std::string& strKind, TKey tKey, const TState& tBefore,
              const TState& tAfter, const TPlainSet& tSet) {
    TPlainChange tChange;
    tChange.strStream = strStream;
    tChange.strKind = strKind;
    std::set<int> nFiles;
    for (const auto& [nFile, nRevision] : tBefore)
      nFiles.insert(nFile);
    for (const auto& [nFile, nRevision] : tAfter)
      nFiles.insert(nFile);
    tChange.bTime = false;
    for (const int nFile : nFiles) {
      const TNumber nBefore = tBefore.count(nFile) ? tBefore.at(nFile) : TNumber{};
      const TNumber nAfter = tAfter.count(nFile) ? tAfter.at(nFile) : TNumber{};
      if (nBefore == nAfter) continue;
      tChange.tItems.emplace_back(nFile, nAfter, nBefore);
      if (nAfter.empty()) continue;
      tChange.nTime =
          tChange.bTime ? std::max(tChange.nTime, Rev(nFile, nAfter).nTime) : Rev(nFile, nAfter).nTime;
      tChange.bTime = true;
    }
    if (strKind == "own") {
      tChange.nTime = tSet.Time();
      tChange.bTime = true;
      tChange.strText = " " + tSet.atEvents[0].pt->strAuthor + ": " + tSet.atEvents[0].pt->strMessage;
    }
    m_tChanges[tKey] = tChange;
    m_tStates[tKey] = tAfter;
  }

  // Write.

  std::string Write() {
    std::map<TKey, int> nNumbers;
    for (const auto& [tKey, tChange] : m_tChanges)
      nNumbers.emplace(tKey, static_cast<int>(nNumbers.size()));
    std::string strDump;
    for (const std::string& strStream : m_strStreams) {
      strDump += strStream;
      strDump += strStream == "Main"          ? " trunk"
                 : IsVendorStream(strStream)  ? " vendor"
                 : m_strTags.count(strStream) ? " tag"
                                              : " branch";
      if (m_tBases.count(strStream)) {
        const TKey tBase = m_tBases[strStream];
        strDump += " from " + m_tChanges[tBase].strStream + " #" + std::to_string(nNumbers[tBase]);
      }
      strDump += "\n";
    }
    std::map<std::string, std::int64_t> nNewest;
    std::map<TKey, std::int64_t> nTimes;
    for (const auto& [tKey, tChange] : m_tChanges) {
      std::int64_t nFloor = INT64_MIN;
      if (m_tBases.count(tChange.strStream)) nFloor = nTimes[m_tBases[tChange.strStream]];
      if (nNewest.count(tChange.strStream)) nFloor = std::max(nFloor, nNewest[tChange.strStream]);
      const std::int64_t nCvsTime = tChange.bTime ? tChange.nTime : nFloor;
      nTimes[tKey] = nNewest[tChange.strStream] = std::max(nCvsTime, nFloor);
      strDump += "#" + std::to_string(nNumbers[tKey]) + " " + tChange.strStream + " " + tChange.strKind +
                 " " + std::to_string(nTimes[tKey]);
      if (nTimes[tKey] != nCvsTime) strDump += " (" + std::to_string(nCvsTime) + ")";
      strDump += tChange.strText + "\n";
      for (const auto& [nFile, nAfter, nBefore] : tChange.tItems) {
        strDump += "  " + m_atFiles[nFile].strPath + " " + (nAfter.empty() ? "deleted" : NumberText(nAfter)) +
                   (nBefore.empty() ? "" : " was " + NumberText(nBefore)) + "\n";
      }
    }
    return strDump;
  }

  int Files() const { return static_cast<int>(m_atFiles.size()); }
  const TRcsRevision& Rev(int nFile, const TNumber& n) { return *m_tRevisions[nFile].at(n); }

  template <class T>
  using CByFile = std::map<int, T>;

  CByFile<TRcsFile> m_atFiles;
  const THistoryOptions& m_t;
  CByFile<std::map<TNumber, const TRcsRevision*>> m_tRevisions;
  CByFile<std::map<TNumber, std::vector<TNumber>>>
      m_nLines;               ///< lines that have revisions, the trunk's is {}
  std::set<int> m_nCutFiles;  ///< files that the end time cuts
  std::set<TRef> m_tCut;
  std::map<std::string, std::map<int, TNumber>> m_nNames;
  std::map<std::string, std::map<int, TNumber>>
      m_nOwn;  ///< by stream and file: the line that the stream owns
  std::vector<std::string> m_strStreams;
  std::set<std::string> m_strTags;
  std::map<std::string, std::vector<TPlainEvent>> m_atEvents;
  std::vector<TPlainSet> m_atLeft, m_atOrder;
  std::map<TEventKey, std::size_t> m_nSetOf;  ///< of the changesets that are left
  std::map<TEventKey, int> m_nMoments;
  int m_nPlace = 0;
  std::map<TKey, TPlainChange> m_tChanges;
  std::map<TKey, TState> m_tStates;  ///< after each change
  std::map<std::string, TKey> m_tBases;
};

}  // namespace

std::string PlainPlan(const std::vector<TRcsFile>& atFiles, const THistoryOptions& tOptions) {
  return CPlain(atFiles, tOptions).Run();
}

}  // namespace TALVEK::EXACT::TEST
