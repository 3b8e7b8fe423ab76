#include "tests/mcv/plain_search.h"

#include <strings.h>

#include <algorithm>
#include <set>

#include "core/text_codec.h"
#include "tests/support/utc_text.h"

namespace TALVEK::TEST {

namespace {

constexpr std::uint32_t NEVER = 0xFFFFFFFF;

bool BeginsWith(const TNumber& anNumber, const TNumber& anBeginning) {
  if (anBeginning.size() > anNumber.size()) return false;
  for (std::size_t i = 0; i < anBeginning.size(); ++i) {
    if (anNumber[i] != anBeginning[i]) return false;
  }
  return true;
}

bool IsBefore(const TNumber& anLeft, const TNumber& anRight) {
  for (std::size_t i = 0; i < anLeft.size() && i < anRight.size(); ++i) {
    if (anLeft[i] != anRight[i]) return anLeft[i] < anRight[i];
  }
  return anLeft.size() < anRight.size();
}

/// Insertion sort. Of equal numbers the later one goes first, as in CArray::Sort with a comparison that never
/// says "equal".
template <class TNumbered>
void SortByNumber(std::vector<TNumbered>& atItems) {
  std::vector<TNumbered> atSorted;
  for (const TNumbered& tItem : atItems) {
    std::size_t nPlace = 0;
    while (nPlace < atSorted.size() && IsBefore(atSorted[nPlace].anNumber, tItem.anNumber))
      ++nPlace;
    atSorted.insert(atSorted.begin() + static_cast<std::ptrdiff_t>(nPlace), tItem);
  }
  atItems = atSorted;
}

const TPlainRevision* FindRevision(const TPlainFile& tFile, const TNumber& anNumber) {
  for (const TPlainRevision& tRevision : tFile.atRevisions) {
    if (tRevision.anNumber == anNumber) return &tRevision;
  }
  return nullptr;
}

/// The revision from which a name starts: a tag's own, or the one from which the branch sprouts.
TNumber Start(const TPlainName& tName) {
  TNumber anStart = tName.anNumber;
  if (tName.bIsBranch && !anStart.empty()) anStart.pop_back();
  return anStart;
}

std::uint32_t EarliestCreation(const TPlainFile& tFile, const TPlainName& tName) {
  const TPlainRevision* ptRevision = FindRevision(tFile, Start(tName));
  return ptRevision && ptRevision->nTime != 0 ? ptRevision->nTime + 1 : 0;
}

std::uint32_t LatestCreation(const TPlainFile& tFile, const TPlainName& tName) {
  TNumber anNext = Start(tName);
  if (anNext.empty()) return 0;
  ++anNext.back();
  const TPlainRevision* ptRevision = FindRevision(tFile, anNext);
  return ptRevision ? ptRevision->nTime : 0;
}

std::uint32_t EndTime(const TPlainFile& tFile, std::size_t nRevision) {
  std::size_t nNext = nRevision + 1;
  if (nNext < tFile.atRevisions.size() && tFile.atRevisions[nNext].anNumber == TNumber{1, 1, 1, 1}) ++nNext;
  return nNext < tFile.atRevisions.size() ? tFile.atRevisions[nNext].nTime : NEVER;
}

/// "add", "edit", "delete" or "readd"; empty when the revision is no change.
std::string ChangeType(const std::string& strState, bool& bAdded, bool& bDeleted) {
  if (strcasecmp(strState.c_str(), "Exp") == 0) {
    if (!bAdded) {
      bAdded = true;
      return "add";
    }
    if (!bDeleted) return "edit";
    bDeleted = false;
    return "readd";
  }
  if (strcasecmp(strState.c_str(), "dead") == 0 && bAdded) {
    bDeleted = true;
    return "delete";
  }
  return "";
}

std::string Dotted(const TNumber& anNumber) {
  std::string strText;
  for (const std::uint32_t nComponent : anNumber)
    strText += (strText.empty() ? "" : ".") + std::to_string(nComponent);
  return strText;
}

VCM::CFilePath PathInModule(const std::string& strPath) {
  VCM::CFilePath oPath;
  const std::size_t nSlash = strPath.find('/');
  if (nSlash != std::string::npos) oPath.Parse(VCM::FromBytes(strPath.substr(nSlash + 1)));
  return oPath;
}

}  // namespace

CPlainSearch::CPlainSearch(const TPlainSettings& tSettings) : m_tSettings(tSettings) {
  TStream tTrunk;
  tTrunk.nID = 1;
  tTrunk.strName = "Main";
  m_atStreams.push_back(tTrunk);
}

void CPlainSearch::Read(std::vector<TPlainFile> atFiles) {
  int nFiles = 0;
  for (TPlainFile& tFile : atFiles) {
    LogLine("Processing file '" + tFile.strPath + "' (count=" + std::to_string(nFiles++) + ")");
    NormaliseNames(tFile);
    SortByNumber(tFile.atNames);
    SortByNumber(tFile.atRevisions);
    for (std::size_t i = 0; i < tFile.atNames.size(); ++i)
      ReadName(tFile, i);
    ReadRevisions(tFile);
  }
  if (nFiles == 0) LogLine("Failed to parse any files from rlog.");
  LogLine("Finished Parsing Log");
  LogTree(0, "");
}

void CPlainSearch::NormaliseNames(TPlainFile& tFile) const {
  std::vector<TPlainName> atKept;
  for (TPlainName tName : tFile.atNames) {
    TNumber& anNumber = tName.anNumber;
    if (anNumber.size() > 1 && anNumber[anNumber.size() - 2] == 0) {
      tName.bIsBranch = true;
      anNumber.erase(anNumber.end() - 2);
    }
    if (anNumber == TNumber{1, 1, 1}) {
      tName.bIsBranch = true;
      anNumber = {1};
    } else if (anNumber.size() > 3 && BeginsWith(anNumber, {1, 1, 1})) {
      anNumber.erase(anNumber.begin(), anNumber.begin() + 2);
    }
    if (tName.bIsBranch || m_tSettings.bStreamsForTags) atKept.push_back(tName);
  }
  tFile.atNames = atKept;
}

void CPlainSearch::ReadName(const TPlainFile& tFile, std::size_t nName) {
  const TPlainName& tName = tFile.atNames[nName];
  const std::uint32_t nProposed = m_tSettings.bNestedBranches ? ProposeParent(tFile, nName) : 1;
  if (const TStream* ptFound = FindByName(tName.strName)) {
    m_tWorking = *ptFound;
    const bool bMoved = MoveBelow(nProposed, tFile);
    const bool bNarrowed = NarrowTimes(tFile, tName);
    if (!bMoved && !bNarrowed) return;
    LogStream("Updating", m_tWorking);
    m_atStreams[m_tWorking.nID - 1] = m_tWorking;
    return;
  }
  m_tWorking.nParentID = nProposed;
  m_tWorking.strName = tName.strName;
  NarrowTimes(tFile, tName);
  if (!m_tSettings.bCreateBranches) return;
  m_tWorking.nID = static_cast<std::uint32_t>(m_atStreams.size()) + 1;
  m_atStreams.push_back(m_tWorking);
  LogStream("Adding", m_tWorking);
}

std::uint32_t CPlainSearch::ProposeParent(const TPlainFile& tFile, std::size_t nName) const {
  const TPlainName& tName = tFile.atNames[nName];
  if (tName.anNumber.size() <= 3) return 1;
  const std::size_t nLonger = tName.bIsBranch ? 2 : 1;
  for (std::size_t j = nName; j-- > 0;) {
    const TPlainName& tEarlier = tFile.atNames[j];
    if (tEarlier.anNumber.size() + nLonger > tName.anNumber.size()) continue;
    if (!BeginsWith(tName.anNumber, tEarlier.anNumber)) continue;
    const TStream* ptStream = FindByName(tEarlier.strName);
    return ptStream ? ptStream->nID : 1;
  }
  return 1;
}

bool CPlainSearch::MoveBelow(std::uint32_t nProposed, const TPlainFile& tFile) {
  if (nProposed <= 1) return false;
  const std::uint32_t nPresent = m_tWorking.nParentID;
  if (nPresent <= 1) {
    m_tWorking.nParentID = nProposed;
    return true;
  }
  std::set<std::uint32_t> anSeen;
  for (std::uint32_t nAbove = nProposed; nAbove > 1 && anSeen.insert(nAbove).second;) {
    const TStream* ptAbove = FindByID(nAbove);
    if (!ptAbove) return false;
    if (nAbove == nPresent) {
      m_tWorking.nParentID = nProposed;
      return nProposed != nPresent;
    }
    if (nAbove == m_tWorking.nID) {
      LogLine("Unable to set use stream hierarchy proposed by file '" + tFile.strPath +
              "'. This will create an infinite loop!");
      return false;
    }
    nAbove = ptAbove->nParentID;
  }
  return false;
}

bool CPlainSearch::NarrowTimes(const TPlainFile& tFile, const TPlainName& tName) {
  std::uint32_t nCreated = m_tWorking.nCreated.value_or(0);
  std::uint32_t nBound = m_tWorking.nMaxCreated.value_or(0);
  bool bChanged = false;
  const std::uint32_t nFileMax = LatestCreation(tFile, tName);
  if (nFileMax != 0 && (nBound == 0 || nFileMax < nBound)) {
    m_tWorking.nMaxCreated = nFileMax;
    bChanged = true;
    if (nFileMax <= nCreated) nCreated = 0;
    nBound = nFileMax;
  }
  std::uint32_t nFileMin = EarliestCreation(tFile, tName);
  if (nFileMin == 0 && m_tWorking.nParentID != 0) {
    const TStream* ptParent = FindByID(m_tWorking.nParentID);
    if (ptParent && ptParent->nCreated) nFileMin = *ptParent->nCreated + 1;
  }
  if (nBound != 0 && nFileMin >= nBound) {
    LogLine("Ignoring file '" + tFile.strPath + "' tag '" + tName.strName +
            "' for establishing branch creation time. The branch is inconsistent with other branches.");
    return bChanged;
  }
  if (nFileMin > nCreated) {
    m_tWorking.nCreated = nFileMin;
    bChanged = true;
  }
  return bChanged;
}

void CPlainSearch::ReadRevisions(const TPlainFile& tFile) {
  bool bAdded = false, bDeleted = false;
  for (std::size_t i = 0; i < tFile.atRevisions.size(); ++i) {
    const TPlainRevision& tRevision = tFile.atRevisions[i];
    ChooseStream(tFile, tRevision.anNumber);
    if (m_tWorking.nID == 0) continue;
    const std::string strType = ChangeType(tRevision.strState, bAdded, bDeleted);
    if (strType.empty()) continue;
    m_oGrouping.AddItem(m_tWorking.nID, VCM::FromBytes(tRevision.strAuthor), PathInModule(tFile.strPath),
                        tRevision.nTime, VCM::FromBytes(tRevision.strMessage), 0, true, EndTime(tFile, i),
                        Dotted(tRevision.anNumber) + " " + strType);
  }
}

void CPlainSearch::ChooseStream(const TPlainFile& tFile, const TNumber& anRevision) {
  m_tWorking.nID = 0;
  if (anRevision.size() == 2) {
    m_tWorking = m_atStreams[0];
    return;
  }
  for (const TPlainName& tName : tFile.atNames) {
    if (tName.anNumber.size() + 1 != anRevision.size() || !BeginsWith(anRevision, tName.anNumber)) continue;
    if (const TStream* ptStream = FindByName(tName.strName)) m_tWorking = *ptStream;
    return;
  }
}

const CPlainSearch::TStream* CPlainSearch::FindByName(const std::string& strName) const {
  for (const TStream& tStream : m_atStreams) {
    if (strcasecmp(tStream.strName.c_str(), strName.c_str()) == 0) return &tStream;
  }
  return nullptr;
}

const CPlainSearch::TStream* CPlainSearch::FindByID(std::uint32_t nID) const {
  for (const TStream& tStream : m_atStreams) {
    if (tStream.nID == nID) return &tStream;
  }
  return nullptr;
}

void CPlainSearch::Link() {
  for (TStream& tStream : m_atStreams) {
    if (tStream.nParentID == 0) continue;
    tStream.nBaseChangeID = 0;
    for (const CPlainGrouping::TChange& tChange : m_oGrouping.InOrder()) {
      if (tChange.nStream == tStream.nParentID && tChange.nTime <= tStream.nCreated.value_or(0))
        tStream.nBaseChangeID = tChange.nID;
    }
  }
}

void CPlainSearch::LogStream(const char* pszWhat, const TStream& tStream) {
  const TStream* ptParent = FindByID(tStream.nParentID);
  const std::string strParent = tStream.nParentID == 0 ? "[NONE]" : ptParent ? ptParent->strName : "";
  LogLine(std::string(pszWhat) + " stream '" + tStream.strName + "'. Parent is '" + strParent +
          "'. Creation time is " + UtcText(tStream.nCreated.value_or(0)) + ". Max creation time is " +
          UtcText(tStream.nMaxCreated.value_or(0)));
}

void CPlainSearch::LogTree(std::uint32_t nParentID, const std::string& strIndent) {
  std::vector<TStream> atChildren;
  for (const TStream& tStream : m_atStreams) {
    if (tStream.nParentID == nParentID) atChildren.push_back(tStream);
  }
  std::stable_sort(atChildren.begin(), atChildren.end(), [](const TStream& tLeft, const TStream& tRight) {
    return tLeft.nCreated.value_or(0) < tRight.nCreated.value_or(0);
  });
  for (const TStream& tChild : atChildren) {
    LogLine(strIndent + tChild.strName);
    LogTree(tChild.nID, strIndent + "  ");
  }
}

std::string CPlainSearch::Streams() const {
  std::string strText;
  for (const TStream& tStream : m_atStreams) {
    strText += std::to_string(tStream.nID) + " " + tStream.strName + " below " +
               std::to_string(tStream.nParentID) + " [" + std::to_string(tStream.nCreated.value_or(0)) + "," +
               std::to_string(tStream.nMaxCreated.value_or(0)) + "]\n";
  }
  return strText;
}

std::string CPlainSearch::BaseChanges() const {
  std::string strText;
  for (const TStream& tStream : m_atStreams)
    strText += std::to_string(tStream.nBaseChangeID) + " ";
  return strText;
}

std::string CPlainSearch::Items() const {
  std::string strText;
  for (const CPlainGrouping::TChange& tChange : m_oGrouping.AsMade()) {
    for (const CPlainGrouping::TItem& tItem : tChange.atItems) {
      strText += VCM::ToBytes(tItem.oPath.GeneratePath()) + " " + tItem.strNote + " on " +
                 FindByID(tChange.nStream)->strName + " " + std::to_string(tItem.nTime) + ".." +
                 (tChange.nMaxTime == NEVER ? "never" : std::to_string(tChange.nMaxTime)) + "\n";
    }
  }
  return strText;
}

std::string CPlainSearch::Changes() const {
  std::string strText;
  for (const CPlainGrouping::TChange& tChange : m_oGrouping.InOrder()) {
    strText += FindByID(tChange.nStream)->strName + " " + std::to_string(tChange.nTime) + " " +
               VCM::ToBytes(tChange.strUser) + " [" + VCM::ToBytes(tChange.strComment) + "]";
    const char* pszSeparator = " ";
    for (const CPlainGrouping::TItem& tItem : tChange.atItems) {
      strText += pszSeparator + VCM::ToBytes(tItem.oPath.GeneratePath()) + " " +
                 tItem.strNote.substr(0, tItem.strNote.find(' '));
      pszSeparator = ", ";
    }
    strText += "\n";
  }
  return strText;
}

}  // namespace TALVEK::TEST
