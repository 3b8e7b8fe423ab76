#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "exact/log_choice.h"
#include "exact/log_text.h"
#include "tests/exact/rcs_file_text.h"

namespace TALVEK::EXACT {
namespace {

// As the client printed them, of a file with branches on branches.
const char* const apszPrinted[] = {"2.1",         "1.4",         "1.3",         "1.1",     "1.1.4.3",
                                   "1.1.4.1",     "1.1.2.2",     "1.3.4.3",     "1.3.4.2", "1.3.4.1",
                                   "1.3.4.3.2.1", "1.3.4.2.4.1", "1.3.4.2.2.1", "1.3.2.3", "1.3.2.1",
                                   "1.3.2.3.2.1", "1.3.2.1.2.1"};

TEST(LogChoiceTest, OrderOfTheClient) {
  for (const auto& pszFirst : apszPrinted) {
    for (const auto& pszSecond : apszPrinted) {
      TNumber nFirst, nSecond;
      ASSERT_TRUE(ReadNumber(pszFirst, nFirst) && ReadNumber(pszSecond, nSecond));
      EXPECT_EQ(PrintedBefore(nFirst, nSecond), &pszFirst < &pszSecond) << pszFirst << " " << pszSecond;
    }
  }
}

/// Candidates by number and time, such as "1.3 1.2@7".
class CCandidates {
 public:
  explicit CCandidates(const std::string& strText) {
    for (std::size_t nAt = 0; nAt < strText.size();) {
      const std::size_t nEnd = std::min(strText.find(' ', nAt), strText.size());
      const std::string strOne = strText.substr(nAt, nEnd - nAt);
      TRcsRevision tRevision;
      ReadNumber(strOne.substr(0, strOne.find('@')), tRevision.nNumber);
      if (strOne.find('@') != std::string::npos)
        tRevision.nTime = std::stol(strOne.substr(strOne.find('@') + 1));
      m_atRevisions.push_back(tRevision);
      nAt = nEnd + 1;
    }
  }
  std::string Choose(std::size_t nCount, const TNumber& nHead = {}) const {
    std::vector<TCandidate> atCandidates;
    for (const TRcsRevision& tRevision : m_atRevisions)
      atCandidates.push_back({&tRevision, &m_anNoBranches});
    const std::optional<TChoice> tChoice = ChooseRevisions(atCandidates, nCount, nHead, true);
    if (!tChoice) return "none";
    std::string strText;
    for (const std::size_t i : tChoice->anChosen)
      strText += (strText.empty() ? "" : " ") + std::to_string(i);
    return tChoice->bOnlyOne ? strText : strText + " or another";
  }

 private:
  std::vector<TRcsRevision> m_atRevisions;
  std::vector<TNumber> m_anNoBranches;
};

TEST(LogChoiceTest, ChoosesByCountAndOrder) {
  EXPECT_EQ(CCandidates("1.2 1.1").Choose(2), "0 1");
  EXPECT_EQ(CCandidates("1.2 1.2").Choose(2), "none");
  EXPECT_EQ(CCandidates("1.2").Choose(2), "none");
  EXPECT_EQ(CCandidates("1.2 1.1").Choose(0), "");
  EXPECT_EQ(CCandidates("1.2 1.7 1.1").Choose(2, {1, 2}), "0 2");
  EXPECT_EQ(CCandidates("1.1 1.2 1.3").Choose(2), "none");
}

TEST(LogChoiceTest, NumbersInAnyOrderWillDoWhereNoneIsLeftOver) {
  EXPECT_EQ(CCandidates("1.1 1.2 1.3").Choose(3), "0 1 2");
}

TEST(LogChoiceTest, FewestMessagesHoldText) {
  // 1.2 holds the pasted 1.2 and 1.1 of another file; a reading with one of them would make two odd messages.
  EXPECT_EQ(CCandidates("1.3@9 1.2@8 1.2@2 1.1@1 1.1@7").Choose(3), "0 1 4");
}

TEST(LogChoiceTest, FewestGaps) {
  EXPECT_EQ(CCandidates("1.4 1.1 1.3 1.2").Choose(3), "0 2 3");
}

TEST(LogChoiceTest, FewestClocksSetBack) {
  EXPECT_EQ(CCandidates("1.3@9 1.2@8 1.2@10 1.1@7").Choose(3), "0 1 3");
}

TEST(LogChoiceTest, LastOnesWhereAllIsEqual) {
  EXPECT_EQ(CCandidates("1.3 1.2 1.1 1.2 1.1").Choose(3), "0 3 4 or another");
}

}  // namespace
}  // namespace TALVEK::EXACT
