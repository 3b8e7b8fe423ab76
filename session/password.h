#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "session/cvs_root.h"

namespace TALVEK::SESSION {

/// The form in which a password travels and lies in ~/.cvspass: "A" and one letter for each letter. It hides
/// the password from a passing glance and from nobody else. Nothing when a letter has no such form.
std::optional<std::string> ScramblePassword(std::string_view strPassword);

/// The scrambled password for a root in the text of ~/.cvspass; nothing when it has none.
std::optional<std::string> FindPassword(std::string_view strCvspass, const TRoot& tRoot,
                                        unsigned nDefaultPort);

}  // namespace TALVEK::SESSION
