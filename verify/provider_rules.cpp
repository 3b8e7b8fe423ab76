#include "verify/provider_rules.h"

#include <algorithm>

#include "core/text_codec.h"
#include "mce/cvs_revision.h"

namespace TALVEK::VERIFY {
namespace {

/// Of the branch on which a revision lies; empty for the trunk.
MCE::TCVSRevision LineOf(const std::string& strRevision) {
  const MCE::TCVSRevision oRevision(VCM::FromBytes(strRevision));
  MCE::TCVSRevision oLine;
  if (oRevision.GetCount() <= 2) return oLine;
  for (int nPart = 0; nPart + 1 < oRevision.GetCount(); ++nPart)
    oLine.Add(oRevision[nPart]);
  return oLine;
}

/// `cvs import` gives its branches odd numbers, people get even ones.
bool IsVendorLine(const MCE::TCVSRevision& oLine) {
  return oLine.GetCount() > 0 && oLine[oLine.GetCount() - 1] % 2 == 1;
}

}  // namespace

std::string CProviderRules::RuleFor(const TRow& tRow, const TProblem& tProblem) {
  if (tProblem.eKind == TProblemKind::REFUSED) return "";
  std::string strRule = tProblem.strRevision.empty() ? "" : RuleForRevision(tProblem);
  if (strRule.empty()) strRule = RuleForName(tRow, tProblem);
  return strRule;
}

std::string CProviderRules::RuleForRevision(const TProblem& tProblem) {
  const MCE::TCVSRevision oLine = LineOf(tProblem.strRevision);
  if (IsVendorLine(oLine)) return "provider cvs imports no revision on a vendor branch";
  if (m_oFacts.IsUnnamed(VCM::ToBytes(oLine.GetText()), tProblem.strPath))
    return "provider cvs imports no branch without a name";
  const std::string strState = m_oModule.StateOf(tProblem.strPath, tProblem.strRevision);
  if (strState.empty() || VCM::EqualsNoCase(VCM::FromBytes(strState).View(), L"Exp")) return "";
  return "provider cvs imports no revision whose state isn't Exp; this one is " + strState;
}

std::string CProviderRules::RuleForName(const TRow& tRow, const TProblem& tProblem) const {
  if (tRow.eKind != TRow::BRANCH && tRow.eKind != TRow::TAG) return "";
  if (tProblem.eKind == TProblemKind::EXTRA)
    return "provider cvs starts a branch or tag with all files of its parent, also those without the name";
  // What the branch itself has changed doesn't come from where it starts.
  if (m_oFacts.HasChanged(tRow.strName, tProblem.strPath)) return "";
  if (!m_bNested && LineOf(tProblem.strRevision).GetCount() > 0)
    return "without --nested-branches provider cvs starts every branch and tag from the trunk";
  return "provider cvs starts a branch or tag from one changeset of its parent, whatever revision the name "
         "is "
         "on in a file";
}

}  // namespace TALVEK::VERIFY
