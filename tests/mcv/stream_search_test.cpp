#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include <cstdarg>
#include <memory>

#include "mce/file_table.h"
#include "mce/folder_table.h"
#include "tests/mcv/provider_fixture.h"

namespace TALVEK::TEST {
namespace {

class StreamSearchTest : public ProviderTest {
 protected:
  StreamSearchTest() { Set(L"NestedBranches", "1"); }

  /// Searches, and returns the streams, a line each.
  std::string Streams(CLogText& oLog) {
    EXPECT_TRUE(Search(oLog));
    return m_oProvider.Streams();
  }
  /// The log from the first file's line on.
  std::string LogOfFiles() const {
    const std::string strLog = Log();
    return strLog.substr(strLog.find("Parsing Log\n") + 12);
  }
};

TEST_F(StreamSearchTest, TrunkRevisionsAloneGiveTheSingleStreamMain) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.2", 2000).At("1.1", 1000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n");
  EXPECT_EQ(m_oProvider.Items(), "a.c 1.1 add on Main 1000..2000\na.c 1.2 edit on Main 2000..never\n");
}

/// A branch, a branch on it, and tags on both. INNER_REL inherits the times of INNER, which was made before
/// 6000, so its own revision of 7000 counts as inconsistent.
CLogText NestedLog() {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("INNER: 1.2.4.3.0.2")
      .Name("OUTER: 1.2.0.4")
      .Name("REL: 1.2.4.3")
      .Name("INNER_REL: 1.2.4.3.2.1")
      .At("1.3", 9000)
      .At("1.2", 2000)
      .At("1.1", 1000)
      .At("1.2.4.3", 5000)
      .At("1.2.4.4", 6000)
      .At("1.2.4.3.2.1", 7000);
  return oLog;
}

TEST_F(StreamSearchTest, OfTheEnginesFourTablesOnlyThoseOfChangesAndItemsAreMade) {
  CLogText oLog = NestedLog();
  EXPECT_TRUE(Search(oLog));
  m_oProvider.CommitChanges();
  VDB::CDatabase& oDatabase = *m_oProvider.m_poDatabase;
  VDB::CTransaction oTransaction(oDatabase, 0);
  // Opening read-only makes no table.
  const auto Exists = [&](VDB::CTable&& oTable) {
    return oTable.Open(oDatabase, nullptr, oTransaction, true);
  };
  EXPECT_TRUE(Exists(MCE::CChangeTable()));
  EXPECT_TRUE(Exists(MCE::CChangeItemTable()));
  EXPECT_FALSE(Exists(MCE::CFileTable()));
  EXPECT_FALSE(Exists(MCE::CFolderTable()));
}

TEST_F(StreamSearchTest, BranchOnABranchIsNestedInIt) {
  CLogText oLog = NestedLog();
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 OUTER below 1 [2001,9000]\n3 INNER below 2 [5001,6000]\n");
}

TEST_F(StreamSearchTest, TagOnABranchIsNestedInIt) {
  Set(L"StreamsForTags", "1");
  CLogText oLog = NestedLog();
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n"
            "2 OUTER below 1 [2001,9000]\n"
            "3 REL below 2 [5001,6000]\n"
            "4 INNER below 2 [5001,6000]\n"
            "5 INNER_REL below 4 [5001,6000]\n");
}

TEST_F(StreamSearchTest, WithoutNestingEveryStreamHangsBelowMain) {
  Set(L"StreamsForTags", "1");
  Set(L"NestedBranches", "0");
  CLogText oLog = NestedLog();
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n"
            "2 OUTER below 1 [2001,9000]\n"
            "3 REL below 1 [5001,6000]\n"
            "4 INNER below 1 [5001,6000]\n"
            "5 INNER_REL below 1 [5001,6000]\n");
}

TEST_F(StreamSearchTest, WithoutCreateBranchesOnlyMainExists) {
  Set(L"StreamsForTags", "1");
  for (const char* pszOff : {"", "0", "yes"}) {
    Set(L"CreateBranches", pszOff);
    m_oProvider.ResetStreams();
    CLogText oLog = NestedLog();
    EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n");
    EXPECT_EQ(m_oProvider.Items(),
              "a.c 1.1 add on Main 1000..2000\n"
              "a.c 1.2 edit on Main 2000..5000\n"
              "a.c 1.3 edit on Main 9000..never\n");
  }
}

