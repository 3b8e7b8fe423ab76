#include "host/git_import.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/git_names.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

constexpr const wchar_t* TRUNK_NAME = L"Main";

bool IsTag(const TStream& tStream) {
  return tStream.tInfo.oProps.GetNumber(MCE::STREAM_IS_TAG, 0) == 1;
}

std::string Quoted(const VCM::CString& strText) {
  return "'" + ShowText(strText) + "'";
}

// Exactly `nSize` bytes: so many have been announced.
void CopyBytes(int nDescriptor, std::uint64_t nSize, CFastImportStream& oStream) {
  char achBuffer[64 * 1024];
  while (nSize > 0) {
    const std::size_t nWanted = std::min<std::uint64_t>(nSize, sizeof achBuffer);
    const ssize_t nRead = read(nDescriptor, achBuffer, nWanted);
    if (nRead < 0 && errno == EINTR) continue;
    if (nRead <= 0) {
      const std::string strReason = nRead < 0 ? std::strerror(errno) : "it became shorter";
      throw EHostError(STATUS_FAILED, "can't read a retrieved file: " + strReason,
                       "see that nothing else uses the work folder");
    }
    oStream.BlobBytes({achBuffer, static_cast<std::size_t>(nRead)});
    nSize -= static_cast<std::uint64_t>(nRead);
  }
}

// The root called "Main"; without one the first root.
const TStream* FindTrunk(const std::vector<TStream>& atStreams) {
  const TStream* poTrunk = nullptr;
  for (const TStream& tStream : atStreams) {
    if (tStream.tInfo.nParentID != 0) continue;
    if (tStream.tInfo.strName == TRUNK_NAME) return &tStream;
    if (!poTrunk) poTrunk = &tStream;
  }
  return poTrunk;
}

}  // namespace

CGitImport::CGitImport(const TParts& tParts, const std::vector<TStream>& atStreams,
                       const std::string& strTrunkBranch)
    : m_tParts(tParts) {
  for (const TStream& tStream : atStreams)
    m_anBaseChanges.insert(tStream.tInfo.nBaseChangeID);
  NameTrunk(atStreams, strTrunkBranch);
}

// Before all others, so that no branch takes the name.
void CGitImport::NameTrunk(const std::vector<TStream>& atStreams, const std::string& strTrunkBranch) {
  const std::string strRef = "refs/heads/" + m_oBranches.Assign(strTrunkBranch);
  if (const TStream* poTrunk = FindTrunk(atStreams)) m_astrBranchRefs[poTrunk->tInfo.nID] = strRef;
}

VCM::CString CGitImport::BeginStream(const TStream& tStream) {
  m_poStream = &tStream;
  m_oFolder = m_tParts.oWork.MakeStreamFolder(tStream.tInfo.nID, VCM::ToBytes(tStream.tInfo.strName));
  m_bPiecemeal = false;
  m_bHasCommits = false;
  m_nParent.reset();
  m_oTree = CLiveTree();
  m_nDepth = 0;
  if (const TBase* ptBase = FindBase(tStream)) {
    m_nParent = ptBase->nCommit;
    m_oTree = ptBase->oTree;
    m_nDepth = ptBase->nDepth;
  }
  ReportBase(tStream);
  return VCM::FromBytes(m_oFolder.string());
}

const CGitImport::TBase* CGitImport::FindBase(const TStream& tStream) const {
  if (tStream.bUnreached || tStream.tInfo.nBaseChangeID == 0) return nullptr;
  const auto oFound = m_aBases.find(tStream.tInfo.nBaseChangeID);
  return oFound == m_aBases.end() ? nullptr : &oFound->second;
}

void CGitImport::ReportBase(const TStream& tStream) {
  const std::string strName = Quoted(tStream.tInfo.strName);
  if (tStream.bUnreached) {
    m_tParts.oReport.Changed("stream " + strName + " is a root: its parents stand in a circle");
  } else if (tStream.tInfo.nBaseChangeID != 0 && !m_nParent) {
    m_tParts.oReport.Changed("stream " + strName +
                             " is a root: the changeset from which it starts comes later");
  }
}

void CGitImport::BeginChange(MCE::CProvider::TChangeInfo& tChange) {
  m_nChangeTime = tChange.nTime;
  m_atItems.clear();
  m_anItemByPath.clear();
  RetrieveChange(tChange);
}

