#include "exact/log_choice.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>

namespace TALVEK::EXACT {

namespace {

constexpr std::size_t MAX_STEPS = 4'000'000;
constexpr std::uint64_t IMPOSSIBLE = std::numeric_limits<std::uint64_t>::max();
constexpr std::uint64_t ODD_MESSAGE = std::uint64_t{1} << 32;  // outweighs all gaps and clocks
constexpr std::uint64_t ODD_DESCRIPTION = 2 * ODD_MESSAGE;     // most files have no text there

using TIndices = std::vector<std::size_t>;

bool IsTrunk(const TNumber& nNumber) {
  return nNumber.size() == 2;
}

TNumber LineOf(const TNumber& nNumber) {
  return {nNumber.begin(), nNumber.end() - 1};
}

bool OnOneLine(const TNumber& nFirst, const TNumber& nSecond) {
  if (nFirst.size() != nSecond.size()) return false;
  // Major numbers of the trunk follow one another on one line.
  return IsTrunk(nFirst) || std::equal(nFirst.begin(), nFirst.end() - 1, nSecond.begin());
}

/// Leaves out numbers that the file can't have.
TIndices PossibleOnes(const std::vector<TCandidate>& atCandidates, const TNumber& nHead, bool bAll) {
  TIndices anAll(atCandidates.size());
  for (std::size_t i = 0; i < anAll.size(); ++i)
    anAll[i] = i;
  if (!bAll || nHead.empty()) return anAll;
  std::set<TNumber> anNumbers, anLines;
  for (const TCandidate& tCandidate : atCandidates) {
    anNumbers.insert(tCandidate.pRevision->nNumber);
    anLines.insert(tCandidate.panBranches->begin(), tCandidate.panBranches->end());
  }
  TIndices anPossible;
  for (const std::size_t i : anAll) {
    const TNumber& nNumber = atCandidates[i].pRevision->nNumber;
    const bool bPossible = IsTrunk(nNumber)
                               ? !IsTrunk(nHead) || nNumber <= nHead
                               : anLines.contains(LineOf(nNumber)) &&
                                     anNumbers.contains(TNumber(nNumber.begin(), nNumber.end() - 2));
    if (bPossible) anPossible.push_back(i);
  }
  return anPossible;
}

/// The smaller oddities between two revisions that are printed one after the other.
std::uint64_t OddityBetween(const TRcsRevision& tFirst, const TRcsRevision& tSecond) {
  if (!OnOneLine(tFirst.nNumber, tSecond.nNumber)) return 0;
  std::uint64_t nOdd = tFirst.nTime < tSecond.nTime ? 1 : 0;
  const bool bSameMajor = tFirst.nNumber.front() == tSecond.nNumber.front();
  if (bSameMajor && tFirst.nNumber.back() != tSecond.nNumber.back() + 1) ++nOdd;
  return nOdd;
}

/// The best choice by a table of the cheapest way to choose candidate i when some number of those before it
/// is left out.
class CCheapestChoice {
 public:
  CCheapestChoice(const std::vector<TCandidate>& atCandidates, const TIndices& anPossible, std::size_t nCount)
      : m_atCandidates(atCandidates),
        m_anPossible(anPossible),
        m_nCount(nCount),
        m_nColumns(anPossible.size() - nCount + 1),
        m_atCells(anPossible.size() * m_nColumns) {}

  std::optional<TChoice> Choose() {
    for (std::size_t i = 0; i < m_anPossible.size(); ++i) {
      for (std::size_t nLeftOut = 0; nLeftOut < m_nColumns && nLeftOut <= i; ++nLeftOut)
        FillCell(i, nLeftOut);
    }
    return Best();
  }

 private:
  struct TCell {
    std::uint64_t nCost = IMPOSSIBLE;
    std::uint32_t nSkipped = 0;  // candidates between this one and the one chosen before it
    bool bOnlyOne = true;
  };

  TCell& Cell(std::size_t i, std::size_t nLeftOut) { return m_atCells[i * m_nColumns + nLeftOut]; }
  const TRcsRevision& At(std::size_t i) const { return *m_atCandidates[m_anPossible[i]].pRevision; }
  /// Candidates between two, the impossible ones as well: they are text of the first one's message.
  bool IsTextBetween(std::size_t i, std::size_t j) const { return m_anPossible[j] - m_anPossible[i] > 1; }