/// Adds a file in which the branch `strInner` sprouts from the branch `strOuter`.
CLogText& Nest(CLogText& oLog, const std::string& strPath, const std::string& strOuter,
               const std::string& strInner) {
  return oLog.File("/repo/mod/" + strPath + ",v")
      .Name(strOuter + ": 1.1.0.2")
      .Name(strInner + ": 1.1.2.1.0.2")
      .At("1.1", 1000)
      .At("1.1.2.1", 2000)
      .At("1.1.2.1.2.1", 3000);
}

TEST_F(StreamSearchTest, BranchFirstSeenBelowMainMovesBelowABranch) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").Name("B: 1.1.0.4").At("1.1", 1000);
  Nest(oLog, "b.c", "A", "B");
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 2 [2001,0]\n");
}

TEST_F(StreamSearchTest, MovedBranchIsWrittenBackAndLogged) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("B: 1.1.0.4").At("1.1", 1000);
  Nest(oLog, "b.c", "A", "B");
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 B below 3 [2001,0]\n3 A below 1 [1001,0]\n");
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Adding stream 'B'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Processing file 'mod/b.c' (count=1)\n"
            "Adding stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Updating stream 'B'. Parent is 'A'. Creation time is 1970-01-01 00:33:21 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Finished Parsing Log\n"
            "Main\n"
            "  A\n"
            "    B\n");
}

TEST_F(StreamSearchTest, BranchOfABranchIsNeverMovedUp) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  oLog.File("/repo/mod/b.c,v").Name("B: 1.1.0.2").At("1.1", 1000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 2 [2001,0]\n");
}

TEST_F(StreamSearchTest, BranchMovesBelowABranchThatLiesDeeperThanItsParent) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "A", "C");
  Nest(oLog, "c.c", "B", "C");
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 2 [2001,0]\n4 C below 3 [2001,0]\n");
}

TEST_F(StreamSearchTest, BranchIsNotMovedToABranchBesideItsParent) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "C");
  Nest(oLog, "b.c", "B", "C");
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 C below 2 [2001,0]\n4 B below 1 [2001,0]\n");
}

TEST_F(StreamSearchTest, ProposingAStreamsOwnDescendantKeepsItsParentAndNamesTheFile) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "B", "C");
  Nest(oLog, "bad.c", "C", "B");
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 2 [2001,0]\n4 C below 3 [2001,0]\n");
  const std::string strTimes =
      "Creation time is 1970-01-01 00:33:21 UTC. Max creation time is 1970-01-01 00:00:00 UTC\n";
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Adding stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Adding stream 'B'. Parent is 'A'. " +
                strTimes +
                "Processing file 'mod/b.c' (count=1)\n"
                "Adding stream 'C'. Parent is 'B'. " +
                strTimes +
                "Processing file 'mod/bad.c' (count=2)\n"
                "Unable to set use stream hierarchy proposed by file 'mod/bad.c'. "
                "This will create an infinite loop!\n"
                "Finished Parsing Log\n"
                "Main\n"
                "  A\n"
                "    B\n"
                "      C\n");
}

// A stream below the trunk takes any proposed parent, even its own child.
TEST_F(StreamSearchTest, TwoBranchesNestedInEachOtherFormACircle) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "B", "A");
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 3 [2001,0]\n3 B below 2 [2001,0]\n");
  const std::string strMax = "Max creation time is 1970-01-01 00:00:00 UTC\n";
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Adding stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. " +
                strMax + "Adding stream 'B'. Parent is 'A'. Creation time is 1970-01-01 00:33:21 UTC. " +
                strMax +
                "Processing file 'mod/b.c' (count=1)\n"
                "Updating stream 'A'. Parent is 'B'. Creation time is 1970-01-01 00:33:21 UTC. " +
                strMax + "Finished Parsing Log\nMain\n");
}

