#include "tests/host/host_fixture.h"

namespace TALVEK::TEST {
namespace {

using CPreviewTest = CHostTest;

// Streams, changesets and items in mixed order; a circle of parents (4 and 5); a byte that isn't UTF-8.
constexpr const char* SCRIPT =
    "stream|3|1|late\n"
    "stream|1|0|Main\n"
    "stream|2|3|deep|2|tag\n"
    "stream|4|5|A\n"
    "stream|5|4|B\n"
    "change|2|1|joe|200|second\\x0aline\n"
    "item|2|1|src/a.c\n"
    "item|2|0|caf\\xe9\n"
    "change|9|1|joe|100|caf\\xc3\\xa9 \\xe9\n"
    "item|9|0|src/a.c\n"
    "change|1|1|ann|200|tie\n"
    "item|1|2|/abs\n"
    "change|7|3|ann|150|x\n"
    "item|7|3|b\n"
    "change|8|5|ann|1000000000|x\n"
    "item|8|0|c\n";

TEST_F(CPreviewTest, JsonLinesAreSortedAndLoseNoByte) {
  Script(SCRIPT);
  const TRun tRun = Run("preview --format jsonl --quiet");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError, "");
  EXPECT_EQ(tRun.strOutput,
            R"({"stream":{"id":1,"parent":0,"name":"Main","created":0,"max_created":0,"base_change":0}}
{"stream":{"id":2,"parent":3,"name":"deep","created":0,"max_created":0,"base_change":2}}
{"stream":{"id":3,"parent":1,"name":"late","created":0,"max_created":0,"base_change":0}}
{"stream":{"id":4,"parent":5,"name":"A","created":0,"max_created":0,"base_change":0}}
{"stream":{"id":5,"parent":4,"name":"B","created":0,"max_created":0,"base_change":0}}
{"change":{"id":9,"stream":1,"user":"joe","time":100,"comment":"caf)"
            "\xc3\xa9"
            R"( \udce9","next_item":2}}
{"change":{"id":1,"stream":1,"user":"ann","time":200,"comment":"tie","next_item":2}}
{"change":{"id":2,"stream":1,"user":"joe","time":200,"comment":"second\nline","next_item":3}}
{"change":{"id":7,"stream":3,"user":"ann","time":150,"comment":"x","next_item":2}}
{"change":{"id":8,"stream":5,"user":"ann","time":1000000000,"comment":"x","next_item":2}}
{"item":{"change":1,"item":1,"type":2,"path":"abs"}}
{"item":{"change":2,"item":1,"type":1,"path":"src/a.c"}}
{"item":{"change":2,"item":2,"type":0,"path":"caf\udce9"}}
{"item":{"change":7,"item":1,"type":3,"path":"b"}}
{"item":{"change":8,"item":1,"type":0,"path":"c"}}
{"item":{"change":9,"item":1,"type":0,"path":"src/a.c"}}
)");
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CPreviewTest, TextIsATreeWithCounts) {
  Script(SCRIPT);
  const TRun tRun = Run("preview --quiet");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(
      tRun.strOutput,
      "Main: 3 changesets, 4 items by 2 authors, 1970-01-01 00:01:40 UTC to 1970-01-01 00:03:20 UTC\n"
      "  late: 1 changeset, 1 item by 1 author, 1970-01-01 00:02:30 UTC to 1970-01-01 00:02:30 UTC\n"
      "    deep (tag): no changesets\n"
      "A: no changesets (its parents stand in a circle)\n"
      "B: 1 changeset, 1 item by 1 author, 2001-09-09 01:46:40 UTC to 2001-09-09 01:46:40 UTC (its parents "
      "stand in a circle)\n"
      "5 streams, 5 changesets, 6 items\n");
}

TEST_F(CPreviewTest, SameBytesInEveryLocale) {
  Script(SCRIPT);
  const std::string strArguments = std::string("preview --format jsonl --quiet --provider-path ") +
                                   TALVEK_FAKE_FOLDER + "/talvek-em-fake.so --set ScriptPath=script";
  EXPECT_EQ(RunPlain(strArguments, "LC_ALL=C").strOutput, RunPlain(strArguments, "LC_ALL=C.UTF-8").strOutput);
}

TEST_F(CPreviewTest, ControlCharactersOfNamesDontReachTheTerminal) {
  Script("stream|1|0|a\\x1b[2Jb\\x0a\n");
  EXPECT_EQ(Run("preview --quiet").strOutput,
            "a\\x1b[2Jb\\x0a: no changesets\n1 stream, 0 changesets, 0 items\n");
}

TEST_F(CPreviewTest, RetrievesNothing) {
  Script(SCRIPT);
  EXPECT_EQ(Run("preview --quiet --trace-path trace").nStatus, 0);
  EXPECT_EQ(Trace(),
            "SetProperty TracePath=trace\nSetProperty KeepNothingBack=1\nSetProperty UpsideDown=\n"
            "SetProperty FETCHProgram=true\nSetProperty Quiet=\nSetProperty OnlyX=x\n"
            "CheckEnvironment\nInitialiseClients\nOpenLog\nLogToConnection\nEstablishStreams\n"
            "EstablishChangesets\nResolveStreamLinkage\nRemoveClients\nGetLogPath\nDestroy\n");
}

TEST_F(CPreviewTest, ProgressIsPlainLinesWithoutATerminal) {
  Script(SCRIPT);
  EXPECT_EQ(Run("preview").strError,
            "talvek-import: reading the history\ntalvek-import: walking the history\n");
}

TEST_F(CPreviewTest, EmptyHistoryIsReported) {
  Script("stream|1|0|Main\n");
  const TRun tRun = Run("preview --quiet");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError, "talvek-import: there is nothing to import: the history has no changesets\n");
}

