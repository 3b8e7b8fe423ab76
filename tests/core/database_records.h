#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>

#include "core/database.h"
#include "core/path.h"
#include "core/properties.h"
#include "core/string.h"
#include "core/text_codec.h"
#include "core/timestamp.h"

// Tables for the tests of the database.
namespace TALVEK::TEST {

/// A row with an assigned ID, found by ID or by group and time.
struct TEvent {
  static constexpr int FIELD_COUNT = 4;
  std::uint32_t nId = 0;
  std::uint32_t nGroup = 0;
  std::uint32_t nTime = 0;
  VCM::CString strText;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() { return {&nId, &nGroup, &nTime, &strText}; }
  bool operator==(const TEvent&) const = default;
};

class CEventTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override {
    static constexpr VDB::TFileDef s_tDef = {L"event", 1};
    return &s_tDef;
  }
  const VDB::TFieldDef* GetFieldDefs() const override {
    static constexpr VDB::TFieldDef s_atDefs[] = {{L"ID", VDB::FIELD_UINT32},
                                                  {L"Group", VDB::FIELD_UINT32},
                                                  {L"Time", VDB::FIELD_UINT32},
                                                  {L"Text", VDB::FIELD_LONG_TEXT},
                                                  {nullptr, VDB::FIELD_NONE}};
    return s_atDefs;
  }
  const VDB::TIndexDef* GetIndexDefs() const override {
    static constexpr VDB::TIndexDef s_atDefs[] = {{0, 1, {0}}, {1, 2, {1, 2}}, {}};
    return s_atDefs;
  }
};

/// A row with fields of all types. Its key is two numbers that the caller gives; "Code" is unique, too.
struct TPart {
  static constexpr int FIELD_COUNT = 9;
  std::uint32_t nOwner = 0;
  std::uint32_t nNumber = 0;
  VCM::CString strName;
  std::int32_t nCode = 0;
  VCM::CString strText;
  VCM::CTimestamp oTime;
  VCM::CFilePath oPath;
  VCM::CProperties oProperties;
  VCM::CTimestamp oOtherTime;

  std::array<void*, FIELD_COUNT> GetFieldAddresses() {
    return {&nOwner, &nNumber, &strName, &nCode, &strText, &oTime, &oPath, &oProperties, &oOtherTime};
  }
  bool operator==(const TPart&) const = default;
};

class CPartTable : public VDB::CTable {
 public:
  const VDB::TFileDef* GetFileDef() const override {
    static constexpr VDB::TFileDef s_tDef = {L"part", 0};
    return &s_tDef;
  }
  const VDB::TFieldDef* GetFieldDefs() const override {
    static constexpr VDB::TFieldDef s_atDefs[] = {
        {L"Owner", VDB::FIELD_UINT32},        {L"Number", VDB::FIELD_UINT32},
        {L"Name", VDB::FIELD_STRING},         {L"Code", VDB::FIELD_UINT32},
        {L"Text", VDB::FIELD_LONG_TEXT},      {L"Time", VDB::FIELD_TIMESTAMP},
        {L"Path", VDB::FIELD_FILE_PATH},      {L"Props", VDB::FIELD_PROPERTIES},
        {L"OtherTime", VDB::FIELD_TIMESTAMP}, {nullptr, VDB::FIELD_NONE}};
    return s_atDefs;
  }
  const VDB::TIndexDef* GetIndexDefs() const override {
    static constexpr VDB::TIndexDef s_atDefs[] = {{0, 2, {0, 1}}, {0, 1, {3}}, {}};
    return s_atDefs;
  }
};

/// "ID:GROUP/TIME TEXT"
inline std::string Show(const TEvent& tEvent) {
  return std::to_string(tEvent.nId) + ":" + std::to_string(tEvent.nGroup) + "/" +
         std::to_string(tEvent.nTime) + " " + VCM::ToUtf8(tEvent.strText);
}

/// What a lookup left in the record, or "-" when it was false.
inline std::string Show(bool bFound, const TEvent& tEvent) {
  return bFound ? Show(tEvent) : "-";
}

/// The connection string of a new database.
inline VCM::CString NewDatabase(const std::filesystem::path& oPath) {
  VCM::CString strConnection(L"type=native;path=");
  return strConnection + VCM::FromBytes(oPath.string()) + L";create=1;nobinaries=1";
}

/// The connection string of an existing database.
inline VCM::CString OldDatabase(const std::filesystem::path& oPath) {
  return VCM::CString(L"type=native;path=") + VCM::FromBytes(oPath.string());
}

/// The events of a database within one transaction.
struct TEventSession {
  VDB::CTransaction oTransaction;
  CEventTable oTable;
  std::unique_ptr<VDB::CIterator<TEvent>> poById;
  std::unique_ptr<VDB::CIterator<TEvent>> poByTime;

  explicit TEventSession(VDB::CDatabase& oDatabase) : oTransaction(oDatabase, 60000) {
    oTable.Open(oDatabase, nullptr, oTransaction, false);
    poById = std::make_unique<VDB::CIterator<TEvent>>(oTable, 0, oTransaction);
    poByTime = std::make_unique<VDB::CIterator<TEvent>>(oTable, 1, oTransaction);
  }

  /// The new row's ID, or 0 when it was refused.
  std::uint32_t Add(std::uint32_t nGroup, std::uint32_t nTime, const wchar_t* pszText = L"") {
    TEvent tEvent = {0, nGroup, nTime, pszText};
    return poById->Add(tEvent) ? tEvent.nId : 0;
  }
  bool Update(const TEvent& tChanged) {
    TEvent tEvent = tChanged;
    return poById->Update(tEvent);
  }
  bool Commit() {
    poById->Close();
    poByTime->Close();
    return oTransaction.Commit(false);
  }
  /// All events in the order of an index, each on a line.
  std::string List(unsigned nIndex) {
    VDB::CIterator<TEvent> oEvents(oTable, nIndex, oTransaction);
    std::string strAll;
    TEvent tEvent;
    for (bool bFound = oEvents.GetGTE(tEvent); bFound; bFound = oEvents.GetNext(tEvent)) {
      strAll += Show(tEvent) + "\n";
    }
    return strAll;
  }
};

/// The events of a database in the order of IDs.
inline std::string ListEvents(VDB::CDatabase& oDatabase) {
  return TEventSession(oDatabase).List(0);
}

}  // namespace TALVEK::TEST