// A and B form a circle without D: the walk upwards from A never meets D's parent, and must stop all the
// same.
TEST_F(StreamSearchTest, WalkUpwardsInACircleEnds) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "B", "A");
  Nest(oLog, "c.c", "C", "D");
  Nest(oLog, "d.c", "A", "D");
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 3 [2001,0]\n3 B below 2 [2001,0]\n"
            "4 C below 1 [2001,0]\n5 D below 4 [2001,0]\n");
}

TEST_F(StreamSearchTest, WalkUpwardsIntoACircleFromOutsideEnds) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "B", "C");
  Nest(oLog, "c.c", "C", "A");  // a circle of three: A below C, C below B, B below A
  Nest(oLog, "d.c", "C", "E");  // hangs below the circle
  Nest(oLog, "e.c", "X", "Y");
  Nest(oLog, "f.c", "E", "Y");  // the walk upwards from E never meets X, the parent of Y
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 4 [2001,0]\n3 B below 2 [2001,0]\n4 C below 3 [2001,0]\n"
            "5 E below 4 [2001,0]\n6 X below 1 [2001,0]\n7 Y below 6 [2001,0]\n");
  EXPECT_TRUE(Log().ends_with("Finished Parsing Log\nMain\n  X\n    Y\n")) << Log();
}

// Two names that differ in case are one stream: so a branch can sprout from itself.
TEST_F(StreamSearchTest, BranchBelowItselfIsACircleOfOne) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "a");
  Nest(oLog, "b.c", "B", "C");
  Nest(oLog, "c.c", "A", "C");
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 A below 2 [2001,0]\n3 B below 1 [2001,0]\n4 C below 3 [2001,0]\n");
  EXPECT_TRUE(Log().ends_with("Finished Parsing Log\nMain\n  B\n    C\n")) << Log();
}

// A stream's name is looked up without regard to case, and the trunk is a stream like any other.
TEST_F(StreamSearchTest, BranchCalledAsTheTrunkIsTheTrunk) {
  for (const char* pszName : {"Main", "main", "MAIN"}) {
    m_oProvider.ResetStreams();
    CLogText oLog;
    oLog.File("/repo/mod/a.c,v")
        .Name(std::string(pszName) + ": 1.1.0.2")
        .Name("HEAD: 1.1.0.4")
        .At("1.1", 1000)
        .At("1.1.2.1", 2000)
        .At("1.1.4.1", 3000);
    EXPECT_EQ(Streams(oLog), "1 Main below 0 [1001,0]\n2 HEAD below 1 [1001,0]\n");
    EXPECT_EQ(m_oProvider.Items(),
              "a.c 1.1 add on Main 1000..2000\na.c 1.1.2.1 edit on Main 2000..3000\n"
              "a.c 1.1.4.1 edit on HEAD 3000..never\n");
  }
}

TEST_F(StreamSearchTest, TrunkMovesBelowABranchLikeAnyOtherStream) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "main");
  EXPECT_EQ(Streams(oLog), "1 Main below 2 [2001,0]\n2 A below 1 [1001,0]\n");
  EXPECT_TRUE(Log().ends_with("Finished Parsing Log\n")) << Log();
}

TEST_F(StreamSearchTest, NamesEqualButForCaseAreOneStream) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("Rel: 1.1.0.2").At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v").Name("REL: 1.1.0.2").At("1.1", 1500).At("1.1.2.1", 2500);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 Rel below 1 [1501,0]\n");
  EXPECT_EQ(m_oProvider.Items(),
            "a.c 1.1 add on Main 1000..never\nb.c 1.1 add on Main 1500..2500\nb.c 1.1.2.1 edit on Rel "
            "2500..never\n");
}

// Names and revisions share one working record. After a file whose last revision is on the trunk the record
// is the trunk's, which has no times to inherit.
TEST_F(StreamSearchTest, NewStreamOfTheNextFileStartsFromTheTrunksRecord) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").At("1.1", 1000).At("1.2", 5000);
  oLog.File("/repo/mod/b.c,v").Name("B: 1.1.0.2").At("1.1", 500).At("1.2", 9000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,5000]\n3 B below 1 [501,9000]\n");
}

