#include "tests/exact_road/rcs_file.h"

#include <gtest/gtest.h>

#include <stdexcept>

#include "tests/exact_road/client_tree.h"
#include "tests/exact_road/keywords.h"
#include "tests/exact_road/random_world.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

constexpr const char* HISTORY =
    "head\t1.2;\nbranch\t1.1.1;\naccess;\nsymbols\n\tb1:1.1.0.2\n\tV1:1.1.1.1;\nlocks; strict;\ncomment\t@# "
    "@;\n\n\n"
    "1.2\ndate\t99.01.02.03.04.05;\tauthor anna;\tstate Exp;\nbranches;\nnext\t1.1;\ncommitid\tabc123;\n\n"
    "1.1\ndate\t98.01.02.03.04.05;\tauthor boris;\tstate Dev;\nbranches\n\t1.1.1.1;\nnext\t;\n\n"
    "1.1.1.1\ndate\t2001.01.02.03.04.05;\tauthor chen;\tstate dead;\nbranches;\nnext\t;\n\n\n"
    "desc\n@a file; with @@ signs\n@\n\n\n"
    "1.2\nlog\n@a message with user@@host\n1.1\nlog\n@\ntext\n@one\ntwo\nthree@\n\n\n"
    "1.1\nlog\n@first\n@\ntext\n@d2 2\na3 1\nlast\n@\n\n\n"
    "1.1.1.1\nlog\n@vendor\n@\ntext\n@a0 1\nzero\nd1 1\n@\n";

TEST(RcsFileTest, WholeFileIsRead) {
  const CTempFolder oFolder;
  WriteFile(oFolder / "a,v", HISTORY);
  const TRcsFile tFile = ReadRcsFile(oFolder / "a,v");
  EXPECT_EQ(tFile.strHead, "1.2");
  EXPECT_EQ(tFile.strBranch, "1.1.1");
  const std::vector<std::pair<std::string, std::string>> astrNames = {{"b1", "1.1.0.2"}, {"V1", "1.1.1.1"}};
  EXPECT_EQ(tFile.astrNames, astrNames);
  EXPECT_EQ(tFile.atRevisions.size(), 3u);
  EXPECT_EQ(tFile.atRevisions.at("1.2").nTime, 915246245);
  EXPECT_EQ(tFile.atRevisions.at("1.2").strCommitId, "abc123");
  EXPECT_EQ(tFile.atRevisions.at("1.2").strLog, "a message with user@host\n1.1\nlog\n");
  EXPECT_EQ(tFile.atRevisions.at("1.2").strText, "one\ntwo\nthree");
  EXPECT_EQ(tFile.atRevisions.at("1.1").strAuthor, "boris");
  EXPECT_EQ(tFile.atRevisions.at("1.1").strText, "one\nlast\n");
  EXPECT_FALSE(tFile.atRevisions.at("1.1").IsDead());
  EXPECT_EQ(tFile.atRevisions.at("1.1.1.1").strText, "zero\nlast\n");
  EXPECT_TRUE(tFile.atRevisions.at("1.1.1.1").IsDead());
}

TEST(RcsFileTest, FileThatIsCutOffIsAnError) {
  const CTempFolder oFolder;
  const std::string strHistory = HISTORY;
  // Up to the last text: from there on a cut can fall between two whole revisions.
  for (const std::size_t nLength :
       {std::size_t{4}, std::size_t{40}, strHistory.find("desc"), strHistory.size() - 3}) {
    WriteFile(oFolder / "a,v", strHistory.substr(0, nLength));
    EXPECT_ANY_THROW(ReadRcsFile(oFolder / "a,v")) << nLength;
  }
}

// What this reader finds in a history is what the client prints: every living revision of some random
// repositories.
TEST(RcsFileTest, TextsAreThoseThatTheClientPrints) {
  int nCompared = 0;
  for (const unsigned nSeed : {11u, 12u, 13u}) {
    const CRandomWorld oRandom(nSeed);
    const TCvsModule tModule = {oRandom.World().Root(), oRandom.World().Module()};
    for (const TRcsFile& tFile : ReadRcsFiles(tModule.oRoot / tModule.strModule)) {
      for (const auto& [strNumber, tRevision] : tFile.atRevisions) {
        // $Log$ grows by lines, which only the client can tell.
        if (tRevision.IsDead() || tRevision.strText.find("$Log") != std::string::npos) continue;
        EXPECT_EQ(CutKeywordsBack(RevisionFromClient(tModule, tFile.strPath, strNumber)),
                  CutKeywordsBack(tRevision.strText))
            << nSeed << ": " << tFile.strPath << " " << strNumber;
        ++nCompared;
      }
    }
  }
  EXPECT_GT(nCompared, 60);
}

TEST(KeywordsTest, ValuesAreCutBackAndNothingElse) {
  const std::string strBytes =
      "$Id: a,v 1.1 $ $Name: REL $ $Name$ $Name: no end\n$Other: x $ $Log: a,v $ $Revision: 1 $$Id:$";
  EXPECT_EQ(CutNameBack(strBytes),
            "$Id: a,v 1.1 $ $Name$ $Name$ $Name: no end\n$Other: x $ $Log: a,v $ $Revision: 1 $$Id:$");
  EXPECT_EQ(CutKeywordsBack(strBytes),
            "$Id$ $Name$ $Name$ $Name: no end\n$Other: x $ $Log: a,v $ $Revision$$Id$");
}

}  // namespace
}  // namespace TALVEK::TEST
