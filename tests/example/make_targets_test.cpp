// What `make` does for a newcomer, without doing it.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/shell.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

std::string Plan(const std::string& strTarget) {
  return ShellOutput("make --no-print-directory -n -C " TALVEK_SOURCE_DIR " " + strTarget);
}

bool Has(const std::string& strText, const std::string& strPart) {
  return strText.find(strPart) != std::string::npos;
}

TEST(MakeTargetsTest, ImportInstallsAndBuildsOnlyWhatAnImportNeeds) {
  const std::string strPlan = Plan("import");
  EXPECT_TRUE(Has(strPlan, "tools/install-packages import\n")) << strPlan;
  EXPECT_TRUE(Has(strPlan, "--target import-programs")) << strPlan;
  EXPECT_FALSE(Has(strPlan, "install-packages build")) << strPlan;
}

TEST(MakeTargetsTest, TestInstallsAndBuildsEverything) {
  const std::string strPlan = Plan("test");
  EXPECT_TRUE(Has(strPlan, "tools/install-packages import build\n")) << strPlan;
  EXPECT_FALSE(Has(strPlan, "--target")) << strPlan;
}

// GoogleTest isn't among what an import needs, and its programs take most of the time.
TEST(MakeTargetsTest, ProgramsOfAnImportAreBuiltWithoutTheTests) {
  const CTempFolder oFolder;
  const std::string strBuild = ShellQuote((oFolder / "build").string());
  const TShellResult tConfigure =
      RunShell("cmake -G Ninja -S " TALVEK_SOURCE_DIR " -B " + strBuild +
               " -DCMAKE_BUILD_TYPE=Release -DCMAKE_DISABLE_FIND_PACKAGE_GTest=ON 2>&1");
  ASSERT_EQ(tConfigure.nStatus, 0) << tConfigure.strOutput;
  const std::string strSteps = ShellOutput("ninja -n -C " + strBuild + " import-programs");
  for (const char* pszProgram :
       {"bin/talvek-import", "lib/talvek-em-cvs.so", "lib/talvek-em-cvsexact.so", "bin/cvs-session"})
    EXPECT_TRUE(Has(strSteps, pszProgram)) << pszProgram;
  for (const char* pszFolder : {" tests/", " fuzz/", " bench/", "import_dump"})
    EXPECT_FALSE(Has(strSteps, pszFolder)) << pszFolder;
}

}  // namespace
}  // namespace TALVEK::TEST