// Both names are in one file, so after A no revision overwrites the record before B.
TEST_F(StreamSearchTest, NewStreamOfTheSameFileInheritsTheTimesOfTheNameBefore) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").Name("B: 1.9.0.2").At("1.1", 1000).At("1.2", 5000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,5000]\n3 B below 1 [1001,5000]\n");
}

// The last revision read was on branch A, so the record is A's when the next file begins.
TEST_F(StreamSearchTest, NewStreamInheritsTheTimesOfTheStreamOfTheLastRevision) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 3000);
  oLog.File("/repo/mod/b.c,v").Name("B: 1.9.0.2").At("1.1", 500);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 1 [1001,0]\n");
}

// A revision without a stream sets the record's ID to 0 and leaves the rest, so B still inherits A's times.
TEST_F(StreamSearchTest, RevisionWithoutStreamLeavesTheRestOfTheRecord) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").At("1.1.2.1", 3000).At("1.1.4.1", 4000).At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v").Name("B: 1.9.0.2").At("1.1", 500);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 1 [1001,0]\n");
}

// A host writes tags differently from branches, so it must be told which streams are tags.
TEST_F(StreamSearchTest, TagsAndOnlyTagsAreMarkedAsTags) {
  Set(L"StreamsForTags", "1");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("REL: 1.1")
      .Name("BR: 1.1.0.2")
      .Name("BR_REL: 1.1.2.1")
      .Name("VENDOR: 1.1.1")
      .Name("V1: 1.1.1.1")
      .Name("PLAIN: 1.1.4")  // without the magic 0 it is a tag
      .Name("INNER: 1.1.2.1.0.2")
      .At("1.1", 1000)
      .At("1.1.2.1", 2000);
  // The first file with a name decides whether it is a tag.
  oLog.File("/repo/mod/b.c,v").Name("REL: 1.1.0.2").Name("BR: 1.1").Name("LAST: 1.1.0.4").At("1.1", 1000);
  ASSERT_TRUE(Search(oLog));
  std::string strTags, strOthers;
  for (const auto& tStream : m_oProvider.m_oStreams) {
    const std::uint32_t nIsTag = tStream.oProps.GetNumber(MCE::STREAM_IS_TAG, 0);
    ASSERT_LE(nIsTag, 1u);
    (nIsTag == 1 ? strTags : strOthers) += Narrow(tStream.strName) + " ";
    EXPECT_EQ(tStream.oDestPath.GetCount(), 0);
    EXPECT_EQ(tStream.oSrcPath.GetCount(), 0);
  }
  EXPECT_EQ(strTags, "V1 REL BR_REL PLAIN ");
  EXPECT_EQ(strOthers, "Main VENDOR BR INNER LAST ");
}

// The parent is set first. In b.c the revision from which B starts is missing, so B's time comes from its new
// parent.
TEST_F(StreamSearchTest, MovedBranchTakesItsTimeFromItsNewParent) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("B: 1.9.0.2").At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v").Name("A: 1.1.0.2").Name("B: 1.1.2.1.0.2").At("1.1", 5000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 B below 3 [5002,0]\n3 A below 1 [5001,0]\n");
}

TEST_F(StreamSearchTest, StreamThatStaysAsItIsIsNotLogged) {
  CLogText oLog;
  Nest(oLog, "a.c", "A", "B");
  Nest(oLog, "b.c", "A", "B");
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,0]\n3 B below 2 [2001,0]\n");
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Adding stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Adding stream 'B'. Parent is 'A'. Creation time is 1970-01-01 00:33:21 UTC. "
            "Max creation time is 1970-01-01 00:00:00 UTC\n"
            "Processing file 'mod/b.c' (count=1)\n"
            "Finished Parsing Log\n"
            "Main\n"
            "  A\n"
            "    B\n");
}

