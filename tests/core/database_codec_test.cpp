#include "core/database_codec.h"

#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "core/database.h"
#include "tests/core/database_records.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {

using VCM::CFilePath;
using VCM::CString;
using VCM::CTimestamp;
using VDB::CIterator;
using VDB::CRecordCodec;
using VDB::CSchema;

namespace {

std::shared_ptr<const CSchema> SchemaOf(const VDB::CTable& oTable) {
  CString strError;
  return CSchema::Make(oTable.GetFileDef(), oTable.GetFieldDefs(), oTable.GetIndexDefs(), strError);
}

CFilePath Path(const wchar_t* pszText) {
  CFilePath oPath;
  oPath.Parse(pszText);
  return oPath;
}

/// Parts whose fields have values that are easily lost or damaged.
std::vector<TPart> HardParts() {
  TPart tFull;
  tFull.nOwner = 0x01020304;
  tFull.nNumber = 0xFFFFFFFF;
  tFull.strName = L"n\u00E4me \U0001F600";
  tFull.nCode = -2;
  tFull.strText = CString(std::wstring(L"a\0b\xDC80\xDCFF\xD800\x7F\x80\xFFFF\U0010FFFF\r\n", 12));
  tFull.oTime = CTimestamp(-1);
  tFull.oPath = Path(L"folder/b\u00F6se/ \xDC80.c");
  tFull.oProperties.SetProperty(0, 0xFFFFFFFFU);
  tFull.oProperties.SetProperty(1, CString(std::wstring(L"1.2\0\xDC80", 5)));
  tFull.oProperties.SetProperty(0xFFFF, L"");
  tFull.oOtherTime = CTimestamp(std::numeric_limits<long long>::min());

  std::vector<TPart> atParts = {TPart(), tFull};
  for (const wchar_t* pszPath : {L"/", L"/a", L"a", L"a/b/c.txt,v", L"../.", L"/x/\u20AC"}) {
    TPart tPart;
    tPart.nNumber = static_cast<std::uint32_t>(atParts.size());
    tPart.nCode = static_cast<std::int32_t>(atParts.size());
    tPart.oPath = Path(pszPath);
    tPart.oTime = CTimestamp(0x123456789);
    atParts.push_back(tPart);
  }
  TPart tZeroInPath;
  tZeroInPath.nNumber = 100;
  tZeroInPath.nCode = 100;
  tZeroInPath.oPath.Add(CString(std::wstring_view(L"a\0b", 3)));
  atParts.push_back(tZeroInPath);
  return atParts;
}

class DatabaseCodecTest : public testing::Test {
 protected:
  std::string Encode(TPart tPart) { return std::string(m_oCodec.Encode(tPart.GetFieldAddresses().data())); }
  bool Decode(std::string_view strRow, TPart& tPart) {
    return m_oCodec.Decode(strRow, tPart.GetFieldAddresses().data());
  }

  CRecordCodec m_oCodec{SchemaOf(CPartTable())};
};

}  // namespace

TEST_F(DatabaseCodecTest, EveryRecordComesBackAsItWas) {
  TPart tPart;
  for (const TPart& tOriginal : HardParts()) {
    const std::string strRow = Encode(tOriginal);
    ASSERT_TRUE(Decode(strRow, tPart)) << tOriginal.nNumber;
    EXPECT_TRUE(tPart == tOriginal) << tOriginal.nNumber;
    EXPECT_EQ(Encode(tPart), strRow) << tOriginal.nNumber;
  }
}

TEST_F(DatabaseCodecTest, NumbersAndTimesStandBeforeTexts) {
  TEvent tEvent = {0x01020304, 0, 0xFFFFFFFF, L"a\u00E4"};
  CRecordCodec oCodec(SchemaOf(CEventTable()));
  EXPECT_EQ(oCodec.Encode(tEvent.GetFieldAddresses().data()),
            std::string("\x01\x02\x03\x04\0\0\0\0\xFF\xFF\xFF\xFF\0\0\0\x03"
                        "a\xC3\xA4",
                        19));
}

