#include "host/git_refs.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace TALVEK::HOST {
namespace {

std::vector<std::string> AssignAll(const std::vector<std::string>& astrNames) {
  CRefNames oNames;
  std::vector<std::string> astrAssigned;
  for (const std::string& strName : astrNames)
    astrAssigned.push_back(oNames.Assign(strName));
  return astrAssigned;
}

using TNames = std::vector<std::string>;

TEST(RefNamesTest, EqualNamesGetSuffixes) {
  EXPECT_EQ(AssignAll({"a", "a", "a", "b"}), (TNames{"a", "a-2", "a-3", "b"}));
}

TEST(RefNamesTest, NamesThatBecomeEqualGetSuffixes) {
  EXPECT_EQ(AssignAll({"a_b", "a b", "a?b"}), (TNames{"a_b", "a_b-2", "a_b-3"}));
}

TEST(RefNamesTest, SuffixedNameThatIsTakenIsPassedOver) {
  EXPECT_EQ(AssignAll({"a", "a-2", "a"}), (TNames{"a", "a-2", "a-3"}));
}

TEST(RefNamesTest, NameBelowAnotherNameGetsItsSuffixThere) {
  EXPECT_EQ(AssignAll({"a", "a/b", "a/c/d"}), (TNames{"a", "a-2/b", "a-2/c/d"}));
}

TEST(RefNamesTest, NameAboveAnotherNameGetsASuffix) {
  EXPECT_EQ(AssignAll({"a/b/c", "a/b", "a"}), (TNames{"a/b/c", "a/b-2", "a-2"}));
}

TEST(RefNamesTest, NameOfTheOtherKindIsPassedOver) {
  CRefNames oBranches;
  CRefNames oTags;
  EXPECT_EQ(oBranches.Assign("a", &oTags), "a");
  EXPECT_EQ(oTags.Assign("a", &oBranches), "a-2");
  EXPECT_EQ(oTags.Assign("a/b", &oBranches), "a/b");
  EXPECT_EQ(oBranches.Assign("a-2", &oTags), "a-2-2");
}

TEST(RefNamesTest, NamesThatDifferOnlyInCaseStayWhereCaseCounts) {
  EXPECT_EQ(AssignAll({"Rel", "rel", "REL/x"}), (TNames{"Rel", "rel", "REL/x"}));
}

TEST(RefNamesTest, NamesThatDifferOnlyInCaseGetSuffixesWhereCaseIsIgnored) {
  CRefNames oNames(true);
  CRefNames oTags(true);
  EXPECT_EQ(oNames.Assign("Rel"), "Rel");
  EXPECT_EQ(oNames.Assign("rel"), "rel-2");
  EXPECT_EQ(oNames.Assign("REL/x"), "REL-3/x");
  EXPECT_EQ(oTags.Assign("rEL", &oNames), "rEL-3");
}

TEST(RefNamesTest, NamesThatOnlyBeginAlikeStay) {
  EXPECT_EQ(AssignAll({"a", "ab", "b/a", "b/ab"}), (TNames{"a", "ab", "b/a", "b/ab"}));
}

}  // namespace
}  // namespace TALVEK::HOST