// Names that become no streams are checked, too. B inherits A's times from the working record.
TEST_F(StreamSearchTest, InconsistentNameIsLoggedWithoutCreateBranchesToo) {
  Set(L"CreateBranches", "0");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("A: 1.1.0.2")
      .Name("B: 1.3.0.2")
      .At("1.1", 1000)
      .At("1.2", 2000)
      .At("1.3", 3000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n");
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Ignoring file 'mod/a.c' tag 'B' for establishing branch creation time. "
            "The branch is inconsistent with other branches.\n"
            "Finished Parsing Log\n"
            "Main\n");
}

/// A host that switches "CreateBranches" off at the log line of the second file, and on again at the line
/// about an inconsistent file.
class CSwitchingHost : public VRM::CConnection, public VRO::CReposView {
 public:
  explicit CSwitchingHost(MCE::CProvider& oProvider) : m_oProvider(oProvider) {}
  void Message(const wchar_t* pszFormat, ...) override {
    va_list args;
    va_start(args, pszFormat);
    VCM::CString strMessage;
    strMessage.FormatV(pszFormat, args);
    va_end(args);
    if (strMessage.Find(VCM::CString(L"(count=1)")) >= 0) m_oProvider.SetProperty(L"CreateBranches", L"0");
    if (strMessage.Find(VCM::CString(L"inconsistent")) >= 0) m_oProvider.SetProperty(L"CreateBranches", L"1");
  }
  VRM::CConnection* GetConnection() const override { return const_cast<CSwitchingHost*>(this); }

 private:
  MCE::CProvider& m_oProvider;
};

// The property is read for each name, so A becomes no stream and X does. The nesting proposes A as the parent
// of X and B; as A has no stream, they get Main (and not the next candidate, VENDOR).
TEST_F(StreamSearchTest, NameWhoseParentHasNoStreamHangsBelowMain) {
  Set(L"StreamsForTags", "1");
  m_oProvider.SetRepositoryView(
      VRW::TObjectInvokeRef<VRO::CReposView>(std::make_shared<CSwitchingHost>(m_oProvider)));
  m_oProvider.LogToConnection();
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("VENDOR: 1.1.1").At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v")
      .Name("VENDOR: 1.1.1")
      .Name("A: 1.1.0.2")
      .Name("X: 1.1.2.1")
      .Name("B: 1.1.2.1.0.2")
      .At("1.1", 1000)
      .At("1.2", 1500)
      .At("1.1.2.1", 2000);
  EXPECT_EQ(
      Streams(oLog),
      "1 Main below 0 [0,0]\n2 VENDOR below 1 [0,0]\n3 X below 1 [1001,1500]\n4 B below 1 [1001,1500]\n");
}

TEST_F(StreamSearchTest, InconsistentFileIsNamedInTheLog) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("A: 1.1.0.2").At("1.1", 1000).At("1.2", 2000);
  oLog.File("/repo/mod/late.c,v").Name("A: 1.1.0.2").At("1.1", 3000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 A below 1 [1001,2000]\n");
  EXPECT_EQ(LogOfFiles(),
            "Processing file 'mod/a.c' (count=0)\n"
            "Adding stream 'A'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
            "Max creation time is 1970-01-01 00:33:20 UTC\n"
            "Processing file 'mod/late.c' (count=1)\n"
            "Ignoring file 'mod/late.c' tag 'A' for establishing branch creation time. "
            "The branch is inconsistent with other branches.\n"
            "Finished Parsing Log\n"
            "Main\n"
            "  A\n");
}

