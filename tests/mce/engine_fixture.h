#pragma once

#include <string>
#include <vector>

#include "core/text_codec.h"
#include "mce/provider_base.h"

namespace TALVEK::TEST {

/// A provider without a foreign system. The test sets the streams that a search finds and the results of
/// retrieving; the provider counts its calls.
class CEngine : public MCE::CProviderBase {
 public:
  CEngine() : CProviderBase(L"test", L"Test", L"Streams of a test", false, true) {}
  int ResolveStreamLinkage() override { return 0; }
  const MCE::TPropertyInfo* GetPropertyInfo() override { return nullptr; }
  bool InitialiseClients(const VCM::CString&) override { return true; }
  bool RemoveClients() override { return true; }
  int RetrieveChangeFiles(const MCE::TChangeRecord& tChange) override {
    m_anChangesRetrieved.push_back(tChange.nID);
    return m_nRetrieveChangeResult;
  }
  int RetrieveChangeItemFile(const MCE::TChangeItemRecord&, const VCM::CString& strTarget) override {
    m_astrTargets.push_back(VCM::ToUtf8(strTarget));
    return m_nRetrieveItemResult;
  }
  bool SearchForStreams() override {
    ++m_nSearches;
    if (m_bSearchSucceeds) {
      for (const TStreamInfo& tStream : m_atFound)
        m_oStreams.Add(tStream);
    }
    return m_bSearchSucceeds;
  }
  bool EnumerateChanges() override {
    ++m_nEnumerations;
    return m_bEnumerationSucceeds;
  }

  /// One item to be grouped, texts in UTF-8. Call At last: it adds the item.
  class CItem {
   public:
    CItem(CEngine& oEngine, const char* pszPath) : m_oEngine(oEngine), m_strPath(pszPath) {}
    CItem& In(unsigned nStream) { return Set(m_nStream, nStream); }
    CItem& By(const char* pszUser) { return Set(m_strUser, pszUser); }
    CItem& Saying(const char* pszComment) { return Set(m_strComment, pszComment); }
    CItem& Until(long nEndTime) { return Set(m_nEndTime, nEndTime); }
    CItem& Ranked(int nRevision) { return Set(m_nRevision, nRevision); }
    CItem& Numbered(const char* pszRevision) { return Set(m_strNumber, pszRevision); }
    CItem& IgnoringComments() { return Set(m_bMatchComment, false); }
    bool At(long nTime) {
      TStreamInfo tStream;
      tStream.nID = m_nStream;
      VCM::CFilePath oPath;
      oPath.Parse(VCM::DecodeStored(m_strPath));
      return m_oEngine.AddChangeItem(tStream, VCM::DecodeStored(m_strUser), MCE::CHANGE_ITEM_EDIT, oPath,
                                     nTime, VCM::DecodeStored(m_strComment), m_nRevision,
                                     MCE::TCVSRevision(VCM::DecodeStored(m_strNumber)), m_bMatchComment,
                                     m_nEndTime);
    }

   private:
    template <class TMember, class TValue>
    CItem& Set(TMember& member, const TValue& value) {
      member = value;
      return *this;
    }

    CEngine& m_oEngine;
    std::string m_strPath;
    unsigned m_nStream = 1;
    std::string m_strUser = "joe";
    std::string m_strComment = "work";
    std::string m_strNumber = "1.1";
    long m_nEndTime = -1;
    int m_nRevision = 0;
    bool m_bMatchComment = true;
  };

  CItem Add(const char* pszPath) { return {*this, pszPath}; }

  /// Every change of a stream in walk order, a line each: "TIME USER: PATH PATH\n".
  std::string Changes(unsigned nStream = 1) {
    std::string strText;
    VisitChanges(nStream, [&](const MCE::TChangeRecord& tChange) {
      strText += std::to_string(tChange.nTime) + " " + VCM::ToUtf8(tChange.strUser) + ":";
      for (const std::string& strPath : Paths(tChange.nID))
        strText += " " + strPath;
      strText += "\n";
    });
    return strText;
  }

  std::string Comments(unsigned nStream = 1) {
    std::string strText;
    VisitChanges(nStream, [&](const MCE::TChangeRecord& tChange) {
      strText += "[" + VCM::ToUtf8(tChange.strComment) + "]";
    });
    return strText;
  }

  std::vector<std::string> Paths(std::uint32_t nChange) {
    std::vector<std::string> astrPaths;
    MCE::TChangeItemRecord tItem;
    tItem.nID = nChange;
    for (bool bFound = m_poChangeItemIterator->GetGTE(tItem); bFound && tItem.nID == nChange;
         bFound = m_poChangeItemIterator->GetNext(tItem)) {
      astrPaths.push_back(VCM::ToUtf8(tItem.oFilePath.GeneratePath()));
    }
    return astrPaths;
  }

  template <class TVisitor>
  void VisitChanges(unsigned nStream, TVisitor oVisit) {
    PrepareForChanges(false);
    std::vector<MCE::TChangeRecord> atChanges;
    MCE::TChangeRecord tChange;
    tChange.nStreamID = nStream;
    for (bool bFound = m_poChangeIterator->GetGTE(tChange); bFound && tChange.nStreamID == nStream;
         bFound = m_poChangeIterator->GetNext(tChange)) {
      atChanges.push_back(tChange);
    }
    for (const MCE::TChangeRecord& tFound : atChanges)
      oVisit(tFound);
  }

  // Made public for the tests.
  using CProviderBase::m_bChangesetsEstablished;
  using CProviderBase::m_bFirstCapability;
  using CProviderBase::m_bSecondCapability;
  using CProviderBase::m_bStreamsEstablished;
  using CProviderBase::m_nChangesAdded;
  using CProviderBase::m_oChangeItemTable;
  using CProviderBase::m_oChangeTable;
  using CProviderBase::m_oGrouping;
  using CProviderBase::m_oProperties;
  using CProviderBase::m_oReposView;
  using CProviderBase::m_oStreams;
  using CProviderBase::m_oWorkFolder;
  using CProviderBase::m_poChangeItemIterator;
  using CProviderBase::m_poChangeIterator;
  using CProviderBase::m_poDatabase;
  using CProviderBase::m_poTransaction;
  using CProviderBase::m_strDatabasePath;
  using CProviderBase::m_strDescription;
  using CProviderBase::m_strDisplayName;
  using CProviderBase::m_strName;
  using CProviderBase::m_tChange;
  using CProviderBase::m_tChangeItem;
  using CProviderBase::m_tCurrentStream;

  std::vector<TStreamInfo> m_atFound;
  bool m_bSearchSucceeds = true;
  bool m_bEnumerationSucceeds = true;
  int m_nSearches = 0;
  int m_nEnumerations = 0;
  int m_nRetrieveChangeResult = 0;
  int m_nRetrieveItemResult = 0;
  std::vector<std::uint32_t> m_anChangesRetrieved;
  std::vector<std::string> m_astrTargets;
};

/// A stream record.
inline MCE::CProvider::TStreamInfo Stream(unsigned nID, unsigned nParentID, const wchar_t* pszName) {
  return {nID, nParentID, VCM::CFilePath(), VCM::CFilePath(), pszName};
}

}  // namespace TALVEK::TEST
