#include "host/change_files.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "core/text_codec.h"
#include "host/exit_status.h"
#include "host/git_names.h"
#include "host/stop_signal.h"
#include "host/text_output.h"

namespace TALVEK::HOST {
namespace {

// Copies exactly `nSize` bytes, as announced in the stream before.
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

std::vector<CItemPath> ParsePaths(const std::vector<std::string>& astrPaths) {
  std::vector<CItemPath> aoPaths;
  for (const std::string& strPath : astrPaths) {
    if (std::optional<CItemPath> oPath = CItemPath::Parse(strPath)) aoPaths.push_back(std::move(*oPath));
  }
  return aoPaths;
}

}  // namespace

void CFirstLosses::Lose(const std::string& strText) {
  if (m_bRetrieved || m_nMost == 0) return;
  if (m_nLost++ == 0) m_strFirst = strText;
  if (m_nLost < m_nMost) return;
  throw EHostError(STATUS_FAILED,
                   m_nMost == 1 ? "the first file is lost: " + m_strFirst
                                : "the first " + std::to_string(m_nMost) +
                                      " files are all lost; the first one was: " + m_strFirst,
                   "correct what causes this, or go on in spite of it with --max-losses 0");
}

const CStreamFolder& CChangeFiles::BeginStream(const MCE::CProvider::TStreamInfo& tStream) {
  m_strStream = tStream.strName;
  m_oFolder = m_tParts.oWork.MakeStreamFolder(tStream.nID, VCM::ToBytes(tStream.strName));
  m_bPiecemeal = false;
  return m_oFolder;
}

// A provider may fetch a changeset's files all at once (now, in OnProcessChange) or one by one (in the item
// walk). For the first it needs a folder with nothing but its own checkouts of that kind, because a client
// skips folders that it didn't make itself. So the folder is emptied if single files have been fetched into
// it. After another checkout of the whole it is kept, and the client fetches only what is different.
void CChangeFiles::Retrieve(MCE::CProvider::TChangeInfo& tChange) {
  m_nChangeTime = tChange.nTime;
  m_atItems.clear();
  m_anItemByPath.clear();
  const std::vector<CItemPath> aoPaths = ParsePaths(m_tParts.oSpool.ReadChange());
  if (m_bPiecemeal) m_oFolder.Empty();
  for (const CItemPath& oPath : aoPaths)
    m_oFolder.Clear(oPath);
  m_tParts.oWatch.ForgetClientWords();
  m_bChangeFailed = m_tParts.oProvider.OnProcessChange(tChange) != MCE::RESULT_OK;
  m_bPiecemeal = std::none_of(aoPaths.begin(), aoPaths.end(),
                              [this](const CItemPath& oPath) { return m_oFolder.Has(oPath); });
  m_strChangeWords = m_tParts.oWatch.GetClientWords();
  RequireRoom();
  m_tParts.oWatch.ForgetClientWords();
}

// If the client printed an error, the disk may be full and a file incomplete.
void CChangeFiles::RequireRoom() const {
  if (!m_tParts.oWatch.GetClientWords().IsEmpty()) m_tParts.oWork.RequireRoom();
}

void CChangeFiles::Take(const MCE::CProvider::TChangeItemInfo& tItem, bool bFailed) {
  ++m_nItems;
  RequireRoom();
  TakeItem(VCM::ToBytes(PathText(tItem.oFilePath)), tItem, bFailed);
  m_tParts.oWatch.ForgetClientWords();
  // The client may have removed the folder, as we take the files out of it. The provider needs it.
  m_oFolder.Make();
}

void CChangeFiles::TakeItem(const std::string& strPath, const MCE::CProvider::TChangeItemInfo& tItem,
                            bool bFailed) {
  const bool bRemove = tItem.nType == MCE::CHANGE_ITEM_DELETE;
  TItemChange tChange;
  tChange.strShown = ShowQuoted(PathText(tItem.oFilePath));
  if (strPath.empty()) {
    if (!bRemove) LoseFile(tChange.strShown, "it has no path");
    return;
  }
  const std::optional<CItemPath> oPath = CItemPath::Parse(strPath);
  tChange.tFile.strPath = GitPath(strPath);
  tChange.eNameKind = tChange.tFile.strPath == strPath ? CLiveTree::OWN_NAME : CLiveTree::CHANGED_NAME;
  if (bRemove) {
    tChange.tFile.eKind = CFastImportStream::TFileChange::REMOVE;
  } else {
    const std::string strProblem = m_bChangeFailed || bFailed ? "the provider can't retrieve it"
                                   : !oPath                   ? "its path leads to no file"
                                                              : WriteBlob(*oPath, tChange.tFile);
    if (!strProblem.empty()) {
      LoseFile(tChange.strShown, strProblem + ClientWords());
      return;
    }
    m_oFirst.Retrieve();
  }
  if (oPath) m_oFolder.RemoveFile(*oPath);
  Add(std::move(tChange), strPath);
}

std::string CChangeFiles::WriteBlob(const CItemPath& oPath, CFastImportStream::TFileChange& tFile) {
  const TRetrievedFile tRetrieved = m_oFolder.Open(oPath);
  if (!tRetrieved.oDescriptor.IsOpen()) return tRetrieved.strProblem;
  tFile.eKind = tRetrieved.bExecutable ? CFastImportStream::TFileChange::MODIFY_EXECUTABLE
                                       : CFastImportStream::TFileChange::MODIFY;
  tFile.nBlob = m_tParts.oStream.BeginBlob(tRetrieved.nSize);
  CopyBytes(tRetrieved.oDescriptor.Get(), tRetrieved.nSize, m_tParts.oStream);
  m_tParts.oStream.EndBlob();
  return "";
}

void CChangeFiles::Add(TItemChange tItem, const std::string& strPath) {
  if (tItem.eNameKind == CLiveTree::CHANGED_NAME && m_astrChangedPaths.insert(strPath).second) {
    m_tParts.oReport.Changed("file " + tItem.strShown + " is called '" + ShowBytes(tItem.tFile.strPath) +
                             "': Git refuses its name");
  }
  const auto [oPlace, bNew] = m_anItemByPath.try_emplace(strPath, m_atItems.size());
  if (!bNew) m_atItems[std::exchange(oPlace->second, m_atItems.size())].bSuperseded = true;
  m_atItems.push_back(std::move(tItem));
}

std::vector<CFastImportStream::TFileChange> CChangeFiles::Apply(CLiveTree& oTree) {
  std::vector<CFastImportStream::TFileChange> atChanges;
  for (const TItemChange& tItem : m_atItems) {
    if (tItem.tFile.eKind != CFastImportStream::TFileChange::REMOVE || tItem.bSuperseded) continue;
    oTree.Remove(tItem.tFile.strPath, tItem.eNameKind, atChanges);
  }
  for (const TItemChange& tItem : m_atItems) {
    if (tItem.tFile.eKind == CFastImportStream::TFileChange::REMOVE || tItem.bSuperseded) continue;
    if (!oTree.CanPut(tItem.tFile.strPath, tItem.eNameKind)) {
      Lose(tItem.strShown, "something else has its name in Git at that time");
    } else if (oTree.Put(tItem.tFile, tItem.eNameKind, atChanges)) {
      m_tParts.oReport.Changed("stream " + ShowQuoted(m_strStream) + ", file " + tItem.strShown + ", " +
                               ShowTime(m_nChangeTime) +
                               ": a file and a folder have one name; Git has the one that changed last");
    }
  }
  // Of a file and a folder that one changeset sets both, one is in no commit.
  for (const TItemChange& tItem : m_atItems) {
    const bool bPut = tItem.tFile.eKind != CFastImportStream::TFileChange::REMOVE && !tItem.bSuperseded;
    if (bPut && oTree.CanPut(tItem.tFile.strPath, tItem.eNameKind) && !oTree.IsSeen(tItem.tFile.strPath))
      Lose(tItem.strShown, "the same changeset has a folder of its name, or a file of its folder's name");
  }
  return atChanges;
}

void CChangeFiles::LoseFile(const std::string& strShownPath, const std::string& strReason) {
  m_oFirst.Lose(Lose(strShownPath, strReason));
}

std::string CChangeFiles::Lose(const std::string& strShownPath, const std::string& strReason) {
  // No loss if the file is missing because the stop signal ended the client.
  ThrowIfStopped();
  m_tParts.oWork.RequireRoom();
  std::string strText = "stream " + ShowQuoted(m_strStream) + ", file " + strShownPath + ", " +
                        ShowTime(m_nChangeTime) + ": " + strReason;
  m_tParts.oReport.Loss(strText);
  return strText;
}

std::string CChangeFiles::ClientWords() const {
  const VCM::CString& strItemWords = m_tParts.oWatch.GetClientWords();
  const VCM::CString& strWords = strItemWords.IsEmpty() ? m_strChangeWords : strItemWords;
  return strWords.IsEmpty() ? "" : ": " + ShowText(strWords);
}

}  // namespace TALVEK::HOST