TEST_F(StreamSearchTest, NestingProposalTable) {
  const struct {
    std::vector<const char*> apszNames;
    const char* pszExpected;
  } atCases[] = {
      // The nearest name that is short enough: two components shorter for a branch, one for a tag.
      {{"A: 1.2.0.2", "T: 1.2.2.1", "B: 1.2.2.1.0.2"}, "A<Main T<A B<A "},
      // 1.2.2 is no prefix of 1.22.2: components are compared whole.
      {{"A: 1.2.0.2", "B: 1.22.2.1.0.2"}, "A<Main B<Main "},
      // A tag with a number of two components can be a parent.
      {{"T: 1.2", "B: 1.2.2.1.0.2"}, "T<Main B<T "},
      {{"T: 1.2.2.1"}, "T<Main "},
      // Three components never nest, not even a branch on a tagged revision.
      {{"T: 1.2", "B: 1.2.0.2"}, "T<Main B<Main "},
      // The vendor branch's number 1 is a prefix of every number 1.x.
      {{"V: 1.1.1", "B: 1.2.2.1.0.2"}, "V<Main B<V "},
  };
  Set(L"StreamsForTags", "1");
  for (const auto& tCase : atCases) {
    CLogText oLog;
    oLog.File("/repo/mod/a.c,v");
    for (const char* pszName : tCase.apszNames)
      oLog.Name(pszName);
    m_oProvider.ResetStreams();
    ASSERT_TRUE(Search(oLog));
    std::string strTree;
    for (int i = 1; i < m_oProvider.m_oStreams.GetCount(); ++i) {
      const auto& tStream = m_oProvider.m_oStreams[i];
      strTree += Narrow(tStream.strName) + "<" +
                 Narrow(m_oProvider.m_oStreams[static_cast<int>(tStream.nParentID) - 1].strName) + " ";
    }
    EXPECT_EQ(strTree, tCase.pszExpected);
  }
}

TEST_F(StreamSearchTest, RepositoryPathIsCutBehindItsLastColon) {
  const struct {
    const char *pszReposPath, *pszFile, *pszExpected;
  } atCases[] = {
      {":local:/var/cvs", "/var/cvs/mod/a.c,v", "mod/a.c"},
      {":pserver:joe@host:2401:/var/cvs", "/var/cvs/mod/a.c,v", "mod/a.c"},
      {"/var/cvs", "/var/cvs/mod/a.c,v", "mod/a.c"},
      {"/var/cvs:", "/mod/a.c,v", "mod/a.c"},
      // The repository's folder contains the module's name, so the path must begin after that folder.
      {":local:/mod/cvs", "/mod/cvs/mod/a.c,v", "mod/a.c"},
  };
  Set(L"ModuleName", "mod");
  for (const auto& tCase : atCases) {
    const std::string strBefore = Log();
    CLogText oLog;
    oLog.File(tCase.pszFile).At("1.1", 1000);
    WriteFile(m_oFolder / "log", oLog.Text());
    Set(L"LogFile", (m_oFolder / "log").string());
    Set(L"ReposPath", tCase.pszReposPath);
    m_oProvider.ResetStreams();
    EXPECT_TRUE(m_oProvider.SearchForStreams());
    const std::string strLog = Log().substr(strBefore.size());
    EXPECT_EQ(strLog.substr(strLog.find("Parsing Log\n")), std::string("Parsing Log\nProcessing file '") +
                                                               tCase.pszExpected +
                                                               "' (count=0)\nFinished Parsing Log\nMain\n")
        << tCase.pszReposPath;
  }
}

// RepeatCountTest shows how the value is read; this shows that the search uses it.
TEST_F(StreamSearchTest, RepeatCountOfZeroAnEmptyTextOrAWordGivesOneAttempt) {
  FakeCvs("count >/dev/null; exit 1");
  for (const char* pszValue : {"0", "", "many"}) {
    Set(L"CmdRepeatCount", pszValue);
    std::filesystem::remove(m_oFolder / "count");
    m_oProvider.ResetStreams();
    m_oProvider.SearchForStreams();
    EXPECT_EQ(ReadFile(m_oFolder / "count"), "1\n") << pszValue;
  }
}

TEST_F(StreamSearchTest, LogTellsEveryStepInOrder) {
  CLogText oLog;
  oLog.File("/repo/mod/src/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v").At("1.1", 1000);
  EXPECT_TRUE(Search(oLog));
  EXPECT_EQ(Log(),
            "Generating Log\n"
            "Using log file '" +
                (m_oFolder / "saved.rlog").string() +
                "'.\n"
                "Successfully created file input stream.\n"
                "Generated Log\n"
                "Adding stream 'Main'. Parent is '[NONE]'. Creation time is 1970-01-01 00:00:00 UTC. "
                "Max creation time is 1970-01-01 00:00:00 UTC\n"
                "Parsing Log\n"
                "Processing file 'mod/src/a.c' (count=0)\n"
                "Adding stream 'BR'. Parent is 'Main'. Creation time is 1970-01-01 00:16:41 UTC. "
                "Max creation time is 1970-01-01 00:00:00 UTC\n"
                "Processing file 'mod/b.c' (count=1)\n"
                "Finished Parsing Log\n"
                "Main\n"
                "  BR\n");
}