// A part of the history was read: it is shown, with a warning that it isn't all.
TEST_F(CPreviewTest, HistoryCutShortIsShownWithALoudWarning) {
  Script(
      std::string(SCRIPT) +
      "log|Performing command fetch it\nlog|    ** fetch: Logging src\nlog|    ** fetch: broken file b,v\n"
      "log|Generating rlog command failed. This usually indicated that your cvs repository is corrupted.\n");
  const TRun tRun = Run("preview --quiet");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError,
            "talvek-import: warning: ONLY A PART OF THE HISTORY COULD BE READ: fetch: broken file b,v\n");
  EXPECT_NE(tRun.strOutput.find("5 streams, 5 changesets, 6 items\n"), std::string::npos);
}

TEST_F(CPreviewTest, IncompleteLogOfAFileIsAWarning) {
  Script(std::string(SCRIPT) + "log|Incomplete log of 'mod/x.c': 2 of 3 revisions\n");
  EXPECT_EQ(Run("preview --quiet").strError,
            "talvek-import: warning: the log lacks revisions of 'mod/x.c': 2 of 3 revisions\n");
}

TEST_F(CPreviewTest, RepositoryThatGivesNothingFailsWithTheClientsMessage) {
  Script(
      "stream|1|0|Main\n"
      "log|Performing command fetch it\nlog|    ** fetch: can't reach host\n"
      "log|Generating rlog command failed. This usually indicated that your cvs repository is corrupted.\n");
  for (const char* pszCommand : {"preview --quiet", "run --quiet --into target"}) {
    const TRun tRun = Run(pszCommand);
    EXPECT_EQ(tRun.nStatus, 1);
    EXPECT_EQ(tRun.strOutput, "");
    ASSERT_EQ(Leftovers().size(), 1u);
    EXPECT_EQ(tRun.strError,
              "talvek-import: the repository gives no history: fetch: can't reach host; check the "
              "repository's path "
              "and the module's name; the command was: fetch it; the import log is " +
                  (Folder() / "tmp" / Leftovers().front()).string() + '\n');
    std::filesystem::remove(Folder() / "tmp" / Leftovers().front());
    EXPECT_FALSE(std::filesystem::exists(Folder() / "target"));
  }
}

TEST_F(CPreviewTest, ImportLogIsKeptWhereItIsWanted) {
  Script("stream|1|0|Main\nlog|hello\n");
  EXPECT_EQ(Run("preview --quiet --import-log log --trace-path trace").nStatus, 0);
  EXPECT_EQ(ReadFile(Folder() / "log"), "42: hello\n");
  EXPECT_NE(Trace().find("LogStreamsAndChanges\n"), std::string::npos);
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CPreviewTest, ProviderThatFailsFails) {
  const std::pair<const char*, const char*> atCases[] = {
      {"fail|streams\nlog|Failed to open it.\n",
       "talvek-import: the history can't be read: Failed to open it; check the repository's path and the "
       "module's name\n"},
      {"fail|changesets\n",
       "talvek-import: the provider can't keep its import database; look for room and permissions in the "
       "temporary "
       "folder\n"},
      {"claim|2\n",
       "talvek-import: history lost in the import database: 2 changesets recorded, 1 read back; look for "
       "room in "
       "the temporary folder and import again\n"},
      {"claim|0\n",
       "talvek-import: history lost in the import database: 0 changesets recorded, but more come back; look "
       "for "
       "room in the temporary folder and import again\n"},
      {"stream|2|9|lost\n",
       "talvek-import: only 1 of 2 streams can be reached: the others have parents that don't exist\n"},
  };
  for (const auto& [pszLines, pszError] : atCases) {
    Script(std::string("stream|1|0|Main\nchange|1|1|joe|1|x\n") + pszLines);
    const TRun tRun = Run("preview --quiet --import-log log --trace-path trace");
    EXPECT_EQ(tRun.nStatus, 1) << pszLines;
    EXPECT_EQ(tRun.strError, pszError);
    EXPECT_EQ(tRun.strOutput, "");
    EXPECT_TRUE(Trace().ends_with("RemoveClients\nGetLogPath\nDestroy\n"));
    EXPECT_EQ(Leftovers(), std::vector<std::string>());
  }
}

}  // namespace
}  // namespace TALVEK::TEST