  static void Offer(TCell& tCell, std::uint64_t nCost, std::size_t nSkipped, bool bOnlyOne) {
    if (nCost > tCell.nCost) return;
    // The first offer is the one whose revision stands last: an equal one doesn't replace it.
    if (nCost == tCell.nCost) {
      tCell.bOnlyOne = false;
    } else {
      tCell = {nCost, static_cast<std::uint32_t>(nSkipped), bOnlyOne};
    }
  }

  void FillCell(std::size_t i, std::size_t nLeftOut) {
    TCell& tCell = Cell(i, nLeftOut);
    for (std::size_t nSkipped = 0; nSkipped <= nLeftOut && nSkipped < i; ++nSkipped) {
      const std::size_t j = i - 1 - nSkipped;
      if (nLeftOut - nSkipped > j) continue;
      const TCell& tBefore = Cell(j, nLeftOut - nSkipped);
      if (tBefore.nCost == IMPOSSIBLE || !PrintedBefore(At(j).nNumber, At(i).nNumber)) continue;
      Offer(tCell, tBefore.nCost + (IsTextBetween(j, i) ? ODD_MESSAGE : 0) + OddityBetween(At(j), At(i)),
            nSkipped, tBefore.bOnlyOne);
    }
    // The first one chosen: what stands before it is text of the description.
    if (nLeftOut == i) Offer(tCell, m_anPossible[i] > 0 ? ODD_DESCRIPTION : 0, i, true);
  }

  std::optional<TChoice> Best() {
    TCell tBest;
    std::size_t nLast = 0;
    for (std::size_t i = m_anPossible.size(); i-- > m_nCount - 1;) {
      const TCell& tCell = Cell(i, i + 1 - m_nCount);
      if (tCell.nCost == IMPOSSIBLE) continue;
      const bool bTextBehind = m_anPossible[i] + 1 < m_atCandidates.size();
      const std::uint64_t nBefore = tBest.nCost;
      Offer(tBest, tCell.nCost + (bTextBehind ? ODD_MESSAGE : 0), 0, tCell.bOnlyOne);
      if (tBest.nCost < nBefore) nLast = i;
    }
    if (tBest.nCost == IMPOSSIBLE) return std::nullopt;
    TChoice tChoice;
    tChoice.bOnlyOne = tBest.bOnlyOne;
    std::size_t nLeftOut = nLast + 1 - m_nCount;
    for (std::size_t i = nLast;;) {
      tChoice.anChosen.push_back(m_anPossible[i]);
      if (tChoice.anChosen.size() == m_nCount) break;
      const std::size_t nSkipped = Cell(i, nLeftOut).nSkipped;
      nLeftOut -= nSkipped;
      i -= 1 + nSkipped;
    }
    std::reverse(tChoice.anChosen.begin(), tChoice.anChosen.end());
    return tChoice;
  }

