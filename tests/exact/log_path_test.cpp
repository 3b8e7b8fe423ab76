#include <gtest/gtest.h>

#include <string>

#include "exact/log_path.h"

namespace TALVEK::EXACT {
namespace {

struct TCase {
  const char* pszRoot;
  const char* pszModule;
  const char* pszRcsPath;
  const char* pszPath;
};

TEST(LogPathTest, CutsTheRepositorysDirectory) {
  for (const TCase& tCase : {
           TCase{"/cvs", "", "/cvs/mod/a.c,v", "mod/a.c"},
           TCase{"/cvs/", "mod", "/cvs/mod/a.c,v", "mod/a.c"},
           TCase{"/cvs", "", "/cvs/mod/Attic/a.c,v", "mod/a.c"},
           TCase{"/cvs", "", "/cvs/Attic/a.c,v", "a.c"},
           TCase{"/cvs", "", "/cvs/notAttic/a.c,v", "notAttic/a.c"},
           TCase{"/cvs", "", "/cvs/Attic/x/a.c,v", "Attic/x/a.c"},
           TCase{"/cvs", "", "/cvs/mod/a,v,v", "mod/a,v"},
           TCase{"/cvs", "", "/cvs/mod//sub/a.c,v", "mod/sub/a.c"},
           // A log from elsewhere.
           TCase{"/srv/cvs", "", "/mnt/old/srv/cvs/mod/a.c,v", "mod/a.c"},
           TCase{"/srv/cvs", "", "/home/cvs/mod/a.c,v", "mod/a.c"},
           TCase{"/srv/cvs", "mod", "/home/repo/mod/a.c,v", "mod/a.c"},
           TCase{"/srv/cvs", ".", "/home/repo/mod/a.c,v", "home/repo/mod/a.c"},
           TCase{"/srv/cvs", "", "/cvs2/mod/a.c,v", "cvs2/mod/a.c"},
           TCase{"", "", "/cvs/mod/a.c,v", "cvs/mod/a.c"},
           TCase{"C:/cvs", "", "C:/cvs/mod/a.c,v", "mod/a.c"},
           TCase{"C:/cvs", "", "mod/a.c,v", "mod/a.c"},
       }) {
    CRepositoryPath oPath(tCase.pszRoot, tCase.pszModule);
    oPath.Learn(tCase.pszRcsPath);
    EXPECT_EQ(oPath.Cut(tCase.pszRcsPath), tCase.pszPath) << tCase.pszRoot << " " << tCase.pszRcsPath;
    EXPECT_TRUE(oPath.Holds(tCase.pszRcsPath));
  }
}

TEST(LogPathTest, OrderOfTheClientsWalk) {
  const char* const apszInOrder[] = {"B", "a", "z", "a/y", "a/z", "a/b/x", "a.b/x", "b/x"};
  // "a" comes before "a.b" as a folder: the names are compared one by one, not the paths.
  for (const auto& pszFirst : apszInOrder)
    for (const auto& pszSecond : apszInOrder)
      EXPECT_EQ(WalkedBefore(pszFirst, pszSecond), &pszFirst < &pszSecond) << pszFirst << " " << pszSecond;
}

}  // namespace
}  // namespace TALVEK::EXACT