// A provider may fetch a changeset's files one by one as its items go by, or all at once before. What is
// fetched all at once needs a folder that has nothing in it but what came in that way: a client passes over
// the folders that it didn't make itself, and all that belongs into them. Emptying it only then lets the
// client bring one large changeset up to the next without fetching everything again.
void CGitImport::RetrieveChange(MCE::CProvider::TChangeInfo& tChange) {
  const std::vector<std::string> astrPaths = m_tParts.oSpool.ReadChange();
  if (m_bPiecemeal) CWorkFolder::EmptyFolder(m_oFolder);
  for (const std::string& strPath : astrPaths)
    CWorkFolder::ClearPath(m_oFolder, strPath);
  m_tParts.oWatch.ForgetClientWords();
  m_bChangeFailed = m_tParts.oProvider.OnProcessChange(tChange) != MCE::RESULT_OK;
  m_bPiecemeal = std::none_of(astrPaths.begin(), astrPaths.end(), [this](const std::string& strPath) {
    return CWorkFolder::HasPath(m_oFolder, strPath);
  });
  m_strChangeWords = m_tParts.oWatch.GetClientWords();
  RequireRoom();
  m_tParts.oWatch.ForgetClientWords();
}

// A client that complains has perhaps left only a part of a file.
void CGitImport::RequireRoom() const {
  if (!m_tParts.oWatch.GetClientWords().IsEmpty()) m_tParts.oWork.RequireRoom();
}

void CGitImport::Item(const MCE::CProvider::TChangeItemInfo& tItem, std::uint32_t, bool bFailed) {
  ++m_nItems;
  RequireRoom();
  TakeItem(VCM::ToBytes(PathText(tItem.oFilePath)), tItem, bFailed);
  m_tParts.oWatch.ForgetClientWords();
  // A client may have pruned it, because we take the files away; the provider makes folders only below it.
  std::error_code oIgnored;
  std::filesystem::create_directories(m_oFolder, oIgnored);
}

void CGitImport::TakeItem(const std::string& strPath, const MCE::CProvider::TChangeItemInfo& tItem,
                          bool bFailed) {
  const bool bRemove = tItem.nType == MCE::CHANGE_ITEM_DELETE;
  const std::string strShown = Quoted(PathText(tItem.oFilePath));
  if (strPath.empty()) {
    if (!bRemove) Lose(strShown, "it has no path");
    return;
  }
  TItemChange tChange;
  tChange.strShown = strShown;
  tChange.tFile.strPath = GitPath(strPath);
  tChange.eNameKind = tChange.tFile.strPath == strPath ? CLiveTree::OWN_NAME : CLiveTree::CHANGED_NAME;
  if (bRemove) {
    tChange.tFile.eKind = CFastImportStream::TFileChange::REMOVE;
  } else if (m_bChangeFailed || bFailed) {
    Lose(strShown, "the provider can't retrieve it" + ClientWords());
    return;
  } else if (!WriteBlob(strPath, tChange.tFile)) {
    return;
  }
  CWorkFolder::RemoveFile(m_oFolder, strPath);
  AddItemChange(std::move(tChange), strPath);
}

bool CGitImport::WriteBlob(const std::string& strPath, CFastImportStream::TFileChange& tFile) {
  const TRetrievedFile tRetrieved = CWorkFolder::OpenFile(m_oFolder, strPath);
  if (!tRetrieved.oDescriptor.IsOpen()) {
    Lose("'" + ShowBytes(strPath) + "'", tRetrieved.strProblem + ClientWords());
    return false;
  }
  tFile.eKind = tRetrieved.bExecutable ? CFastImportStream::TFileChange::MODIFY_EXECUTABLE
                                       : CFastImportStream::TFileChange::MODIFY;
  tFile.nBlob = m_tParts.oStream.BeginBlob(tRetrieved.nSize);
  CopyBytes(tRetrieved.oDescriptor.Get(), tRetrieved.nSize, m_tParts.oStream);
  m_tParts.oStream.EndBlob();
  return true;
}

void CGitImport::AddItemChange(TItemChange tItem, const std::string& strPath) {
  if (tItem.eNameKind == CLiveTree::CHANGED_NAME && m_astrChangedPaths.insert(strPath).second) {
    m_tParts.oReport.Changed("file " + tItem.strShown + " is called '" + ShowBytes(tItem.tFile.strPath) +
                             "': Git refuses its name");
  }
  const auto [oPlace, bNew] = m_anItemByPath.try_emplace(strPath, m_atItems.size());
  if (!bNew) m_atItems[std::exchange(oPlace->second, m_atItems.size())].bSuperseded = true;
  m_atItems.push_back(std::move(tItem));
}

