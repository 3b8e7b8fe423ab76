#include "verify/revision_list.h"

#include <gtest/gtest.h>
#include <wx/mstream.h>

#include <cstring>
#include <optional>
#include <ostream>
#include <string>

namespace TALVEK::VERIFY {
namespace {

struct TListCase {
  const char* pszName;
  const char* pszModule;
  const char* pszText;
  const char* pszExpected;  // "path revision" lines, or "none"
};

std::string Shown(const std::optional<TRevisionList>& astrList) {
  if (!astrList) return "none";
  std::string strShown;
  for (const auto& [strPath, strRevision] : *astrList)
    strShown += strPath + ' ' + strRevision + '\n';
  return strShown;
}

void PrintTo(const TListCase& tCase, std::ostream* poStream) {
  *poStream << tCase.pszName;
}

class ListingTest : public testing::TestWithParam<TListCase> {};
class DifferencesTest : public testing::TestWithParam<TListCase> {};

TEST_P(ListingTest, IsRead) {
  wxMemoryInputStream oInput(GetParam().pszText, strlen(GetParam().pszText));
  EXPECT_EQ(Shown(ReadListing(oInput, GetParam().pszModule)), GetParam().pszExpected);
}

TEST_P(DifferencesTest, AreRead) {
  wxMemoryInputStream oInput(GetParam().pszText, strlen(GetParam().pszText));
  EXPECT_EQ(Shown(ReadDifferences(oInput, GetParam().pszModule)), GetParam().pszExpected);
}

const TListCase LISTINGS[] = {
    {"Nothing", "m", "", ""},
    {"FilesOfFolders", "m", "m:\n/a/1.4/Sat Jun  9 23:29:41 2007//\nD/s////\n\nm/s:\n/b/1.1.1.2/x/-kb/Tx\n",
     "a 1.4\ns/b 1.1.1.2\n"},
    {"FolderThatLooksLikeAnEntry", "D", "D:\n/a/1.1/x//\nD/s////\n\nD/s:\n/b/1.2/x//\n", "a 1.1\ns/b 1.2\n"},
    {"WholeRepository", ".", ".:\nD/m////\n\nm:\n/a/1.1/x//\n", "m/a 1.1\n"},
    {"FolderWithinAModule", "m/s", "m/s:\n/b/1.2/x//\n", "b 1.2\n"},
    {"NameWithColon", "m", "m:\n/a:/1.1/x//\n", "a: 1.1\n"},
    {"AnotherFolderThanTheModule", "m", "real/place:\n/a/1.1/x//\n", "none"},
};
INSTANTIATE_TEST_SUITE_P(, ListingTest, testing::ValuesIn(LISTINGS),
                         [](const auto& tInfo) { return tInfo.param.pszName; });

const TListCase DIFFERENCES[] = {
    {"Nothing", "m", "", ""},
    {"NewFiles", "m", "File m/a is new; HEAD revision 1.4\nFile m/s/b is new; current revision 1.1.1.2\n",
     "a 1.4\ns/b 1.1.1.2\n"},
    {"NameThatReadsLikeTheLine", "m", "File m/x is new; y is new; T revision 1.2\n", "x is new; y 1.2\n"},
    {"AnotherKindOfLine", "m", "File m/a changed from revision 1.1 to 1.2\n", "none"},
    {"AnotherFolderThanTheModule", "m", "File real/a is new; HEAD revision 1.4\n", "none"},
};
INSTANTIATE_TEST_SUITE_P(, DifferencesTest, testing::ValuesIn(DIFFERENCES),
                         [](const auto& tInfo) { return tInfo.param.pszName; });

}  // namespace
}  // namespace TALVEK::VERIFY
