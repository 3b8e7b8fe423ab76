#include "client/client_entries.h"

#include <gtest/gtest.h>

#include <string>

#include "core/text_codec.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

class ClientEntriesTest : public ::testing::Test {
 protected:
  /// "none", "missing", or the revision of the entry.
  std::string Entry(const char* pszName) const {
    const CLIENT::TClientEntry tEntry = CLIENT::ReadEntry(VCM::FromBytes((m_oFolder / pszName).string()));
    if (tEntry.nType == CLIENT::NO_ENTRIES) return "none";
    return tEntry.nType == CLIENT::ENTRY_MISSING ? "missing" : VCM::ToUtf8(tEntry.oRevision.GetText());
  }
  void WriteEntries(const char* pszFile, const std::string& strLines) {
    WriteFile(m_oFolder / "CVS" / pszFile, strLines);
  }

  CTempFolder m_oFolder;
};

TEST_F(ClientEntriesTest, FolderWithoutEntriesIsNoneOfTheClients) {
  EXPECT_EQ(Entry("a.c"), "none");
}

TEST_F(ClientEntriesTest, EntryHasTheRevision) {
  WriteEntries("Entries", "/a.c/1.4/Thu Jan  2 10:11:12 2003//\n/b/1.1.1.1/date//TB\nD/sub////\nD\n");
  EXPECT_EQ(Entry("a.c"), "1.4");
  EXPECT_EQ(Entry("b"), "1.1.1.1");
  EXPECT_EQ(Entry("a"), "missing");
  EXPECT_EQ(Entry("sub"), "missing");
}

TEST_F(ClientEntriesTest, LaterEntriesReplaceEarlierOnes) {
  WriteEntries("Entries", "/a.c/1.4/date//\n/b/1.1/date//\n/c/1.1/date//\n");
  WriteEntries("Entries.Log",
               "A /a.c/1.5/date//\nR /b/1.1/date//\nR /c/1.1/date//\nA /c/1.2/date//\nA /d/1.7/date//");
  EXPECT_EQ(Entry("a.c"), "1.5");
  EXPECT_EQ(Entry("b"), "missing");
  EXPECT_EQ(Entry("c"), "1.2");
  EXPECT_EQ(Entry("d"), "1.7");
}

TEST_F(ClientEntriesTest, AddedEntriesAloneCount) {
  WriteEntries("Entries.Log", "A /a.c/1.5/date//\n");
  EXPECT_EQ(Entry("a.c"), "1.5");
  EXPECT_EQ(Entry("b"), "missing");
}

TEST_F(ClientEntriesTest, NamesOfAnyEncodingAreFound) {
  WriteEntries("Entries", "/caf\xe9/1.2/date//\n/x\n/y/\n");
  EXPECT_EQ(Entry("caf\xe9"), "1.2");
  EXPECT_EQ(Entry("x"), "missing");
  EXPECT_EQ(Entry("y"), "");
}

}  // namespace
}  // namespace TALVEK::TEST
