// Logs that are large in one way or another: time and memory stay in proportion to the log.

#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"
#include "tests/support/tested_provider.h"

namespace TALVEK::TEST {
namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr long MEMORY_FACTOR = 4;
#else
constexpr long MEMORY_FACTOR = 1;
#endif

constexpr long MEGABYTE = 1024 * 1024;

/// One file that stands behind whatever is large.
constexpr char PSZ_GOOD[] =
    "\nRCS file: /repo/mod/good,v\nhead: 1.1\nsymbolic names:\nkeyword substitution: kv\n"
    "total revisions: 1;\tselected revisions: 1\ndescription:\n----------------------------\nrevision 1.1\n"
    "date: 2001/09/09 01:46:40;  author: joe;  state: Exp;\nwork\n"
    "=============================================================================\n";
/// How import-dump and the preview print it.
constexpr char PSZ_GOOD_ITEM[] = "\"type\":0,\"path\":\"good\",\"revision\":\"1.1\",\"time\":1000000000}}";
constexpr char PSZ_GOOD_PREVIEW[] = "\"type\":0,\"path\":\"good\"}}";

class LargeLogTest : public ::testing::Test {
 protected:
  /// Writes the log, the good file at its end.
  void WriteLog(const std::function<void(std::ostream&)>& fnWrite) {
    std::ofstream oLog(m_oFolder / "saved.rlog", std::ios::binary);
    fnWrite(oLog);
    oLog << PSZ_GOOD;
    ASSERT_TRUE(oLog.flush());
  }

  /// Runs a program over the log, with its output in the file "out". Its greatest size, in KiB.
  long Run(const std::string& strProgram) {
    const std::string strCommand = "exec env TMPDIR=" + ShellQuote(m_oFolder.Path().string()) + " " +
                                   strProgram + " > " + ShellQuote((m_oFolder / "out").string()) + " 2>&1";
    std::string strShell = "sh", strOption = "-c", strArgument = strCommand;
    char* apszArguments[] = {strShell.data(), strOption.data(), strArgument.data(), nullptr};
    pid_t nChild = 0;
    int nStatus = -1;
    rusage tUsage{};
    EXPECT_EQ(posix_spawn(&nChild, "/bin/sh", nullptr, nullptr, apszArguments, environ), 0);
    EXPECT_EQ(wait4(nChild, &nStatus, 0, &tUsage), nChild);
    EXPECT_EQ(nStatus, 0);
    return tUsage.ru_maxrss;
  }
  /// Reads the log with tags as streams, or without; import-dump knows the provider cvs only.
  long Dump(bool bTags = false) {
    const std::string strSettings = bTags ? "--set StreamsForTags=1 " : "--set StreamsForTags=0 ";
    if (TestsExact()) return Preview(strSettings);
    return Run(TALVEK_BIN_DIR
               "/import-dump --set ReposPath=/repo --set ModuleName=mod --set NestedBranches=1 " +
               strSettings + "--set LogFile=" + ShellQuote((m_oFolder / "saved.rlog").string()));
  }
  long Preview(const std::string& strSettings = "") {
    return Run(
        TALVEK_BIN_DIR
        "/talvek-import preview --quiet --format jsonl --repos-path /repo --module-name mod --provider " +
        TestedProvider() + ByProvider(" --nested-branches ", " ") + strSettings + "--log-file " +
        ShellQuote((m_oFolder / "saved.rlog").string()));
  }

  /// The lines of the output that hold this.
  int Count(const std::string& strText) const {
    return std::stoi(RunShell("grep -c -F " + ShellQuote(strText) + " " + Output()).strOutput);
  }
  bool HasGoodFile() const { return Count(ByProvider(PSZ_GOOD_ITEM, PSZ_GOOD_PREVIEW)) == 1; }
  std::string Output() const { return ShellQuote((m_oFolder / "out").string()); }

  /// In pieces: this process must stay small, because its size is where a child's begins.
  struct TLong {
    char ch;
    long nMegabytes;

    friend std::ostream& operator<<(std::ostream& oLog, const TLong& tLong) {
      const std::string strPiece(MEGABYTE, tLong.ch);
      for (long i = 0; i < tLong.nMegabytes; ++i)
        oLog << strPiece;
      return oLog;
    }
  };

  static std::string Header(const std::string& strPath, const std::string& strNames, int nRevisions = 1,
                            const std::string& strHead = "1.1") {
    const std::string strCount = std::to_string(nRevisions);
    return "\nRCS file: /repo/mod/" + strPath + ",v\nhead: " + strHead + "\nsymbolic names:\n" + strNames +
           "keyword substitution: kv\ntotal revisions: " + strCount + ";\tselected revisions: " + strCount +
           "\ndescription:\n";
  }
  static std::string Revision(const std::string& strNumber, const std::string& strMessage) {
    return PSZ_REVISION + strNumber + "\n" + PSZ_DATE + strMessage + "\n";
  }
  static constexpr char PSZ_REVISION[] = "----------------------------\nrevision ";
  static constexpr char PSZ_DATE[] = "date: 2001/09/09 01:46:40;  author: joe;  state: Exp;\n";
  static constexpr char PSZ_END[] =
      "=============================================================================\n";