  const std::vector<TCandidate>& m_atCandidates;
  const TIndices& m_anPossible;
  const std::size_t m_nCount;
  const std::size_t m_nColumns;
  std::vector<TCell> m_atCells;
};

/// The longest row of candidates in the client's order, the one that stands last where there are several.
TIndices LongestRow(const std::vector<TCandidate>& atCandidates, const TIndices& anPossible) {
  // Patience sorting from the end: anHeads[n] begins the best row of n + 1 candidates found so far.
  TIndices anHeads;
  TIndices anNext(atCandidates.size());
  const auto fnNumber = [&](std::size_t i) -> const TNumber& { return atCandidates[i].pRevision->nNumber; };
  for (std::size_t n = anPossible.size(); n-- > 0;) {
    const std::size_t i = anPossible[n];
    const auto oPlace = std::partition_point(anHeads.begin(), anHeads.end(), [&](std::size_t nHead) {
      return PrintedBefore(fnNumber(i), fnNumber(nHead));
    });
    anNext[i] = oPlace == anHeads.begin() ? i : *(oPlace - 1);
    if (oPlace == anHeads.end()) {
      anHeads.push_back(i);
    } else if (fnNumber(*oPlace) != fnNumber(i)) {
      *oPlace = i;
    }
  }
  TIndices anRow;
  if (anHeads.empty()) return anRow;
  for (std::size_t i = anHeads.back();; i = anNext[i]) {
    anRow.push_back(i);
    if (anNext[i] == i) return anRow;
  }
}

/// For many candidates: the longest row, or a part of it.
std::optional<TChoice> QuickChoice(const std::vector<TCandidate>& atCandidates, const TIndices& anPossible,
                                   std::size_t nCount) {
  TIndices anRow = LongestRow(atCandidates, anPossible);
  if (anRow.size() < nCount) return std::nullopt;
  anRow.erase(anRow.begin() + 1, anRow.end() - static_cast<std::ptrdiff_t>(nCount - 1));
  // The first revision follows the description.
  const TNumber& nFirst = atCandidates[anRow.front()].pRevision->nNumber;
  if (atCandidates[anPossible.front()].pRevision->nNumber == nFirst) anRow.front() = anPossible.front();
  return TChoice{std::move(anRow), false};
}

std::optional<TChoice> ChooseFrom(const std::vector<TCandidate>& atCandidates, const TIndices& anPossible,
                                  std::size_t nCount) {
  if (anPossible.size() < nCount) return std::nullopt;
  const std::size_t nColumns = anPossible.size() - nCount + 1;
  if (anPossible.size() > MAX_STEPS / nColumns / nColumns)
    return QuickChoice(atCandidates, anPossible, nCount);
  return CCheapestChoice(atCandidates, anPossible, nCount).Choose();
}

}  // namespace

bool PrintedBefore(const TNumber& nFirst, const TNumber& nSecond) {
  if (IsTrunk(nFirst) || IsTrunk(nSecond)) {
    if (nFirst.size() != nSecond.size()) return IsTrunk(nFirst);
    return nFirst > nSecond;
  }
  // The revision of the trunk that they hang on: the oldest first.
  if (!std::equal(nFirst.begin(), nFirst.begin() + 2, nSecond.begin())) {
    return std::lexicographical_compare(nFirst.begin(), nFirst.begin() + 2, nSecond.begin(),
                                        nSecond.begin() + 2);
  }
  for (std::size_t i = 2;; i += 2) {
    if (nFirst[i] != nSecond[i]) return nFirst[i] > nSecond[i];
    // Both hang on one branch: its own revisions come first.
    const bool bFirstIsOwn = nFirst.size() == i + 2;
    const bool bSecondIsOwn = nSecond.size() == i + 2;
    if (bFirstIsOwn != bSecondIsOwn) return bFirstIsOwn;
    if (nFirst[i + 1] != nSecond[i + 1]) return nFirst[i + 1] > nSecond[i + 1];
    if (bFirstIsOwn) return false;
  }
}

bool AreUnique(const std::vector<TCandidate>& atCandidates) {
  bool bInOrder = true;
  for (std::size_t i = 1; i < atCandidates.size() && bInOrder; ++i)
    bInOrder = PrintedBefore(atCandidates[i - 1].pRevision->nNumber, atCandidates[i].pRevision->nNumber);
  if (bInOrder) return true;
  std::set<TNumber> anNumbers;
  for (const TCandidate& tCandidate : atCandidates)
    if (!anNumbers.insert(tCandidate.pRevision->nNumber).second) return false;
  return true;
}

std::optional<TChoice> ChooseRevisions(const std::vector<TCandidate>& atCandidates, std::size_t nCount,
                                       const TNumber& nHead, bool bAll) {
  if (atCandidates.size() < nCount) return std::nullopt;
  if (nCount == 0) return TChoice{};
  if (atCandidates.size() == nCount) {
    if (!AreUnique(atCandidates)) return std::nullopt;
    TChoice tChoice;
    for (std::size_t i = 0; i < nCount; ++i)
      tChoice.anChosen.push_back(i);
    return tChoice;
  }
  const TIndices anPossible = PossibleOnes(atCandidates, nHead, bAll);
  std::optional<TChoice> tChoice = ChooseFrom(atCandidates, anPossible, nCount);
  if (tChoice || anPossible.size() == atCandidates.size()) return tChoice;
  return ChooseFrom(atCandidates, PossibleOnes(atCandidates, nHead, false), nCount);
}

std::vector<std::size_t> ChooseWhatIsThere(const std::vector<TCandidate>& atCandidates, std::size_t nCount) {
  std::vector<std::size_t> anChosen;
  std::set<TNumber> anNumbers;
  for (std::size_t i = 0; i < atCandidates.size() && anChosen.size() < nCount; ++i)
    if (anNumbers.insert(atCandidates[i].pRevision->nNumber).second) anChosen.push_back(i);
  return anChosen;
}

}  // namespace TALVEK::EXACT