void CGitImport::EndChange(const MCE::CProvider::TChangeInfo& tChange) {
  CFastImportStream::TCommit tCommit;
  tCommit.strRef = BranchRef(*m_poStream);
  tCommit.strIdentity = Identity(tChange.strUser);
  tCommit.nTime = tChange.nTime;
  tCommit.strMessage = VCM::ToBytes(tChange.strComment);
  if (!m_bHasCommits) tCommit.nParent = m_nParent;
  ApplyItems(tCommit.atChanges);
  const TMark nCommit = m_tParts.oStream.Commit(tCommit);
  m_bHasCommits = true;
  m_anDepths[tCommit.strRef] = ++m_nDepth;
  if (m_anBaseChanges.contains(tChange.nID)) m_aBases[tChange.nID] = {nCommit, m_oTree, m_nDepth};
}

void CGitImport::ApplyItems(std::vector<CFastImportStream::TFileChange>& atChanges) {
  for (const TItemChange& tItem : m_atItems) {
    const bool bRemove = tItem.tFile.eKind == CFastImportStream::TFileChange::REMOVE && !tItem.bSuperseded;
    if (bRemove && m_oTree.Remove(tItem.tFile.strPath, tItem.eNameKind)) atChanges.push_back(tItem.tFile);
  }
  for (const TItemChange& tItem : m_atItems) {
    if (tItem.tFile.eKind == CFastImportStream::TFileChange::REMOVE || tItem.bSuperseded) continue;
    if (m_oTree.CanPut(tItem.tFile.strPath, tItem.eNameKind)) {
      m_oTree.Put(tItem.tFile.strPath, tItem.eNameKind);
      atChanges.push_back(tItem.tFile);
    } else {
      Lose(tItem.strShown, "something else has its name, or that of one of its folders, in Git at that time");
    }
  }
}

void CGitImport::EndStream(const TStream& tStream) {
  if (!m_bHasCommits) EndEmptyStream(tStream);
}

// It is where it starts, and nothing more.
void CGitImport::EndEmptyStream(const TStream& tStream) {
  if (!m_nParent) {
    m_tParts.oReport.Warning("stream " + Quoted(tStream.tInfo.strName) +
                             " has no changesets and starts nowhere, so there is nothing of it in Git");
    return;
  }
  const std::string strRef =
      IsTag(tStream) ? AssignRef(m_oTags, "refs/tags/", tStream.tInfo.strName) : BranchRef(tStream);
  m_tParts.oStream.Reference(strRef, *m_nParent);
  m_bHasCommits = true;
}

const std::string& CGitImport::BranchRef(const TStream& tStream) {
  std::string& strRef = m_astrBranchRefs[tStream.tInfo.nID];
  if (strRef.empty()) strRef = AssignRef(m_oBranches, "refs/heads/", tStream.tInfo.strName);
  return strRef;
}

std::string CGitImport::AssignRef(CRefNames& oNames, const std::string& strFolder,
                                  const VCM::CString& strName) {
  const std::string strBytes = VCM::ToBytes(strName);
  const std::string strAssigned = oNames.Assign(strBytes);
  if (strAssigned != strBytes) {
    m_tParts.oReport.Changed("stream " + Quoted(strName) + " is called '" + strAssigned +
                             "': Git refuses its name, or another stream has it");
  }
  return strFolder + strAssigned;
}

std::string CGitImport::Identity(const VCM::CString& strUser) {
  const std::string strBytes = VCM::ToBytes(strUser);
  const std::string strIdentity = GitIdentity(strBytes);
  if (strIdentity != strBytes && m_astrChangedUsers.insert(strUser).second) {
    m_tParts.oReport.Changed("user " + Quoted(strUser) + " is called '" + ShowBytes(strIdentity) +
                             "': Git refuses the name");
  }
  return strIdentity;
}

void CGitImport::Lose(const std::string& strShownPath, const std::string& strReason) {
  m_tParts.oWork.RequireRoom();
  m_tParts.oReport.Loss("stream " + Quoted(m_poStream->tInfo.strName) + ", file " + strShownPath + ", " +
                        ShowTime(m_nChangeTime) + ": " + strReason);
}

std::string CGitImport::ClientWords() const {
  const VCM::CString& strItemWords = m_tParts.oWatch.GetClientWords();
  const VCM::CString& strWords = strItemWords.IsEmpty() ? m_strChangeWords : strItemWords;
  return strWords.IsEmpty() ? "" : ": " + ShowText(strWords);
}

}  // namespace TALVEK::HOST