TEST_F(StreamSearchTest, MissingLogEndsTheSearchAtOnce) {
  Set(L"LogFile", "/nonexistent/log");
  EXPECT_FALSE(m_oProvider.SearchForStreams());
  EXPECT_EQ(Log(),
            "Generating Log\n"
            "Using log file '/nonexistent/log'.\n"
            "Failed to create file input stream.\n"
            "Generated Log\n"
            "Failed to get input stream after generating log.\n");
  EXPECT_EQ(m_oProvider.Streams(), "");
}

// /proc/self/mem can be opened, but reading its first bytes fails.
TEST_F(StreamSearchTest, LogThatBreaksOffFailsTheSearch) {
  Set(L"LogFile", "/proc/self/mem");
  Set(L"ModuleName", "mod");
  EXPECT_FALSE(m_oProvider.SearchForStreams());
  EXPECT_EQ(LogOfFiles(), "Failed to parse any files from rlog.\nFinished Parsing Log\nMain\n");
  EXPECT_EQ(m_oProvider.m_oLogSource.GetInput(), nullptr);
}

TEST_F(StreamSearchTest, EmptyLogIsReportedAndLeavesMain) {
  EXPECT_TRUE(Search(""));
  EXPECT_EQ(LogOfFiles(), "Failed to parse any files from rlog.\nFinished Parsing Log\nMain\n");
  EXPECT_EQ(m_oProvider.Streams(), "1 Main below 0 [0,0]\n");
}

TEST_F(StreamSearchTest, ClosedLogMakesNoDifferenceToTheStreams) {
  m_oProvider.OpenLog(false);
  CLogText oLog = NestedLog();
  EXPECT_EQ(Streams(oLog),
            "1 Main below 0 [0,0]\n2 OUTER below 1 [2001,9000]\n3 INNER below 2 [5001,6000]\n");
  EXPECT_EQ(Log(), "");
}

TEST_F(StreamSearchTest, HistoryComesFromTheClientWhenThereIsNoLogFile) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000);
  WriteFile(m_oFolder / "answer", oLog.Text());
  FakeCvs("cat \"$folder/answer\"");
  Set(L"ReposPath", ":local:/repo");
  Set(L"ModuleName", "mod");
  EXPECT_TRUE(m_oProvider.SearchForStreams());
  EXPECT_EQ(m_oProvider.Items(), "a.c 1.1 add on Main 1000..never\n");
  EXPECT_EQ(Log(), "Generating Log\nPerforming command \"" + CvsPath().string() +
                       "\" -d :local:/repo rlog \"mod\"\n"
                       "Generated Log\n"
                       "Adding stream 'Main'. Parent is '[NONE]'. Creation time is 1970-01-01 00:00:00 UTC. "
                       "Max creation time is 1970-01-01 00:00:00 UTC\n"
                       "Parsing Log\n"
                       "Processing file 'mod/a.c' (count=0)\n"
                       "Finished Parsing Log\n"
                       "Main\n");
}

// A damaged file makes `rlog` fail, but all the other files are in its output.
TEST_F(StreamSearchTest, OutputOfAFailingClientIsReadAllTheSame) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000);
  WriteFile(m_oFolder / "answer", oLog.Text());
  FakeCvs("cat \"$folder/answer\"; exit 1");
  Set(L"ReposPath", "/repo");
  Set(L"ModuleName", "mod");
  Set(L"CmdRepeatCount", "2");
  EXPECT_TRUE(m_oProvider.SearchForStreams());
  EXPECT_EQ(m_oProvider.Items(), "a.c 1.1 add on Main 1000..never\n");
  EXPECT_EQ(Log(), "Generating Log\nPerforming command \"" + CvsPath().string() +
                       "\" -d /repo rlog \"mod\"\n"
                       "Generating rlog command failed. This usually indicated that your cvs repository is "
                       "corrupted.\n"
                       "Generated Log\n"
                       "Adding stream 'Main'. Parent is '[NONE]'. Creation time is 1970-01-01 00:00:00 UTC. "
                       "Max creation time is 1970-01-01 00:00:00 UTC\n"
                       "Parsing Log\n"
                       "Processing file 'mod/a.c' (count=0)\n"
                       "Finished Parsing Log\n"
                       "Main\n");
}

