#include "exact/history.h"

#include <algorithm>
#include <map>
#include <numeric>
#include <set>
#include <string_view>
#include <utility>

#include "exact/log_text.h"

namespace TALVEK::EXACT {

namespace {

TNumber NumberOf(std::string_view strText) {
  TNumber nNumber;
  ReadNumber(strText, nNumber);
  return nNumber;
}

/// 1.4.0.2: how CVS writes the branch 1.4.2 into the names, whether or not it has revisions.
bool IsMagic(const TNumber& nNumber) {
  return nNumber.size() >= 4 && nNumber.size() % 2 == 0 && nNumber[nNumber.size() - 2] == 0;
}

bool IsBranch(const TNumber& nNumber) {
  return nNumber.size() % 2 == 1 || IsMagic(nNumber);
}

TNumber LineNumber(TNumber nMagic) {
  nMagic.erase(nMagic.end() - 2);
  return nMagic;
}

/// 1.1.3: `cvs import` gives its branches such numbers, and writes them into names and headers as they are. A
/// branch that `cvs tag` makes is written as 1.1.0.2.
bool IsPlainOnFirst(const TNumber& nNumber) {
  return nNumber.size() == 3 && nNumber[0] == 1 && nNumber[1] == 1;
}

/// The line of a revision as a key that sorts the trunk first: all of its majors are one line.
TNumber LineKey(const TNumber& nRevision) {
  return nRevision.size() == 2 ? TNumber{} : TNumber(nRevision.begin(), nRevision.end() - 1);
}

/// CVS writes this message itself, "file F was added on branch B on DATE", into the dead revision that it
/// puts before the first one of a file that is added on a branch.
bool IsAddedOnBranch(const std::string& strMessage) {
  return strMessage.starts_with("file ") && strMessage.find(" was added on branch ") != std::string::npos;
}

}  // namespace

/// Finds the revisions and lines of one file by their numbers while it is being added.
class CHistory::CFileNumbers {
 public:
  void AddRevision(const TNumber& nNumber, TIndex nRevision) { m_anRevisions.emplace(nNumber, nRevision); }
  void AddLine(const TNumber& nNumber, TIndex nLine) { m_anLines.emplace(nNumber, nLine); }
  void AddCut(const TNumber& nNumber) { m_anCut.insert(nNumber); }

  TIndex Revision(const TNumber& nNumber) const { return Find(m_anRevisions, nNumber); }
  TIndex Line(const TNumber& nNumber) const { return Find(m_anLines, nNumber); }
  /// It is left out because of the end time.
  bool IsCut(const TNumber& nNumber) const { return m_anCut.count(nNumber) != 0; }
  bool HasCut() const { return !m_anCut.empty(); }

  /// The last trunk revision with this first component.
  TIndex LastOfMajor(std::uint32_t nMajor) const {
    TIndex nLast = NONE;
    for (auto it = m_anRevisions.lower_bound(TNumber{nMajor}); it != m_anRevisions.end(); ++it) {
      if (it->first[0] != nMajor) break;
      if (it->first.size() == 2) nLast = it->second;
    }
    return nLast;
  }

 private:
  static TIndex Find(const std::map<TNumber, TIndex>& nTable, const TNumber& nNumber) {
    const auto it = nTable.find(nNumber);
    return it == nTable.end() ? NONE : it->second;
  }

