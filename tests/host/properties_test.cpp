#include "host/property_table.h"

#include "tests/host/host_fixture.h"

namespace TALVEK::TEST {
namespace {

using CPropertiesTest = CHostTest;

TEST(OptionNameTest, WordsOfAKeyAreJoinedByHyphens) {
  const std::pair<const wchar_t*, const char*> atCases[] = {
      {L"ModuleName", "module-name"},
      {L"CVSPath", "cvs-path"},
      {L"ForceFileByFile", "force-file-by-file"},
      {L"PathCVS", "path-cvs"},
      {L"Log File", "log-file"},
      {L"Use2Files", "use2-files"},
      {L"lower", "lower"},
      {L"_x_", "x"},
      {L"\u00e4", ""},
      {L"", ""},
  };
  for (const auto& [pszKey, pszOption] : atCases)
    EXPECT_EQ(HOST::OptionName(pszKey), pszOption);
}

TEST_F(CPropertiesTest, TextListsTheProvidersTable) {
  const TRun tRun = Run("properties");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(tRun.strError, "");
  EXPECT_EQ(tRun.strOutput,
            "ScriptPath\n    Path of the script\n    option   --script-path\n    type     text\n"
            "TracePath\n    File that notes the calls\n    option   --trace-path\n    type     text\n"
            "KeepNothingBack\n    Keep nothing back\n    option   --[no-]keep-nothing-back\n"
            "    type     switch\n    default  1\n"
            "UpsideDown\n    Work upside down\n    option   --[no-]upside-down\n    type     switch\n"
            "FETCHProgram\n    Fetching program\n    option   --fetch-program\n    type     executable\n"
            "    default  true\n"
            "Quiet\n    Named as an option of the host\n    type     text\n"
            "OnlyX\n    Refuses all but x\n    option   --only-x\n    type     text\n    default  x\n");
}

TEST_F(CPropertiesTest, JsonListsTheProvidersTable) {
  const TRun tRun = Run("properties --format json");
  EXPECT_EQ(tRun.nStatus, 0);
  EXPECT_EQ(
      tRun.strOutput.substr(0, 168),
      "[\n  {\n    \"key\": \"ScriptPath\",\n    \"label\": \"Path of the script\",\n    \"default\": \"\",\n"
      "    \"type\": \"text\",\n    \"option\": \"--script-path\"\n  },\n  {\n    \"key\": \"TracePath\",\n");
}

// Every property is set, given or not, before any other call.
TEST_F(CPropertiesTest, EveryPropertyIsSetToItsDefaultUnlessGiven) {
  Script("stream|1|0|Main\n");
  const TRun tRun =
      Run("preview --trace-path trace --no-keep-nothing-back --upside-down --set Quiet=a=b --fetch-program "
          "/bin/true");
  EXPECT_EQ(tRun.nStatus, 0) << tRun.strError;
  EXPECT_EQ(Trace().substr(0, Trace().find("CheckEnvironment")),
            "SetProperty TracePath=trace\n"
            "SetProperty KeepNothingBack=0\n"
            "SetProperty UpsideDown=1\n"
            "SetProperty FETCHProgram=/bin/true\n"
            "SetProperty Quiet=a=b\n"
            "SetProperty OnlyX=x\n");
}

TEST_F(CPropertiesTest, OptionGoesBeforeSetAndTheLastOneWins) {
  Script("stream|1|0|Main\n");
  EXPECT_EQ(Run("preview --trace-path trace --set UpsideDown=0 --set UpsideDown=1 --no-upside-down").nStatus,
            0);
  EXPECT_NE(Trace().find("SetProperty UpsideDown=0\n"), std::string::npos);
  EXPECT_EQ(Run("preview --trace-path trace2 --no-upside-down --upside-down").nStatus, 0);
  EXPECT_NE(ReadFile(Folder() / "trace2").find("SetProperty UpsideDown=1\n"), std::string::npos);
}

// The provider may run a program in another working folder, so its path must be absolute.
TEST_F(CPropertiesTest, ProgramBelowTheWorkingFolderIsGivenWithItsWholePath) {
  Script("stream|1|0|Main\n");
  std::filesystem::create_symlink("/bin/true", Folder() / "fetch");
  EXPECT_EQ(Run("preview --fetch-program ./fetch --trace-path trace").nStatus, 0);
  EXPECT_NE(Trace().find("SetProperty FETCHProgram=" + (Folder() / "./fetch").string() + "\n"),
            std::string::npos)
      << Trace();
}

TEST_F(CPropertiesTest, EmptyValueIsAValue) {
  Script("stream|1|0|Main\n");
  EXPECT_EQ(Run("preview --fetch-program= --trace-path trace").nStatus, 0);
  EXPECT_NE(Trace().find("SetProperty FETCHProgram=\n"), std::string::npos);
}

TEST_F(CPropertiesTest, ValuesThatCantBeAreWrongUse) {
  Script("stream|1|0|Main\n");
  const std::pair<const char*, const char*> atCases[] = {
      {"preview --only-x y", "talvek-import: the provider refuses 'y' for OnlyX; it must be x\n"},
      {"preview --set UpsideDown=true",
       "talvek-import: the switch UpsideDown can't be 'true'; write 1 for on and 0 for off\n"},
      {"preview --set Upsidedown=1",
       "talvek-import: the provider has no property 'Upsidedown'; 'talvek-import properties' lists them\n"},
      {"preview --set Upsidedown", "talvek-import: --set Upsidedown has no '='; write --set Key=Value\n"},
  };
  for (const auto& [pszArguments, pszError] : atCases) {
    const TRun tRun = Run(pszArguments);
    EXPECT_EQ(tRun.nStatus, 2) << pszArguments;
    EXPECT_EQ(tRun.strError, pszError);
    EXPECT_EQ(tRun.strOutput, "");
  }
  EXPECT_EQ(Leftovers(), std::vector<std::string>());
}

}  // namespace
}  // namespace TALVEK::TEST
