// The one pass over the log that finds the streams and records every file revision as a change item.
//
// Per file, first its symbolic names become streams or narrow the times of those that are there, then its
// revisions become change items. One working record serves every name and every revision of every file: a
// name seen for the first time starts from whatever the record holds, so a new stream inherits the times of
// the stream that came before.

#include <utility>

#include "mce/import_log_texts.h"
#include "mcv/cvs_provider.h"
#include "mcv/file_lookup.h"

namespace TALVEK::MCV {

namespace {

constexpr unsigned MAIN_STREAM_ID = 1;
constexpr long NEVER = -1;

/// The directory of a repository path such as ":pserver:joe@host:/cvs".
VCM::CString CutToDirectory(const VCM::CString& strReposPath) {
  return strReposPath.Mid(strReposPath.ReverseFind(L':') + 1);
}

/// The path below the module: all items but the first.
VCM::CFilePath PathInModule(const VCM::CFilePath& oPath) {
  VCM::CFilePath oInModule = oPath;
  oInModule.RemoveFirstItem();
  return oInModule;
}

bool IsFirstVendorRevision(const MCE::TCVSRevision& oRevision) {
  if (oRevision.GetCount() != 4) return false;
  for (const std::uint32_t nComponent : oRevision) {
    if (nComponent != 1) return false;
  }
  return true;
}

/// Until when revision `nRevision` stays current: when the next one in the list was committed, on whatever
/// line. The first vendor revision is passed over: `cvs import` makes it together with 1.1.
long GetEndTime(const VCM::CArray<TRevInfo>& atRevisions, int nRevision) {
  int nNext = nRevision + 1;
  if (nNext < atRevisions.GetCount() && IsFirstVendorRevision(atRevisions[nNext].oRevision)) ++nNext;
  return nNext < atRevisions.GetCount() ? static_cast<long>(atRevisions[nNext].oTime.GetUTC()) : NEVER;
}

/// What the revisions of one file do, in their order. The flags are the file's, not a line's: a branch
/// revision of a file that lives on the trunk is an edit.
class CChangeTypes {
 public:
  /// False when the revision is no change.
  bool Next(int nState, MCE::TChangeItemType& nType) {
    if (nState == REVISION_LIVE) {
      nType = !m_bAdded ? MCE::CHANGE_ITEM_ADD : m_bDeleted ? MCE::CHANGE_ITEM_READD : MCE::CHANGE_ITEM_EDIT;
      if (m_bAdded) m_bDeleted = false;
      m_bAdded = true;
      return true;
    }
    if (nState != REVISION_DEAD || !m_bAdded) return false;
    nType = MCE::CHANGE_ITEM_DELETE;
    m_bDeleted = true;
    return true;
  }

 private:
  bool m_bAdded = false;
  bool m_bDeleted = false;
};

/// Lets go of the log also when the host's connection ends the search by an exception.
class CLogScope {
 public:
  explicit CLogScope(CProvider& oProvider) : m_oProvider(oProvider) {}
  ~CLogScope() { m_oProvider.CleanUpLog(); }
  CLogScope(const CLogScope&) = delete;
  CLogScope& operator=(const CLogScope&) = delete;

