#include "tests/host/host_fixture.h"

namespace TALVEK::TEST {
namespace {

using CCommandLineTest = CHostTest;

TEST_F(CCommandLineTest, HelpTeachesByExamples) {
  const TRun tRun = Run("--help");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_NE(tRun.strOutput.find("talvek-import check --repos-path /var/cvs --module-name tools"),
            std::string::npos);
  EXPECT_NE(tRun.strOutput.find("0 all imported, 1 failed, 2 wrong use, 3 imported with losses"),
            std::string::npos);
}

TEST_F(CCommandLineTest, HelpOfACommandShowsTheProvidersPropertiesWithLabelAndDefault) {
  const TRun tRun = Run("run --help");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_NE(tRun.strOutput.find("--keep-nothing-back,--no-keep-nothing-back{false}"), std::string::npos)
      << tRun.strOutput;
  EXPECT_NE(tRun.strOutput.find("Keep nothing back (default: on)"), std::string::npos);
  EXPECT_NE(tRun.strOutput.find("--fetch-program FILE=true"), std::string::npos);
  EXPECT_NE(tRun.strOutput.find("Fetching program"), std::string::npos);
}

TEST_F(CCommandLineTest, HelpAndVersionNeedNoProvider) {
  const TRun tHelp = RunPlain("--help --provider none");
  EXPECT_EQ(tHelp.nStatus, 0);
  EXPECT_NE(tHelp.strOutput.find("Subcommands:"), std::string::npos);
  const TRun tVersion = RunPlain("--version --provider none");
  EXPECT_EQ(tVersion.nStatus, 0);
  EXPECT_EQ(tVersion.strOutput.substr(0, 14), "talvek-import ");
}

TEST_F(CCommandLineTest, WrongUseGivesOneLineWithARemedy) {
  Script("stream|1|0|Main\n");
  WriteFile(Folder() / "full/file", "");
  const std::pair<const char*, const char*> atCases[] = {
      {"", "talvek-import: A subcommand is required; 'talvek-import --help' shows the options\n"},
      {"import", "talvek-import: There is no command 'import'; 'talvek-import --help' shows the options\n"},
      {"--quiet %s", "talvek-import: There is no command '%s'; 'talvek-import --help' shows the options\n"},
      {"preview --nothing",
       "talvek-import: The following argument was not expected: --nothing; 'talvek-import preview --help' "
       "shows "
       "the options\n"},
      {"preview --format xml",
       "talvek-import: --format: xml not in {text,jsonl}; 'talvek-import preview --help' shows the "
       "options\n"},
      {"run",
       "talvek-import: it isn't said where the import goes; give --into DIR or --fast-export FILE, one of "
       "them\n"},
      {"run --into a --fast-export b",
       "talvek-import: an import can't go to two places; give --into DIR or --fast-export FILE, one of "
       "them\n"},
      {"run --into a --trunk-branch 'a b'",
       "talvek-import: 'a b' can't be the name of a branch; give another with --trunk-branch, such as "
       "'a_b'\n"},
      {"run --into a --work a/b",
       "talvek-import: the repository and the work folder lie within each other; give another folder with "
       "--work "
       "or --into\n"},
      {"run --into full",
       "talvek-import: 'FOLDER/full' is not empty; give a folder that doesn't exist, an empty one, or an "
       "empty Git "
       "repository\n"},
      {"run --into full/file",
       "talvek-import: 'FOLDER/full/file' is not a folder; give a folder that doesn't exist, an empty one, "
       "or an "
       "empty Git repository\n"},
  };
  for (const auto& [pszArguments, pszError] : atCases) {
    const TRun tRun = Run(pszArguments);
    std::string strExpected = pszError;
    const std::size_t nFolder = strExpected.find("FOLDER");
    if (nFolder != std::string::npos) strExpected.replace(nFolder, 6, Folder().string());
    EXPECT_EQ(tRun.nStatus, 2) << pszArguments;
    EXPECT_EQ(tRun.strError, strExpected);
    EXPECT_EQ(tRun.strOutput, "");
  }
  EXPECT_EQ(Entries(Folder()), (std::vector<std::string>{"err", "full", "out", "script", "tmp"}));
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

TEST_F(CCommandLineTest, ProviderThatIsNotThereIsWrongUse) {
  const std::pair<const char*, const char*> atCases[] = {
      {"properties --provider none",
       "talvek-import: there is no provider 'none' (talvek-em-none.so); check --provider, or say where it is "
       "with "
       "--provider-path\n"},
      {"properties --provider ../x",
       "talvek-import: '../x' is no provider's name; names have lower-case letters, digits and '_', such as "
       "cvs\n"},
      {"properties --provider-path=/nowhere --provider=fake",
       "talvek-import: there is no provider 'fake' (talvek-em-fake.so); check --provider, or say where it is "
       "with "
       "--provider-path\n"},
  };
  for (const auto& [pszArguments, pszError] : atCases) {
    const TRun tRun = RunPlain(pszArguments);
    EXPECT_EQ(tRun.nStatus, 2) << pszArguments;
    EXPECT_EQ(tRun.strError, pszError);
  }
}

TEST_F(CCommandLineTest, PathToAPluginNamesItsProvider) {
  EXPECT_EQ(RunPlain(std::string("properties --provider-path ") + TALVEK_FAKE_FOLDER + "/talvek-em-fake.so")
                .nStatus,
            0);
}

TEST_F(CCommandLineTest, LibraryThatIsNoProviderFails) {
  std::filesystem::copy_file(std::string(TALVEK_FAKE_FOLDER) + "/talvek-em-fake.so",
                             Folder() / "talvek-em-other.so");
  const TRun tRun = RunPlain("properties --provider other --provider-path .");
  EXPECT_EQ(tRun.nStatus, 1);
  EXPECT_NE(
      tRun.strError.find("is no import provider: it has no talvek_em_other_getoptions; check --provider and "
                         "--provider-path\n"),
      std::string::npos)
      << tRun.strError;
}

}  // namespace
}  // namespace TALVEK::TEST
