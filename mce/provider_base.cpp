#include "mce/provider_base.h"

#include <unistd.h>

#include <utility>

#include "core/file_system.h"
#include "core/text_codec.h"

namespace TALVEK::MCE {

namespace {

constexpr wchar_t PSZ_DATABASE_PATH[] = L"/tmp/talvek-em-%d";
constexpr wchar_t PSZ_CONNECTION[] = L"type=native;path=%s;create=1;nobinaries=1";
constexpr const wchar_t* APSZ_DATABASE_FILES[] = {L"%s.tdf", L"%s.tlf"};
constexpr unsigned TRANSACTION_TIMEOUT = 60000;
constexpr unsigned INDEX_CHANGE_ID = 0;
constexpr unsigned INDEX_CHANGE_STREAM_TIME = 1;
constexpr unsigned INDEX_ITEM = 0;

}  // namespace

CProviderBase* CProviderBase::s_poInstance = nullptr;

CProviderBase::CProviderBase(const VCM::CString& strName, const VCM::CString& strDisplayName,
                             const VCM::CString& strDescription, bool bFirstCapability,
                             bool bSecondCapability) {
  m_strName = strName;
  m_strDisplayName = strDisplayName;
  m_strDescription = strDescription;
  m_bFirstCapability = bFirstCapability;
  m_bSecondCapability = bSecondCapability;
  s_poInstance = this;
}

CProviderBase::~CProviderBase() {
  CloseIterators();
  m_poTransaction.reset();
  CloseTables();
  m_poDatabase.reset();
  if (!m_strDatabasePath.IsEmpty()) {
    for (const wchar_t* pszFile : APSZ_DATABASE_FILES) {
      VCM::CString strFile;
      strFile.Format(pszFile, m_strDatabasePath.c_str());
      VCM::RemoveFile(strFile);
    }
  }
}

void CProviderBase::Destroy() {
  // `this` may be null: a host may call Destroy without a provider. The volatile copy keeps the compiler from
  // removing the test.
  CProviderBase* volatile poProvider = this;
  if (poProvider) delete poProvider;
}

int CProviderBase::CheckEnvironment(VCM::CString& /*strMessage*/) {
  return 0;
}

void CProviderBase::SetProperty(const VCM::CString& strKey, const VCM::CString& strValue) {
  m_oProperties.SetAt(strKey, strValue);
}

VCM::CString CProviderBase::GetStringProperty(const VCM::CString& strKey) const {
  const int nIndex = m_oProperties.Search(strKey, false);
  return nIndex < 0 ? VCM::CString() : m_oProperties.GetValueAt(nIndex);
}

bool CProviderBase::GetBooleanProperty(const VCM::CString& strKey) const {
  return static_cast<std::uint32_t>(VCM::ParseNumber(GetStringProperty(strKey))) != 0;
}

bool CProviderBase::CreateDatabase() {
  m_strDatabasePath.Format(PSZ_DATABASE_PATH, static_cast<int>(getpid()));
  VCM::CString strConnection;
  strConnection.Format(PSZ_CONNECTION, m_strDatabasePath.c_str());
  VCM::CString strError;
  m_poDatabase = VDB::CDatabaseFactory::Create(strConnection, &strError);
  if (!m_poDatabase) NoteFailure(VCM::CStatus::Failed(strError));
  return m_poDatabase != nullptr;
}

bool CProviderBase::PrepareForChanges(bool bReset) {
  const bool bHasDatabase = m_poDatabase || CreateDatabase();
  if (bReset) {
    CloseIterators();
    CloseTables();
    m_poTransaction.reset();
    m_bReloadsGrouping = true;
  }
  if (m_poTransaction) NoteFailure(m_oGrouping.WriteAltered(Rows()));
  if (!bHasDatabase || m_poTransaction) return bHasDatabase;

  m_poTransaction = std::make_unique<VDB::CTransaction>(*m_poDatabase, TRANSACTION_TIMEOUT);
  if (!m_oChangeTable.IsOpen()) {
    NoteFailure(m_oChangeTable.Open(*m_poDatabase, nullptr, *m_poTransaction, false));
    NoteFailure(m_oChangeItemTable.Open(*m_poDatabase, nullptr, *m_poTransaction, false));
  }
  OpenIterators();
  return true;
}

void CProviderBase::OpenIterators() {
  m_poChangeIterator = std::make_unique<VDB::CIterator<TChangeRecord>>(
      m_oChangeTable, INDEX_CHANGE_STREAM_TIME, *m_poTransaction);
  m_poChangeItemIterator =
      std::make_unique<VDB::CIterator<TChangeItemRecord>>(m_oChangeItemTable, INDEX_ITEM, *m_poTransaction);
  m_poChangeByIdIterator =
      std::make_unique<VDB::CIterator<TChangeRecord>>(m_oChangeTable, INDEX_CHANGE_ID, *m_poTransaction);
  if (std::exchange(m_bReloadsGrouping, false)) NoteFailure(m_oGrouping.Load(Rows()));
}

void CProviderBase::CommitChanges() {
  if (!m_poTransaction) return;
  NoteFailure(m_oGrouping.WriteAltered(Rows()));
  CloseIterators();
  m_bReloadsGrouping = !NoteFailure(m_poTransaction->Commit(false));
  m_poTransaction.reset();
}

void CProviderBase::ReportLostChanges() {
  if (m_bChangesLost) return;
  m_bChangesLost = true;
  WriteLog(L"Failed to keep the changes in the import database: %s", m_oFailure.GetReason().c_str());
}

VCM::CStatus CProviderBase::NoteFailure(VCM::CStatus oStatus) {
  if (oStatus.HasFailed() && !m_oFailure.HasFailed()) m_oFailure = oStatus;
  return oStatus;
}

bool CProviderBase::UpdateChangeItemCount(unsigned int nChangeID, unsigned int nCount) {
  if (!m_poTransaction) return false;
  return NoteFailure(m_oGrouping.SetNextItem(Rows(), nChangeID, nCount));
}

void CProviderBase::CloseIterators() {
  m_poChangeIterator.reset();
  m_poChangeItemIterator.reset();
  m_poChangeByIdIterator.reset();
}

void CProviderBase::CloseTables() {
  m_oChangeTable.Close();
  m_oChangeItemTable.Close();
}

}  // namespace TALVEK::MCE
