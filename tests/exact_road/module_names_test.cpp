// What may be imported: any name that `cvs checkout` takes. Trunk, branches and tags equal what the client
// gives for that name.

#include <gtest/gtest.h>

#include <string>

#include "tests/exact_road/exact_check.h"
#include "tests/exact_road/exact_import.h"
#include "tests/exact_road/module_world.h"
#include "tests/support/cvs_servers.h"
#include "tests/support/environment_scope.h"
#include "tests/support/shell.h"

namespace TALVEK::TEST {
namespace {

struct TName {
  const char* pszName;
  bool bWithFolders = false;  // an alias for several
};

const TName NAMES[] = {
    {"lib"},           {"www/mk"},     {"www/top.txt"}, {"rootfile"}, {"./www//mk/"},  {"."},
    {"CVSROOT"},       {"mk"},         {"mk/sub"},      {"renamed"},  {"renamed/sub"}, {"slashed"},
    {"files"},         {"filesin"},    {"top"},         {"al", true}, {"single"},      {"alal", true},
    {"less", true},    {"late", true}, {"loop", true},  {"amp"},      {"onlyamp"},     {"deep"},
    {"nest"},          {"rest"},       {"twice"},       {"withfile"}, {"www/other"},   {"www"},
    {"verylong", true}};

const CModuleWorld& World() {
  static const CModuleWorld s_oWorld;
  return s_oWorld;
}

/// Imports from this root, and shows what isn't as the client gives it.
std::string Differences(const std::string& strRoot, const TName& tName) {
  const CTempFolder oFolder;
  const TShellResult tImport = ImportModule({strRoot, tName.pszName}, EXACT_PROVIDER, oFolder / "git");
  if (tImport.nStatus != 0) return tImport.strOutput;
  // The client stumbles over a name that isn't in plain form.
  const std::string strName = std::string(tName.pszName) == "./www//mk/" ? "www/mk" : tName.pszName;
  const CGitRepository oGit(oFolder / "git");
  if (oGit.Refs().empty()) return "no refs";
  return Show(CompareRefs({World().Root(), strName, tName.bWithFolders}, oGit));
}

TEST(ModuleNamesTest, ImportEqualsTheCheckoutOfTheName) {
  for (const TName& tName : NAMES)
    EXPECT_EQ(Differences(World().Root().string(), tName), "") << tName.pszName;
}

TEST(ModuleNamesTest, AlsoThroughServers) {
  const CTempFolder oFolder;
  const CEnvironmentScope oHome("HOME", oFolder.Path().string());
  const CEnvironmentScope oShell("CVS_RSH", (oFolder / "rsh").string());
  const CEnvironmentScope oIdle("CVS_SESSION_IDLE", "1");
  WriteRemoteShell(oFolder / "rsh");
  CModuleWorld oWorld;
  // The root goes on a command line as it is, so nothing in it may have a blank.
  AdmitReader(oWorld.Folder(), oWorld.Root(), "word");
  const CListener oListener(PasswordServer(oWorld.Root().string()));
  for (const std::string& strRoot :
       {":fork:" + oWorld.Root().string(), ":ext:me@host:" + oWorld.Root().string(),
        ":pserver:reader:word@127.0.0.1:" + oListener.Port() + oWorld.Root().string()}) {
    for (const TName& tName : {TName{"renamed"}, {"al", true}, {"amp"}, {"."}})
      EXPECT_EQ(Differences(strRoot, tName), "") << strRoot << " " << tName.pszName;
  }
}

/// What the program says of a name, without what leads to its log.
std::string Refusal(const std::string& strName) {
  const CTempFolder oFolder;
  const std::string strOutput =
      ImportModule({World().Root(), strName}, EXACT_PROVIDER, oFolder / "git").strOutput;
  const std::size_t nLine = strOutput.rfind("talvek-import: the ");
  return nLine == std::string::npos ? strOutput
                                    : strOutput.substr(nLine, strOutput.find("; the ", nLine) - nLine);
}

TEST(ModuleNamesTest, NameThatNothingHasIsRefused) {
  EXPECT_EQ(Refusal("nosuch"),
            "talvek-import: the repository gives no history: cvs rlog: cannot find module `nosuch' - "
            "ignored; check "
            "the repository's path and the module's name");
  EXPECT_EQ(
      Refusal("onlyamp/mk"),
      "talvek-import: the repository gives no history: cvs rlog: modules file missing directory for module "
      "onlyamp/mk; check the repository's path and the module's name");
  EXPECT_EQ(Refusal("clash"),
            "talvek-import: the history can't be read: Failed to place 'lib/l.txt': 'clash' puts two folders "
            "or files "
            "of the repository in its place, of which the client gives one. Import the parts of 'clash' one "
            "by one; "
            "check the repository's path and the module's name");
}

}  // namespace
}  // namespace TALVEK::TEST