  std::map<TNumber, TIndex> m_anRevisions;
  std::map<TNumber, TIndex> m_anLines;
  std::set<TNumber> m_anCut;
};

CHistory::CHistory(THistoryOptions tOptions) : m_tOptions(std::move(tOptions)) {}

std::string CHistory::Number(TIndex nRevision) const {
  const TRevision& tRevision = m_atRevisions[nRevision];
  const std::string strLine = m_oTexts.Get(m_atLines[tRevision.nLine].nNumber);
  return (strLine.empty() ? std::to_string(tRevision.nMajor) : strLine) + "." +
         std::to_string(tRevision.nLast);
}

void CHistory::AddFile(const TRcsFile& tFile) {
  m_atFiles.push_back({});
  m_atFiles.back().nPath = m_oTexts.Add(tFile.strPath);
  CFileNumbers oNumbers;
  AddRevisions(tFile, oNumbers);
  SetTrunk(tFile, oNumbers);
  AddNames(tFile, oNumbers);
}

void CHistory::AddRevisions(const TRcsFile& tFile, CFileNumbers& oNumbers) {
  std::vector<const TRcsRevision*> aptSorted;
  for (const TRcsRevision& tRevision : tFile.atRevisions) {
    if (m_tOptions.nEndTime && tRevision.nTime > *m_tOptions.nEndTime) {
      oNumbers.AddCut(tRevision.nNumber);
    } else if (tRevision.nNumber.size() >= 2 && tRevision.nNumber.size() % 2 == 0) {
      aptSorted.push_back(&tRevision);
    }
  }
  // A trunk revision has the empty key, so the trunk comes first, and a branch after the line it sprouts
  // from.
  std::stable_sort(aptSorted.begin(), aptSorted.end(),
                   [](const TRcsRevision* ptLeft, const TRcsRevision* ptRight) {
                     const TNumber nLeft = LineKey(ptLeft->nNumber);
                     const TNumber nRight = LineKey(ptRight->nNumber);
                     return nLeft != nRight ? nLeft < nRight : ptLeft->nNumber < ptRight->nNumber;
                   });

  m_atFiles.back().nFirstLine = static_cast<TIndex>(m_atLines.size());
  AddLine({}, oNumbers);
  for (const TRcsRevision* ptRevision : aptSorted) {
    if (oNumbers.Revision(ptRevision->nNumber) != NONE) {
      m_astrNotes.push_back(tFile.strPath + ": the log has revision " + NumberText(ptRevision->nNumber) +
                            " twice, the first one counts");
      continue;
    }
    const TNumber nKey = LineKey(ptRevision->nNumber);
    if (oNumbers.Line(nKey) == NONE) AddLine(nKey, oNumbers);
    TRevision tRevision;
    tRevision.nTime = ptRevision->nTime;
    tRevision.nLine = static_cast<TIndex>(m_atLines.size() - 1);
    if (nKey.empty()) tRevision.nMajor = ptRevision->nNumber[0];
    tRevision.nLast = ptRevision->nNumber.back();
    tRevision.nAuthor = m_oTexts.Add(ptRevision->strAuthor);
    tRevision.nMessage = m_oMessages.Add(ptRevision->strMessage);
    if (!ptRevision->strCommitId.empty()) tRevision.nCommitId = m_oTexts.Add(ptRevision->strCommitId);
    tRevision.bDead = ptRevision->bDead;
    tRevision.bDiffers = ptRevision->bDiffers;

    TLine& tLine = m_atLines.back();
    if (tLine.nFirstRevision == tLine.nEndRevision && tRevision.bDead) {
      tLine.bAddedLater = IsAddedOnBranch(ptRevision->strMessage) ||
                          (tLine.nSprout != NONE && tRevision.nTime <= m_atRevisions[tLine.nSprout].nTime);
    }
    tLine.bHasDead = tLine.bHasDead || tRevision.bDead;
    oNumbers.AddRevision(ptRevision->nNumber, static_cast<TIndex>(m_atRevisions.size()));
    m_atRevisions.push_back(tRevision);
    tLine.nEndRevision = static_cast<TIndex>(m_atRevisions.size());
  }
  m_atFiles.back().nEndLine = static_cast<TIndex>(m_atLines.size());
}

/// The revision that a line sprouts from is on a line with a shorter number, which is there already: keys are
/// sorted as numbers are, and 1.2.2 comes before 1.2.2.1.2.
void CHistory::AddLine(const TNumber& nKey, CFileNumbers& oNumbers) {
  TLine tLine;
  tLine.nFile = static_cast<TIndex>(m_atFiles.size() - 1);
  tLine.nNumber = m_oTexts.Add(NumberText(nKey));
  if (!nKey.empty()) tLine.nSprout = oNumbers.Revision(TNumber(nKey.begin(), nKey.end() - 1));
  tLine.nFirstRevision = tLine.nEndRevision = static_cast<TIndex>(m_atRevisions.size());
  tLine.bVendor = IsPlainOnFirst(nKey) && nKey[2] % 2 == 1;
  oNumbers.AddLine(nKey, static_cast<TIndex>(m_atLines.size()));
  m_atLines.push_back(tLine);
}

void CHistory::SetTrunk(const TRcsFile& tFile, const CFileNumbers& oNumbers) {
  TFile& tRecord = m_atFiles.back();
  tRecord.bCut = oNumbers.HasCut();

  const TNumber& nDefault = tFile.nDefaultBranch;
  TIndex nEnd = NONE;
  if (tFile.nHead.empty()) {
    nEnd = NONE;
  } else if (nDefault.empty()) {
    nEnd = oNumbers.Revision(tFile.nHead);
  } else if (nDefault.size() == 1) {
    nEnd = oNumbers.LastOfMajor(nDefault[0]);
  } else if (nDefault.size() % 2 == 0) {
    nEnd = oNumbers.Revision(nDefault);
  } else if (const TIndex nLine = oNumbers.Line(nDefault); nLine != NONE) {
    nEnd = Tip(m_atLines[nLine]);
  }
  tRecord.nTrunkEnd = IsAlive(nEnd) ? nEnd : NONE;

  if (IsPlainOnFirst(nDefault)) tRecord.nVendorLine = oNumbers.Line(nDefault);
  if (tRecord.nVendorLine == NONE) tRecord.nVendorLine = oNumbers.Line({1, 1, 1});
}

TNamePlace CHistory::PlaceOf(const TRcsName& tName, const CFileNumbers& oNumbers) const {
  TNamePlace tPlace;
  tPlace.nFile = static_cast<TIndex>(m_atFiles.size() - 1);
  const TNumber& nNumber = tName.nNumber;
  if (nNumber.size() == 1) {
    tPlace.nRevision = oNumbers.LastOfMajor(nNumber[0]);
  } else if (IsMagic(nNumber)) {
    tPlace.nLine = oNumbers.Line(LineNumber(nNumber));
    tPlace.nRevision = oNumbers.Revision(TNumber(nNumber.begin(), nNumber.end() - 2));
  } else if (IsBranch(nNumber)) {
    // Without a revision on it the client finds no branch, and no file.
    tPlace.nLine = oNumbers.Line(nNumber);
  } else {
    tPlace.nRevision = oNumbers.Revision(nNumber);
  }
  return tPlace;
}

TIndex CHistory::AddName(const std::string& strName) {
  const auto [it, bNew] = m_anNames.emplace(strName, static_cast<TIndex>(m_atNames.size()));
  if (bNew) {
    TName tName;
    tName.strName = strName;
    tName.bWanted = !m_tOptions.fnWanted || m_tOptions.fnWanted(strName);
    m_atNames.push_back(std::move(tName));
  }
  return it->second;
}

void CHistory::AddNames(const TRcsFile& tFile, const CFileNumbers& oNumbers) {
  const TIndex nFile = static_cast<TIndex>(m_atFiles.size() - 1);
  for (const TRcsName& tRcsName : tFile.atNames) {
    if (tRcsName.nNumber.empty()) continue;
    const TIndex nName = AddName(tRcsName.strName);
    TName& tName = m_atNames[nName];
    // The client takes the first of two names that are equal.
    if (tName.nLastFile == nFile) continue;
    tName.nLastFile = nFile;

    const TNamePlace tPlace = PlaceOf(tRcsName, oNumbers);
    const bool bBranch = IsBranch(tRcsName.nNumber);
    ++(bBranch ? tName.nBranchFiles : tName.nTagFiles);
    if (!bBranch && oNumbers.IsCut(tRcsName.nNumber)) tName.bCut = true;
    if (tPlace.nLine != NONE && IsPlainOnFirst(tRcsName.nNumber)) m_atLines[tPlace.nLine].bVendor = true;
    if (tPlace.nLine != NONE) m_nLineNames.emplace_back(tPlace.nLine, nName);
    // A name that gives no file needs no place.
    if (tName.bWanted && (tPlace.nLine != NONE || IsAlive(tPlace.nRevision))) m_oPlaces.Append(nName, tPlace);
  }
}

void CHistory::Finish() {
  m_atStreams.push_back({});
  m_atStreams[TRUNK].strName = "Main";
  MakeNamedStreams();
  GiveLinesToStreams();
  MakeUnnamedStreams();
  for (const TLine& tLine : m_atLines) {
    if (tLine.nStream == NONE) continue;
    ++m_atStreams[tLine.nStream].nLines;
    if (tLine.bVendor) ++m_atStreams[tLine.nStream].nVendorLines;
  }
  m_oPlaces.Finish();
}

void CHistory::MakeNamedStreams() {
  std::vector<TIndex> nSorted(m_atNames.size());
  std::iota(nSorted.begin(), nSorted.end(), TIndex{0});
  std::sort(nSorted.begin(), nSorted.end(), [this](TIndex nLeft, TIndex nRight) {
    return m_atNames[nLeft].strName < m_atNames[nRight].strName;
  });
  for (const TIndex nName : nSorted) {
    TName& tName = m_atNames[nName];
    const bool bTag = tName.nBranchFiles == 0;
    if (!tName.bWanted || !m_tOptions.bCreateBranches) continue;
    if (bTag && (!m_tOptions.bStreamsForTags || tName.bCut)) {
      if (tName.bCut)
        m_astrNotes.push_back("tag " + tName.strName + " names revisions after the end date: left out");
      continue;
    }
    tName.nStream = static_cast<TIndex>(m_atStreams.size());
    TStreamName tStream;
    tStream.strName = tName.strName;
    tStream.nName = nName;
    tStream.nPlaces = nName;
    tStream.bTag = bTag;
    m_atStreams.push_back(std::move(tStream));
  }
}

/// A line belongs to that one of its names which most files know as a branch, then to the first by its bytes
/// (streams are in that order).
void CHistory::GiveLinesToStreams() {
  for (const TFile& tFile : m_atFiles)
    m_atLines[tFile.nFirstLine].nStream = TRUNK;
  for (const auto& [nLine, nName] : m_nLineNames) {
    const TIndex nStream = m_atNames[nName].nStream;
    TIndex& nOwner = m_atLines[nLine].nStream;
    if (nStream == NONE) continue;
    const auto fnFiles = [this](TIndex n) { return m_atNames[m_atStreams[n].nName].nBranchFiles; };
    if (nOwner == NONE || fnFiles(nStream) > fnFiles(nOwner) ||
        (fnFiles(nStream) == fnFiles(nOwner) && nStream < nOwner)) {
      nOwner = nStream;
    }
  }
}

/// A line whose names are all left out is left out with them; only one that never had a name gets a stream
/// here.
void CHistory::MakeUnnamedStreams() {
  std::vector<bool> bHasName(m_atLines.size());
  for (const auto& [nLine, nName] : m_nLineNames)
    bHasName[nLine] = true;
  m_nLineNames = {};
  if (!m_tOptions.bCreateBranches || !m_tOptions.bUnnamedBranches) return;

  std::map<TNumber, std::vector<TIndex>> anLinesOf;
  for (TIndex nLine = 0; nLine < m_atLines.size(); ++nLine) {
    if (m_atLines[nLine].nStream != NONE || bHasName[nLine]) continue;
    anLinesOf[NumberOf(m_oTexts.Get(m_atLines[nLine].nNumber))].push_back(nLine);
  }
  TIndex nPlaces = static_cast<TIndex>(m_atNames.size());
  for (const auto& [nNumber, nLines] : anLinesOf) {
    TStreamName tStream;
    tStream.strName = "unnamed-" + NumberText(nNumber);
    while (m_anNames.count(tStream.strName) != 0)
      tStream.strName += '_';
    tStream.bUnnamed = true;
    tStream.nPlaces = nPlaces;
    for (const TIndex nLine : nLines) {
      m_atLines[nLine].nStream = static_cast<TIndex>(m_atStreams.size());
      m_oPlaces.Append(nPlaces, {m_atLines[nLine].nFile, NONE, nLine});
    }
    m_atStreams.push_back(std::move(tStream));
    ++nPlaces;
  }
}

TIndex CHistory::Entry(TIndex nStream, const TNamePlace& tPlace) const {
  // Only living ones were noted. To look it up again would be half of the time of a plan with many names.
  if (tPlace.nLine == NONE) return tPlace.nRevision;
  const TLine& tLine = m_atLines[tPlace.nLine];
  if (tLine.nStream == nStream) return LineEntry(tLine);
  const TIndex nTip = Tip(tLine);
  return IsAlive(nTip) ? nTip : NONE;
}

}  // namespace TALVEK::EXACT
