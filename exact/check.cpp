#include "exact/check.h"

#include <utility>
#include <vector>

#include "exact/state_sum.h"

namespace TALVEK::EXACT {

namespace {

constexpr std::size_t DIFFERENCES_NAMED = 100;

/// Found in a change of the stream that owns its line; found in one of the trunk.
enum : std::uint8_t { IN_OWN = 1, IN_TRUNK = 2 };

class CCheck {
 public:
  CCheck(const CPlan& oPlan, const TTrunkView& tView)
      : m_oPlan(oPlan),
        m_oHistory(oPlan.History()),
        m_tView(tView),
        m_anState(m_oHistory.Files().size(), NONE),
        m_anFound(m_oHistory.Revisions().size()),
        m_anChildren(oPlan.Changes().size()) {}

  TPlanCheck Run() {
    std::vector<TIndex> anRoots;
    for (TIndex nStream = 0; nStream < m_oPlan.Streams().size(); ++nStream) {
      const TPlanStream& tStream = m_oPlan.Streams()[nStream];
      if (tStream.nBase == NONE) {
        anRoots.push_back(nStream);
      } else {
        m_anChildren[tStream.nBase].push_back(nStream);
        if (!tStream.anChanges.empty() && tStream.anChanges.front() <= tStream.nBase) {
          Differ(NONE, nStream, NONE, NONE, "begins before its base");
        }
      }
    }
    for (const TIndex nRoot : anRoots)
      Replay(nRoot);
    if (m_tCheck.nRefs != m_oPlan.Streams().size())
      Differ(NONE, NONE, NONE, NONE, "streams hang on each other");
    CheckRevisions();
    return std::move(m_tCheck);
  }

 private:
  /// A stream that is being replayed: its state is that of its base and of its first nChange changes.
  struct TFrame {
    TIndex nStream;
    std::size_t nChange = 0;
    std::size_t nChild = 0;  ///< of the last change: streams that were replayed on it
    std::size_t nUndo;       ///< how long the undo list was before
  };

  /// Replays a stream and all that hang on it, each on the state that its base has left.
  void Replay(TIndex nRoot) {
    std::vector<TFrame> atFrames{{nRoot, 0, 0, m_anUndo.size()}};
    while (!atFrames.empty()) {
      TFrame& tFrame = atFrames.back();
      const std::vector<TIndex>& anChanges = m_oPlan.Streams()[tFrame.nStream].anChanges;
      if (tFrame.nChange > 0) {
        const std::vector<TIndex>& nChildren = m_anChildren[anChanges[tFrame.nChange - 1]];
        if (tFrame.nChild < nChildren.size()) {
          const TIndex nChild = nChildren[tFrame.nChild++];
          atFrames.push_back({nChild, 0, 0, m_anUndo.size()});
          continue;
        }
      }
      if (tFrame.nChange < anChanges.size()) {
        Apply(anChanges[tFrame.nChange++]);
        tFrame.nChild = 0;
        continue;
      }
      CompareRef(tFrame.nStream);
      Undo(tFrame.nUndo);
      atFrames.pop_back();
    }
  }

  void Set(TIndex nFile, TIndex nRevision) {
    m_tSum.Remove(m_anState[nFile]);
    m_tSum.Add(nRevision);
    m_anState[nFile] = nRevision;
  }

  void Apply(TIndex nChange) {
    const TPlanChange& tChange = m_oPlan.Changes()[nChange];
    TIndex nFileBefore = NONE;
    m_oPlan.ForEachItem(nChange, [&](const TPlanItem& tItem) {
      if (nFileBefore != NONE && tItem.nFile <= nFileBefore) {
        Differ(tItem.nFile, tChange.nStream, NONE, tItem.nRevision, "comes twice in a change");
      }
      nFileBefore = tItem.nFile;
      if (m_anState[tItem.nFile] != tItem.nBefore) {
        Differ(tItem.nFile, tChange.nStream, m_anState[tItem.nFile], tItem.nBefore,
               "is changed from another revision");
      }
      m_anUndo.emplace_back(tItem.nFile, m_anState[tItem.nFile]);
      Set(tItem.nFile, tItem.nRevision);
      if (tChange.nKind == TChangeKind::OWN && tItem.nRevision != NONE) Find(tChange.nStream, tItem);
    });
  }

  void Undo(std::size_t nLength) {
    for (; m_anUndo.size() > nLength; m_anUndo.pop_back())
      Set(m_anUndo.back().first, m_anUndo.back().second);
  }

  std::uint8_t FlagOf(TIndex nRevision, TIndex nStream) const {
    return m_oHistory.LineOf(nRevision).nStream == nStream ? IN_OWN : IN_TRUNK;
  }

  void Find(TIndex nStream, const TPlanItem& tItem) {
    const TLine& tLine = m_oHistory.LineOf(tItem.nRevision);
    const std::uint8_t nFlag = FlagOf(tItem.nRevision, nStream);
    if (tLine.nFile != tItem.nFile || (nFlag == IN_TRUNK && nStream != TRUNK)) {
      Differ(tItem.nFile, nStream, NONE, tItem.nRevision, "is a revision of another stream");
    }
    if ((m_anFound[tItem.nRevision] & nFlag) != 0) {
      Differ(tItem.nFile, nStream, NONE, tItem.nRevision, "is in two changes");
    }
    m_anFound[tItem.nRevision] |= nFlag;
  }