// Replaces fields of each part by those of each other part, in many combinations of fields.
TEST_F(DatabaseCodecTest, AlteredRowHasTheAlteredFieldsAndTheOthersAsTheyWere) {
  for (const TPart& tFormer : HardParts()) {
    for (const TPart& tRecord : HardParts()) {
      for (unsigned nMask = 0; nMask < 1U << TPart::FIELD_COUNT; nMask += 1 + nMask / 16) {
        TPart tExpected = tFormer;
        if (nMask & 1U) tExpected.nOwner = tRecord.nOwner;
        if (nMask & 2U) tExpected.nNumber = tRecord.nNumber;
        if (nMask & 4U) tExpected.strName = tRecord.strName;
        if (nMask & 8U) tExpected.nCode = tRecord.nCode;
        if (nMask & 16U) tExpected.strText = tRecord.strText;
        if (nMask & 32U) tExpected.oTime = tRecord.oTime;
        if (nMask & 64U) tExpected.oPath = tRecord.oPath;
        if (nMask & 128U) tExpected.oProperties = tRecord.oProperties;
        if (nMask & 256U) tExpected.oOtherTime = tRecord.oOtherTime;
        TPart tAltered = tRecord;
        std::string_view strRow;
        const std::string strFormer = Encode(tFormer);
        ASSERT_TRUE(m_oCodec.EncodeAltered(strFormer, tAltered.GetFieldAddresses().data(), nMask, strRow));
        ASSERT_EQ(std::string(strRow), Encode(tExpected)) << nMask;
      }
    }
  }
}

TEST_F(DatabaseCodecTest, CutOrLongerRowIsNotAltered) {
  TPart tPart;
  for (const TPart& tOriginal : HardParts()) {
    const std::string strRow = Encode(tOriginal);
    std::string_view strAltered;
    for (std::size_t nLength = 0; nLength < strRow.size(); ++nLength) {
      ASSERT_FALSE(m_oCodec.EncodeAltered(std::string_view(strRow).substr(0, nLength),
                                          tPart.GetFieldAddresses().data(), VDB::FieldBit(0), strAltered));
    }
    EXPECT_FALSE(m_oCodec.EncodeAltered(strRow + 'x', tPart.GetFieldAddresses().data(), 0, strAltered));
  }
}

TEST_F(DatabaseCodecTest, CutOrLongerRowIsNotDecoded) {
  for (const TPart& tOriginal : HardParts()) {
    const std::string strRow = Encode(tOriginal);
    TPart tPart;
    tPart.strText = L"kept";
    const TPart tBefore = tPart;
    for (std::size_t nLength = 0; nLength < strRow.size(); ++nLength) {
      ASSERT_FALSE(Decode(std::string_view(strRow).substr(0, nLength), tPart)) << nLength;
    }
    EXPECT_FALSE(Decode(strRow + '\0', tPart));
    EXPECT_TRUE(tPart == tBefore);
  }
}

// A row with one changed byte is either refused, or is exactly the row of another record.
TEST_F(DatabaseCodecTest, OnlyWhatEncodeGivesIsDecoded) {
  for (const TPart& tOriginal : HardParts()) {
    const std::string strRow = Encode(tOriginal);
    for (std::size_t i = 0; i < strRow.size(); ++i) {
      for (int nByte = 0; nByte < 256; ++nByte) {
        std::string strChanged = strRow;
        strChanged[i] = static_cast<char>(nByte);
        TPart tPart;
        if (!Decode(strChanged, tPart)) continue;
        ASSERT_EQ(Encode(tPart), strChanged) << i;
      }
    }
  }
}

TEST_F(DatabaseCodecTest, RecordsComeBackFromTheStore) {
  CTempFolder oFolder;
  {
    const auto poDatabase = VDB::CDatabaseFactory::Create(NewDatabase(oFolder / "db"));
    VDB::CTransaction oTransaction(*poDatabase, 60000);
    CPartTable oTable;
    ASSERT_TRUE(oTable.Open(*poDatabase, nullptr, oTransaction, false));
    CIterator<TPart> oParts(oTable, 0, oTransaction);
    for (TPart tPart : HardParts()) {
      ASSERT_TRUE(oParts.Add(tPart));
    }
    oParts.Close();
    ASSERT_TRUE(oTransaction.Commit(false));
  }
  const auto poDatabase = VDB::CDatabaseFactory::Create(OldDatabase(oFolder / "db"));
  ASSERT_NE(poDatabase, nullptr);
  VDB::CTransaction oTransaction(*poDatabase, 60000);
  CPartTable oTable;
  ASSERT_TRUE(oTable.Open(*poDatabase, nullptr, oTransaction, true));
  for (const unsigned nIndex : {0U, 1U}) {
    CIterator<TPart> oParts(oTable, nIndex, oTransaction);
    for (const TPart& tOriginal : HardParts()) {
      TPart tPart;
      tPart.nOwner = tOriginal.nOwner;
      tPart.nNumber = tOriginal.nNumber;
      tPart.nCode = tOriginal.nCode;
      ASSERT_TRUE(oParts.GetEqual(tPart));
      EXPECT_TRUE(tPart == tOriginal) << tOriginal.nNumber;
    }
  }
}

}  // namespace TALVEK::TEST
