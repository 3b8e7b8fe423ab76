#pragma once

#include <string>

#include "verify/comparison.h"
#include "verify/cvs_module.h"
#include "verify/log_facts.h"

namespace TALVEK::VERIFY {

/// Tells which rule of the provider `cvs`, which goes by rules and not by what names give, makes a file
/// differ.
///
/// Cost     May ask the server about the file: for the few that are shown.
class CProviderRules {
 public:
  /// `bNested`: the import gave branches the branch that they sprout from as parent.
  CProviderRules(CCvsModule& oModule, const CLogFacts& oFacts, bool bNested)
      : m_oModule(oModule), m_oFacts(oFacts), m_bNested(bNested) {}

  /// Empty when none of them explains it.
  std::string RuleFor(const TRow& tRow, const TProblem& tProblem);

 private:
  std::string RuleForRevision(const TProblem& tProblem);
  std::string RuleForName(const TRow& tRow, const TProblem& tProblem) const;

  CCvsModule& m_oModule;
  const CLogFacts& m_oFacts;
  bool m_bNested;
};

}  // namespace TALVEK::VERIFY
