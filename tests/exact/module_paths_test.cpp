#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <utility>

#include "exact/module_paths.h"

namespace TALVEK::EXACT {
namespace {

const TModules MODULES = ReadModules(
    "mk -d some/where www/mk\n"
    "files tools t1 t3\n"
    "top -l www\n"
    "al -a www/mk lib\n"
    "single -a www/mk\n"
    "less -a !www/mk/sub www lib/l.txt\n"
    "late -a www !www/mk/sub lib\n"
    "amp app &lib &mk\n"
    "only &lib &less\n"
    "deep -d x/y app &amp\n"
    "twice app &app\n"
    "all .\n"
    "www/other lib\n"
    "loop -a loop lib\n"
    "clash -d c www &into\n"
    "into -d other lib\n"
    "out -a lib up\n"
    "up -d ../up lib\n");

/// Where a file goes: "a.c b.c" for two places.
std::string Places(const std::string& strName, std::string_view strPath) {
  std::string strText;
  for (const std::string& strPlace : CModulePaths(strName, MODULES).InModule(strPath))
    strText += (strText.empty() ? "" : " ") + strPlace;
  return strText;
}

struct TCase {
  const char* pszName;
  const char* pszInRepository;
  const char* pszInModule;
};

const TCase CASES[] = {
    {"mod", "mod/sub/a.c", "sub/a.c"},
    {"mod", "model/a.c", ""},
    {"www/mk", "www/mk/a.txt", "a.txt"},
    {"www/mk", "www/mk2/a.txt", ""},
    {".", "www/mk/a.txt", "www/mk/a.txt"},
    {".", "CVSROOT/modules", "CVSROOT/modules"},
    {"all", "www/mk/a.txt", "www/mk/a.txt"},
    {"www/top.txt", "www/top.txt", "top.txt"},
    {"top.txt", "top.txt", "top.txt"},
    {"mk", "www/mk/sub/b.txt", "sub/b.txt"},
    {"mk/sub", "www/mk/sub/b.txt", "sub/b.txt"},
    {"mk/sub", "www/mk/a.txt", ""},
    // A folder goes before a module with that head, a module of just that name before the folder.
    {"www/other", "lib/l.txt", "l.txt"},
    {"www/other", "www/other/o.txt", ""},
    {"www", "www/other/o.txt", "other/o.txt"},
    {"files", "tools/t1", "t1"},
    {"files", "tools/t2", ""},
    {"top", "www/top.txt", "top.txt"},
    {"top", "www/mk/a.txt", ""},
    {"al", "www/mk/a.txt", "www/mk/a.txt"},
    {"al", "lib/in/i.txt", "lib/in/i.txt"},
    {"single", "www/mk/a.txt", "a.txt"},
    {"less", "www/mk/a.txt", "www/mk/a.txt"},
    {"less", "www/mk/sub/b.txt", ""},
    {"less", "www/mk/sub/deep/b.txt", ""},
    {"less", "www/mk/subway/b.txt", "www/mk/subway/b.txt"},
    {"less", "lib/l.txt", "lib/l.txt"},
    {"late", "www/mk/sub/b.txt", "www/mk/sub/b.txt"},
    {"amp", "app/m.txt", "m.txt"},
    {"amp", "lib/in/i.txt", "lib/in/i.txt"},
    {"amp", "www/mk/a.txt", "some/where/a.txt"},
    {"only", "lib/l.txt", "lib/l.txt"},
    {"only", "www/top.txt", "www/top.txt"},
    // What an alias leaves out is seen from where it is included.
    {"only", "www/mk/sub/b.txt", ""},
    {"deep", "app/m.txt", "m.txt amp/m.txt"},
    {"deep", "lib/l.txt", "amp/lib/l.txt"},
    {"twice", "app/m.txt", "m.txt app/m.txt"},
    {"loop", "lib/l.txt", "lib/l.txt"},
    {"out", "lib/l.txt", "lib/l.txt"},
};

TEST(ModulePathsTest, PathsAreThoseOfACheckout) {
  for (const TCase& tCase : CASES)
    EXPECT_EQ(Places(tCase.pszName, tCase.pszInRepository), tCase.pszInModule)
        << tCase.pszName << ": " << tCase.pszInRepository;
}

TEST(ModulePathsTest, EachPlaceLeadsBackToItsFile) {
  for (const TCase& tCase : CASES) {
    CModulePaths oPaths(tCase.pszName, MODULES);
    const CModulePaths::TResult nResult = oPaths.Add(tCase.pszInRepository);
    EXPECT_EQ(nResult, *tCase.pszInModule ? CModulePaths::TAKEN : CModulePaths::LEFT_OUT) << tCase.pszName;
    for (const std::string& strPlace : oPaths.InModule(tCase.pszInRepository))
      EXPECT_EQ(oPaths.InRepository(strPlace), tCase.pszInRepository) << tCase.pszName;
  }
}

TEST(ModulePathsTest, OneFolderIsOneFolder) {
  for (const char* pszName : {"mod", "www/mk", ".", "all", "mk", "single", "www/other"})
    EXPECT_TRUE(CModulePaths(pszName, MODULES).IsOneFolder()) << pszName;
  for (const char* pszName : {"files", "top", "al", "less", "amp", "only", "twice"})
    EXPECT_FALSE(CModulePaths(pszName, MODULES).IsOneFolder()) << pszName;
  CModulePaths oFile("www/top.txt");
  EXPECT_EQ(oFile.Add("www/top.txt"), CModulePaths::TAKEN);
  EXPECT_FALSE(oFile.IsOneFolder());
  EXPECT_EQ(CModulePaths("mk", MODULES).Folder(), "www/mk");
  EXPECT_EQ(CModulePaths("all", MODULES).Folder(), "");
}

// The client refuses the second of two folders in one place, whatever files they have.
TEST(ModulePathsTest, TwoFoldersInOnePlaceClash) {
  CModulePaths oPaths("clash", MODULES);
  EXPECT_EQ(oPaths.Add("www/top.txt"), CModulePaths::TAKEN);
  EXPECT_EQ(oPaths.Add("www/other/deep/o.txt"), CModulePaths::TAKEN);
  EXPECT_EQ(oPaths.Add("lib/l.txt"), CModulePaths::CLASHES);
}

TEST(ModulePathsTest, NameInPlainForm) {
  for (const auto& [pszName, pszPlain] : {std::pair("www/mk", "www/mk"),
                                          {"./www//mk/", "www/mk"},
                                          {"/www", "www"},
                                          {".", "."},
                                          {"./", "."},
                                          {"", "."},
                                          {"..x/.y", "..x/.y"}})
    EXPECT_EQ(PlainModuleName(pszName), pszPlain) << pszName;
}

}  // namespace
}  // namespace TALVEK::EXACT