 private:
  CProvider& m_oProvider;
};

}  // namespace

bool CProvider::SearchForStreams() {
  const CLogScope oScope(*this);
  WriteLog(L"Generating Log");
  ReadCommandProperties();
  GenerateLog();
  WriteLog(L"Generated Log");
  if (!m_poInputStream) {
    WriteLog(L"Failed to get input stream after generating log.");
    return false;
  }

  GetTagFilters();
  AddTrunkStream();
  if (!PrepareForChanges(true)) ReportLostChanges();
  WriteLog(L"Parsing Log");
  const VCM::CString strModule = GetStringProperty(L"ModuleName");
  const VCM::CString strReposDir = CutToDirectory(GetStringProperty(L"ReposPath"));
  const bool bStreamsForTags = GetBooleanProperty(L"StreamsForTags");
  const bool bNested = GetBooleanProperty(L"NestedBranches");

  CFileEnum oFiles(m_poInputStream, strModule, strReposDir);
  oFiles.SetBranchesOnly(!bStreamsForTags);
  TFileInfo tFile;
  TStreamInfo tStream;
  int nFiles = 0;
  while (oFiles.GetNextFile(tFile, m_astrIncludeTags, m_astrExcludeTags, bStreamsForTags)) {
    WriteLog(MCE::LOG_FILE, tFile.oPath.GeneratePath().c_str(), nFiles++);
    ProcessFileNames(tFile, tStream, bNested);
    AddFileChanges(tFile, tStream);
  }
  if (nFiles == 0) WriteLog(L"Failed to parse any files from rlog.");

  WriteLog(L"Finished Parsing Log");
  if (IsLogOpen()) DumpStreamChildren(0, L"");
  // At its end the stream is no longer "ok"; what tells a log that was read whole from one that broke off is
  // that the end has been seen.
  return m_poInputStream->Eof();
}

void CProvider::ProcessFileNames(const TFileInfo& tFile, TStreamInfo& tStream, bool bNested) {
  CTagNesting oNesting(tFile);
  for (int i = 0; i < tFile.atTags.GetCount(); ++i) {
    const TTagInfo& tTag = tFile.atTags[i];
    const unsigned int nProposedParent =
        bNested ? ProposeParent(tFile, oNesting.NextParent()) : MAIN_STREAM_ID;
    if (!GetStreamByName(tTag.strName, tStream)) {
      CreateStreamForTag(tStream, tFile, tTag, nProposedParent);
      continue;
    }
    const bool bMoved = MoveBelow(tStream, nProposedParent, tFile);
    if (SetStreamCreationTime(tStream, tFile, tTag) || bMoved) UpdateStream(tStream);
  }
}

unsigned int CProvider::ProposeParent(const TFileInfo& tFile, int nParentTag) const {
  if (nParentTag < 0) return MAIN_STREAM_ID;
  const int nStream = FindStreamByName(tFile.atTags[nParentTag].strName);
  return nStream < 0 ? MAIN_STREAM_ID : m_atStreams[nStream].nID;
}

void CProvider::CreateStreamForTag(TStreamInfo& tStream, const TFileInfo& tFile, const TTagInfo& tTag,
                                   unsigned int nParentID) {
  tStream.nParentID = nParentID;
  tStream.strName = tTag.strName;
  tStream.oProps.SetProperty(MCE::STREAM_IS_TAG, tTag.bIsBranch ? 0U : 1U);
  SetStreamCreationTime(tStream, tFile, tTag);
  if (GetBooleanProperty(L"CreateBranches")) AddStream(tStream);
}

// A parent is only ever moved deeper. Below the trunk any proposal is taken at once, which can build circles;
// so the walk upwards ends when it has made as many steps as there are streams.
bool CProvider::MoveBelow(TStreamInfo& tStream, unsigned int nProposedParent, const TFileInfo& tFile) {
  if (nProposedParent <= MAIN_STREAM_ID) return false;
  if (tStream.nParentID <= MAIN_STREAM_ID) {
    tStream.nParentID = nProposedParent;
    return true;
  }
  if (nProposedParent == tStream.nParentID) return false;  // nearly every file but the first
  unsigned int nAbove = nProposedParent;
  for (int nSteps = 0; nAbove > MAIN_STREAM_ID && nSteps < m_atStreams.GetCount(); ++nSteps) {
    if (nAbove > static_cast<unsigned int>(m_atStreams.GetCount())) return false;
    const TStreamInfo& tAbove = m_atStreams[static_cast<int>(nAbove) - 1];
    if (tAbove.nID == tStream.nParentID) {
      tStream.nParentID = nProposedParent;
      return true;
    }
    if (tAbove.nID == tStream.nID) {
      WriteLog(
          L"Unable to set use stream hierarchy proposed by file '%s'. This will create an infinite loop!",
          tFile.oPath.GeneratePath().c_str());
      return false;
    }
    nAbove = tAbove.nParentID;
  }
  return false;
}

void CProvider::AddFileChanges(TFileInfo& tFile, TStreamInfo& tStream) {
  const VCM::CFilePath oPath = PathInModule(tFile.oPath);
  CChangeTypes oTypes;
  int nInRecord = -1;  // the stream that `tStream` is a copy of
  for (int i = 0; i < tFile.atRevisions.GetCount(); ++i) {
    TRevInfo& tRevision = tFile.atRevisions[i];
    const int nStream = ChooseStream(tFile, tRevision.oRevision);
    if (nStream >= 0 && nStream != nInRecord) {  // most revisions are of the stream of the one before
      tStream = m_atStreams[nStream];
      nInRecord = nStream;
    }
    tStream.nID = nStream < 0 ? 0 : m_atStreams[nStream].nID;
    MCE::TChangeItemType nType{};
    if (tStream.nID == 0 || !oTypes.Next(tRevision.nState, nType)) continue;
    const bool bStored =
        AddChangeItem(tStream, tRevision.strAuthor, nType, oPath, static_cast<long>(tRevision.oTime.GetUTC()),
                      tRevision.strMessage, std::move(tRevision.oRevision), GetEndTime(tFile.atRevisions, i));
    if (!bStored) ReportLostChanges();
  }
}

/// Index of the stream that a revision belongs to, or -1.
int CProvider::ChooseStream(const TFileInfo& tFile, const MCE::TCVSRevision& oRevision) const {
  if (oRevision.GetCount() == 2) return 0;
  const int nTag = FindTagOfRevision(tFile, oRevision);
  return nTag < 0 ? -1 : FindStreamByName(tFile.atTags[nTag].strName);
}

}  // namespace TALVEK::MCV