  /// Calls fnState(file, revision) for what the client gives for a stream's name.
  template <class TFunction>
  void ForEachExpected(TIndex nStream, TFunction fnState) const {
    if (nStream != TRUNK) {
      m_oHistory.ForEachNamed(nStream, fnState);
      return;
    }
    for (TIndex nFile = 0; nFile < m_oHistory.Files().size(); ++nFile) {
      const TFile& tFile = m_oHistory.Files()[nFile];
      const TIndex nRevision = tFile.bCut ? LastUpToEndTime(nFile) : tFile.nTrunkEnd;
      if (m_oHistory.IsAlive(nRevision)) fnState(nFile, nRevision);
    }
  }

  TIndex LastUpToEndTime(TIndex nFile) const {
    const TLine& tTrunk = m_oHistory.Lines()[m_oHistory.Files()[nFile].nFirstLine];
    const TIndex nShown = m_tView.anFirstShown[nFile + 1] - m_tView.anFirstShown[nFile];
    const bool bShown = nShown != 0 && m_oHistory.Tip(tTrunk) == tTrunk.nFirstRevision;
    return bShown ? m_tView.anShown[m_tView.anFirstShown[nFile + 1] - 1] : m_oHistory.Tip(tTrunk);
  }

  void CompareRef(TIndex nStream) {
    ++m_tCheck.nRefs;
    TStateSum tExpected;
    ForEachExpected(nStream, [&](TIndex, TIndex nRevision) { tExpected.Add(nRevision); });
    if (tExpected == m_tSum) return;

    std::vector<TIndex> nExpected(m_anState.size(), NONE);
    ForEachExpected(nStream, [&](TIndex nFile, TIndex nRevision) { nExpected[nFile] = nRevision; });
    for (TIndex nFile = 0; nFile < m_anState.size(); ++nFile) {
      if (nExpected[nFile] != m_anState[nFile]) {
        Differ(nFile, nStream, nExpected[nFile], m_anState[nFile], "isn't what the client gives");
      }
    }
  }

  void CheckRevisions() {
    for (TIndex nFile = 0; nFile < m_oHistory.Files().size(); ++nFile) {
      const TFile& tFile = m_oHistory.Files()[nFile];
      const TIndex nFirstShown = m_tView.anFirstShown[nFile];
      const TIndex nEndShown = m_tView.anFirstShown[nFile + 1];
      for (TIndex n = nFirstShown; n < nEndShown; ++n)
        Expect(m_tView.anShown[n], TRUNK, FlagOf(m_tView.anShown[n], TRUNK));
      for (TIndex nLine = tFile.nFirstLine; nLine < tFile.nEndLine; ++nLine) {
        const TLine& tLine = m_oHistory.Lines()[nLine];
        if (tLine.nStream == NONE) continue;
        const bool bInPlace = nLine == tFile.nFirstLine && nFirstShown != nEndShown;
        for (TIndex n = tLine.nFirstRevision + (bInPlace ? 1 : 0); n < tLine.nEndRevision; ++n) {
          Expect(n, tLine.nStream, IN_OWN);
        }
      }
    }
  }

  void Expect(TIndex nRevision, TIndex nStream, std::uint8_t nFlag) {
    if (!m_oHistory.IsAlive(nRevision)) return;
    ++m_tCheck.nRevisions;
    if ((m_anFound[nRevision] & nFlag) == 0) {
      Differ(m_oHistory.FileOf(nRevision), nStream, nRevision, NONE, "is in no change");
    }
  }

  std::string Number(TIndex nRevision) const {
    return nRevision == NONE ? "no file" : m_oHistory.Number(nRevision);
  }

  void Differ(TIndex nFile, TIndex nStream, TIndex nExpected, TIndex nFound, const char* pszWhat) {
    ++m_tCheck.nDifferences;
    if (m_tCheck.atFirst.size() == DIFFERENCES_NAMED) return;
    TPlanDifference tDifference{nFile, nStream, nExpected, nFound, {}};
    if (nStream != NONE) tDifference.strWhat += m_oPlan.Streams()[nStream].strName + ": ";
    if (nFile != NONE) tDifference.strWhat += m_oHistory.Path(nFile) + " ";
    tDifference.strWhat += pszWhat;
    if (nFile != NONE) {
      tDifference.strWhat += " (history: " + Number(nExpected) + ", plan: " + Number(nFound) + ")";
    }
    m_tCheck.atFirst.push_back(std::move(tDifference));
  }

  const CPlan& m_oPlan;
  const CHistory& m_oHistory;
  const TTrunkView& m_tView;
  std::vector<TIndex> m_anState;                    ///< by file
  TStateSum m_tSum;                                 ///< of m_anState
  std::vector<std::uint8_t> m_anFound;              ///< by revision
  std::vector<std::vector<TIndex>> m_anChildren;    ///< by change: streams that start from it
  std::vector<std::pair<TIndex, TIndex>> m_anUndo;  ///< files and the revisions that they had
  TPlanCheck m_tCheck;
};

}  // namespace

TPlanCheck CheckPlan(const CPlan& oPlan, const TTrunkView& tView) {
  return CCheck(oPlan, tView).Run();
}

}  // namespace TALVEK::EXACT
