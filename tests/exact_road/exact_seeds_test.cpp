// Random repositories. `make fuzz-repositories` tries others.

#include <gtest/gtest.h>

#include "tests/exact_road/exact_check.h"
#include "tests/exact_road/exact_import.h"
#include "tests/exact_road/random_world.h"
#include "tests/support/temp_folder.h"

namespace TALVEK::TEST {
namespace {

class ExactSeedTest : public ::testing::TestWithParam<unsigned> {};

TEST_P(ExactSeedTest, ImportEqualsTheRepository) {
  const CRandomWorld oRandom(GetParam());
  const TCvsModule tModule = {oRandom.World().Root(), oRandom.World().Module()};
  const CTempFolder oFolder;
  const TShellResult tImport = ImportModule(tModule, EXACT_PROVIDER, oFolder / "git");
  ASSERT_EQ(tImport.nStatus, 0) << tImport.strOutput;
  EXPECT_EQ(Show(CompareAll(tModule, oFolder / "git")), "") << "seed " << GetParam() << "\n"
                                                            << oRandom.Story();
}

INSTANTIATE_TEST_SUITE_P(Seeds, ExactSeedTest, ::testing::Range(1u, 37u));

}  // namespace
}  // namespace TALVEK::TEST
