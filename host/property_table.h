#pragma once

#include <string>
#include <utility>
#include <vector>

#include "core/string.h"
#include "mce/provider.h"

namespace TALVEK::HOST {

/// One property that a provider publishes, and the value it will be given.
struct TProperty {
  VCM::CString strLabel;
  VCM::CString strKey;
  VCM::CString strDefault;      ///< the provider's
  VCM::CString strHostDefault;  ///< what we set when the administrator says nothing; seldom another
  unsigned long nType = MCE::TPropertyInfo::TYPE_TEXT;
  std::string strOption;  ///< "module-name"; empty when another option has that name
  VCM::CString strValue;
  bool bGiven = false;  ///< by the administrator; else the value is the host's default

  bool IsSwitch() const { return nType == MCE::TPropertyInfo::TYPE_SWITCH; }
};

/// The properties of an import, in the order of the provider's table.
class CPropertyTable {
 public:
  CPropertyTable() = default;
  explicit CPropertyTable(MCE::CProvider& oProvider);

  std::vector<TProperty>& GetProperties() { return m_atProperties; }
  const std::vector<TProperty>& GetProperties() const { return m_atProperties; }
  /// Null when the provider has no such property.
  const TProperty* Find(const wchar_t* pszKey) const;

  /// Sets what a property is when the administrator says nothing. The provider must have it, and nothing must
  /// have been given yet.
  void SetHostDefault(const wchar_t* pszKey, const VCM::CString& strValue);

  /// Takes a "Key=Value". EHostError (STATUS_WRONG_USE) when it is none, when the provider has no such key,
  /// or when a switch gets something else than 1 or 0: providers take "true" for off.
  void SetFromText(const std::string& strText);

  /// True when the history comes from a saved log instead of the repository.
  bool ReadsSavedLog() const;
  /// EHostError (STATUS_WRONG_USE) when what has no usable default was not given. `bNeedsFiles`: files will
  /// be retrieved, so the repository is needed even with a saved log.
  void RequireSource(bool bNeedsFiles) const;
  /// The programs among the properties that are neither files nor on the PATH.
  std::vector<const TProperty*> MissingPrograms() const;

  /// Validates every value and hands it to the provider. EHostError (STATUS_WRONG_USE) for one it refuses.
  void Apply(MCE::CProvider& oProvider) const;

 private:
  std::vector<TProperty> m_atProperties;
};

/// "ModuleName" becomes "module-name", "CVSPath" "cvs-path".
std::string OptionName(const VCM::CString& strKey);

/// Where a program is: the path itself if it has a "/", else its place on the PATH; empty when nowhere.
std::string FindProgram(const VCM::CString& strProgram);

}  // namespace TALVEK::HOST
