#include "core/database.h"

#include <unistd.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "core/database_files.h"
#include "core/database_schema.h"
#include "core/database_store.h"
#include "core/database_table.h"
#include "core/database_transaction.h"
#include "core/text_codec.h"

namespace TALVEK::VDB {

using VCM::CStatus;
using VCM::CString;

// Defined here, so that each class has one vtable, in the core library.
TRecordBase::~TRecordBase() = default;
CProgressHelper::~CProgressHelper() = default;
CCommitFunctor::~CCommitFunctor() = default;
CDatabase::~CDatabase() = default;

namespace {

/// What a connection string says.
struct TConnection {
  bool bNative = false;
  bool bCreate = false;
  CString strPath;

  bool Set(std::wstring_view strName, std::wstring_view strValue) {
    const bool bSwitch = strValue == L"0" || strValue == L"1";
    if (strName == L"type") return bNative = strValue == L"native";
    if (strName == L"path") return strPath.Assign(strValue), !strValue.empty();
    if (strName == L"create") return bCreate = strValue == L"1", bSwitch;
    // Whether large values stay out of separate files. They always do here.
    return strName == L"nobinaries" && bSwitch;
  }
  bool Parse(std::wstring_view strText) {
    while (!strText.empty()) {
      const std::wstring_view strPart = strText.substr(0, strText.find(L';'));
      strText.remove_prefix(std::min(strText.size(), strPart.size() + 1));
      const std::size_t nEquals = strPart.find(L'=');
      if (nEquals == std::wstring_view::npos) return false;
      if (!Set(strPart.substr(0, nEquals), strPart.substr(nEquals + 1))) return false;
    }
    return bNative && !strPath.IsEmpty();
  }
};

std::unique_ptr<CDatabase> Open(const CString& strConnection, CString& strError) {
  TConnection tConnection;
  std::string strPath;
  if (!tConnection.Parse(strConnection.View()) || !VCM::ToSystemPath(tConnection.strPath, strPath)) {
    strError = L"unknown connection string: " + strConnection;
    return nullptr;
  }
  auto poFiles = CDatabaseFiles::Open(strPath, tConnection.bCreate, geteuid(), strError);
  if (!poFiles) return nullptr;
  return CDatabaseStore::Open(std::move(poFiles), CDatabaseStore::MAX_BYTES, strError);
}

}  // namespace

std::unique_ptr<CDatabase> CDatabaseFactory::Create(const CString& strConnection, CString* pstrError) {
  CString strError;
  std::unique_ptr<CDatabase> poDatabase = Open(strConnection, strError);
  if (pstrError) *pstrError = strError;
  return poDatabase;
}

CTransaction::CTransaction(CDatabase& oDatabase, unsigned)
    : m_poImpl(std::make_unique<CImpl>(dynamic_cast<CDatabaseStore*>(&oDatabase))) {
  m_poImpl->Begin();
}

CTransaction::~CTransaction() = default;

bool CTransaction::IsOpen() const {
  return m_poImpl->IsOpen();
}

CStatus CTransaction::Commit(bool bKeepOpen, CProgressHelper* poProgress, CCommitFunctor* poFunctor) {
  if (!IsOpen()) return m_poImpl->GetState();
  // LMDB commits in one call, without progress reports.
  if (poProgress) poProgress->OnProgress(0, 1);
  if (CStatus oStatus = m_poImpl->Commit(); !oStatus) return oStatus;
  if (poProgress) poProgress->OnProgress(1, 1);
  if (poFunctor) poFunctor->OnCommitted();
  if (bKeepOpen) m_poImpl->Begin();
  return {};
}

CTable::CTable() = default;
CTable::~CTable() = default;

CStatus CTable::Open(CDatabase& oDatabase, const wchar_t* pszName, CTransaction& oTransaction,
                     bool bReadOnly) {
  Close();
  CTransaction::CImpl& oOpen = *oTransaction.GetImpl();
  auto* poStore = dynamic_cast<CDatabaseStore*>(&oDatabase);
  if (!poStore) return CStatus::Failed(L"a database of another kind");
  if (oOpen.GetStore() != poStore || !oOpen.GetState()) {
    return poStore->Fail(L"can't open a table", L"no transaction");
  }
  if (!pszName && GetFileDef()) pszName = GetFileDef()->pszName;
  CString strError;
  std::shared_ptr<const CSchema> poSchema =
      CSchema::Make(GetFileDef(), GetFieldDefs(), GetIndexDefs(), strError);
  if (!poSchema) return poStore->Fail(CString(L"can't open table ") + pszName, strError);
  std::string strName;
  VCM::EncodeStored(pszName, strName);
  TOpenTable* ptTable = nullptr;
  if (CStatus oStatus = oOpen.OpenTable(strName, poSchema, !bReadOnly, ptTable); !oStatus) return oStatus;
  m_poImpl.reset(new CImpl{std::move(poSchema), poStore, std::move(strName), bReadOnly});
  return {};
}

void CTable::Close() {
  m_poImpl.reset();
}

}  // namespace TALVEK::VDB