TEST_F(StreamSearchTest, StreamIsReleasedAtTheEnd) {
  EXPECT_TRUE(Search(""));
  EXPECT_EQ(m_oProvider.m_oLogSource.GetInput(), nullptr);
  EXPECT_FALSE(m_oProvider.m_oLogSource.OwnsInput());
}

TEST_F(StreamSearchTest, SearchStartsFromAnEmptyDatabase) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000);
  EXPECT_TRUE(Search(oLog));
  m_oProvider.ResetStreams();
  EXPECT_TRUE(Search(oLog));
  EXPECT_EQ(m_oProvider.Items(), "a.c 1.1 add on Main 1000..never\n");
}

TEST_F(StreamSearchTest, FiltersDecideWhichStreamsExist) {
  Set(L"StreamsForTags", "1");
  Set(L"IncludeTags", "REL*,*_1");
  Set(L"ExcludeTags", "*OLD*");
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v")
      .Name("REL_1: 1.1")
      .Name("REL_2: 1.1")
      .Name("REL_OLD_1: 1.1")
      .Name("BR_1: 1.1.0.2")
      .At("1.1", 1000)
      .At("1.1.2.1", 2000);
  EXPECT_EQ(Streams(oLog), "1 Main below 0 [0,0]\n2 REL_1 below 1 [1001,0]\n");
  EXPECT_EQ(m_oProvider.Items(), "a.c 1.1 add on Main 1000..2000\n");
}

TEST_F(StreamSearchTest, StreamsAreEstablishedOnceAndRecordedChangesAreCounted) {
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").Name("BR: 1.1.0.2").At("1.1", 1000).At("1.1.2.1", 5000);
  WriteFile(m_oFolder / "log", oLog.Text());
  Set(L"LogFile", (m_oFolder / "log").string());
  Set(L"ReposPath", "/repo");
  unsigned nStreams = 0, nChanges = 0;
  EXPECT_EQ(m_oProvider.EstablishStreams(nStreams), 0);
  EXPECT_EQ(m_oProvider.EstablishStreams(nStreams), 0);
  EXPECT_EQ(m_oProvider.EstablishChangesets(nChanges), 0);
  EXPECT_EQ(nStreams, 2u);
  EXPECT_EQ(nChanges, 2u);
  EXPECT_EQ(m_oProvider.Changes(), "Main 1000 joe [work] a.c 1.1\nBR 5000 joe [work] a.c 1.1.2.1\n");
}

// The search goes on, so that the log is complete, but the changesets fail: the history has gaps.
TEST_F(StreamSearchTest, ChangesThatCannotBeKeptFailTheChangesets) {
  const std::filesystem::path oPlanted = "/tmp/talvek-em-" + std::to_string(getpid()) + ".tdf";
  std::filesystem::create_directory(oPlanted);
  CLogText oLog;
  oLog.File("/repo/mod/a.c,v").At("1.1", 1000);
  oLog.File("/repo/mod/b.c,v").At("1.1", 1000);
  unsigned nCount = 0;
  EXPECT_TRUE(Search(oLog));
  std::filesystem::remove(oPlanted);
  EXPECT_EQ(m_oProvider.EstablishChangesets(nCount), MCE::RESULT_FAILED);
  EXPECT_NE(Log().find("Failed to keep the changes in the import database: " + oPlanted.string() +
                       ": is no plain file\nParsing Log\nProcessing file 'mod/a.c' (count=0)\n"
                       "Processing file 'mod/b.c' (count=1)\nFinished Parsing Log\n"),
            std::string::npos)
      << Log();
}

}  // namespace
}  // namespace TALVEK::TEST