  CTempFolder m_oFolder;
};

// A line is read whole, and its text kept in the import database: nothing is cut. So memory goes with the
// longest line, at four bytes for each character of a text, of which there are three or four at once, and a
// few as bytes.
TEST_F(LargeLogTest, MessageLineOf64MegabytesIsKeptWhole) {
  WriteLog([](std::ostream& oLog) {
    oLog << Header("a", "") << PSZ_REVISION << "1.1\n" << PSZ_DATE << TLong{'~', 64} << "\n" << PSZ_END;
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 17 * 64 * 1024) << "KiB";
  EXPECT_EQ(ShellOutput("tr -cd '~' < " + Output() + " | wc -c"), std::to_string(64 * MEGABYTE) + "\n");
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, NameAndPathOf64MegabytesCostAFewTimesTheirLength) {
  WriteLog([](std::ostream& oLog) {
    oLog << "\nRCS file: /repo/mod/a,v\nhead: 1.1\nsymbolic names:\n\t" << TLong{'x', 64} << ": 1.1.0.2\n"
         << "total revisions: 1\ndescription:\n"
         << Revision("1.1", "work") << PSZ_END;
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * ByProvider(19, 40) * 64 * 1024) << "KiB";
  EXPECT_TRUE(HasGoodFile());
  WriteLog([](std::ostream& oLog) {
    oLog << "\nRCS file: /repo/mod/" << TLong{'x', 64} << ",v\nhead: 1.1\nsymbolic names:\n"
         << "total revisions: 1\ndescription:\n"
         << Revision("1.1", "work") << PSZ_END;
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * ByProvider(22, 28) * 64 * 1024) << "KiB";
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, LongLineAnywhereCostsOnlyItself) {
  const TLong tLong{'1', 8};
  WriteLog([&](std::ostream& oLog) {
    oLog << tLong << "\n" << PSZ_END;
    oLog << "\nRCS file: " << tLong << "\n" << PSZ_END;
    oLog << "\nRCS file: /repo/mod/" << tLong << ",v\n" << PSZ_REVISION << "1.1\n" << PSZ_DATE << PSZ_END;
    oLog << Header("a", "\tB: 1.1.0.2\n") << tLong << "\n" << PSZ_REVISION << "1.1\n" << PSZ_DATE << PSZ_END;
    oLog << Header("b", "") << PSZ_REVISION << tLong << "\n" << PSZ_DATE << PSZ_END;
    oLog << Header("c", "") << PSZ_REVISION << "1.1\ndate: " << tLong << ";  author: joe;\nx\n" << PSZ_END;
    oLog << Header("d", "") << PSZ_REVISION << "1.1\ndate: 2001/09/09 01:46:40;  author: " << tLong
         << ";  state: Exp;\nx\n"
         << PSZ_END;
    oLog << Header("e", "") << PSZ_REVISION
         << "1.1\ndate: 2001/09/09 01:46:40;  author: joe;  state: " << tLong << ";\nx\n"
         << PSZ_END;
    oLog << "\nRCS file: /repo/mod/f,v\nsymbolic names:\n\t" << tLong << ": 1.1.0.2\n" << PSZ_END;
    oLog << "\nRCS file: /repo/mod/g,v\nsymbolic names:\n\tC: 1." << tLong << ".0.2\n" << PSZ_END;
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 10 * 64 * 1024) << "KiB";  // 8 bytes for each of the log's
  // cvsexact takes no header that lacks lines, and no revision with such a number or date; it names the two
  // files that have lost theirs.
  EXPECT_EQ(Count("{\"stream\""), ByProvider(4, 2));
  EXPECT_EQ(Count("{\"item\""), ByProvider(5, 4));
  EXPECT_EQ(Count("the log lacks revisions of "), ByProvider(0, 2));
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, MillionsOfShortLinesTakeNoMemory) {
  WriteLog([](std::ostream& oLog) {
    for (int i = 0; i < 500000; ++i)
      oLog << "-----------\nRCS file: /repo/mod/a,v\n\r\r\n==========\n----------\n \n==========\n";
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 64 * 1024) << "KiB";
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, MillionSymbolicNamesAreRead) {
  std::string strNames = "\tB: 1.1.0.2\n";
  for (int i = 0; i < 1000000; ++i)
    strNames += "\tT" + std::to_string(i) + ": 1." + std::to_string(i % 100) + "\n";
  WriteLog([&](std::ostream& oLog) { oLog << Header("a", strNames) << Revision("1.1", "x") << PSZ_END; });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 400 * 1024) << "KiB";
  EXPECT_EQ(Count("{\"stream\""), 2);
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, HundredThousandTagsAreStreams) {
  std::string strNames;
  for (int i = 0; i < 100000; ++i)
    strNames += "\tT" + std::to_string(i) + ": 1." + std::to_string(i % 100) + "\n";
  WriteLog([&](std::ostream& oLog) { oLog << Header("a", strNames) << Revision("1.1", "x") << PSZ_END; });
  Dump(true);
  EXPECT_EQ(Count("{\"stream\""), 100001);
  EXPECT_TRUE(HasGoodFile());
}

TEST_F(LargeLogTest, HundredThousandRevisionsOfOneFileAreItems) {
  WriteLog([](std::ostream& oLog) {
    oLog << Header("a", "", 100000, "1.100000");
    for (int i = 100000; i > 0; --i)
      oLog << Revision("1." + std::to_string(i), "x");
    oLog << PSZ_END;
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 200 * 1024) << "KiB";
  EXPECT_EQ(Count("{\"item\""), 100001);
  EXPECT_TRUE(HasGoodFile());
}

// Each branch on the one before, 200 components deep on either side of what a client ever writes.
TEST_F(LargeLogTest, NumbersOf400ComponentsAreBranchesAndRevisions) {
  std::string strNames, strRevisions, strNumber = "1.1";
  for (int i = 0; i < 199; ++i) {
    strRevisions += Revision(strNumber, "x");
    strNames += "\tB" + std::to_string(i) + ": " + strNumber + ".0.2\n";
    strNumber += ".2.1";
  }
  strRevisions += Revision(strNumber, "x");
  WriteLog([&](std::ostream& oLog) { oLog << Header("a", strNames, 200) << strRevisions << PSZ_END; });
  Dump();
  EXPECT_EQ(Count("{\"stream\""), 200);
  EXPECT_EQ(
      Count(ByProvider("{\"stream\":{\"id\":200,\"parent\":199,\"name\":\"B198\",", "\"name\":\"B198\",")),
      1);
  EXPECT_EQ(Count("{\"item\""), 201);
  // The preview prints no revisions.
  EXPECT_EQ(Count("\"revision\":\"" + strNumber + "\""), ByProvider(1, 0));
  EXPECT_TRUE(HasGoodFile());
}

/// A file in which the second branch sprouts from the first.
std::string Nest(const std::string& strHeader, const std::string& strRevisions) {
  return strHeader + strRevisions +
         "=============================================================================\n";
}

// Neither stack nor indents nor walks upwards: each file proposes a parent at the far end of the chain.
// cvsexact looks at each stream for each other one, so its time grows with the square: the chain is shorter
// there.
TEST_F(LargeLogTest, ThousandsOfStreamsInEachOtherAreFound) {
  const int nChain = ByProvider(20000, 4000);
  const std::string strLast = "S" + std::to_string(nChain);
  const std::string strRevisions = Revision("1.1", "x") + Revision("1.1.2.1", "x");
  const auto fnNames = [](const std::string& strOuter, const std::string& strInner) {
    return "\t" + strOuter + ": 1.1.0.2\n\t" + strInner + ": 1.1.2.1.0.2\n";
  };
  WriteLog([&](std::ostream& oLog) {
    for (int i = 0; i < nChain; ++i)
      oLog << Nest(
          Header("f" + std::to_string(i), fnNames("S" + std::to_string(i), "S" + std::to_string(i + 1)), 2),
          strRevisions);
    oLog << Nest(Header("g", fnNames("X", "D"), 2), strRevisions);
    for (int i = 0; i < 1000; ++i)
      oLog << Nest(Header("h" + std::to_string(i), fnNames(strLast, "D"), 2), strRevisions);
  });
  EXPECT_LT(Dump(), MEMORY_FACTOR * 128 * 1024) << "KiB";
  EXPECT_EQ(Count("{\"stream\""), nChain + 4);
  EXPECT_EQ(Count(ByProvider("{\"stream\":{\"id\":20002,\"parent\":20001,\"name\":\"S20000\",",
                             "\"name\":\"S4000\",")),
            1);
  EXPECT_TRUE(HasGoodFile());
}

// With the import log, which draws the tree: its text grows with the square of the depth.
TEST_F(LargeLogTest, HostShowsTwentyThousandStreams) {
  std::string strWide;
  for (int i = 1; i <= 18000; ++i)
    strWide += "\tW" + std::to_string(i) + ": 1.1.0." + std::to_string(2 * i) + "\n";
  WriteLog([&](std::ostream& oLog) {
    oLog << Header("a", strWide) << Revision("1.1", "x") << PSZ_END;
    for (int i = 0; i < 1999; ++i)
      oLog << Nest(Header("f", "\tS" + std::to_string(i) + ": 1.1.0.2\n\tS" + std::to_string(i + 1) +
                                   ": 1.1.2.1.0.2\n"),
                   Revision("1.1", "x"));
  });
  // Of cvsexact each stream has a changeset for what differs at its start.
  EXPECT_LT(Preview(), MEMORY_FACTOR * ByProvider(128, 400) * 1024) << "KiB";
  EXPECT_EQ(Count("{\"stream\""), 20001);
}

}  // namespace
}  // namespace TALVEK::TEST
