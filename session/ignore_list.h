#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// Patterns of file names that cvs ignores: a client doesn't ask the server about them.
class CIgnoreList {
 public:
  /// The client's own patterns, then those of ~/.cvsignore and of the variable CVSIGNORE.
  static CIgnoreList OfUser();

  /// Adds the patterns of a .cvsignore, separated by white space. A "!" removes all patterns before it.
  void Add(std::string_view strPatterns);
  bool Matches(const std::string& strName) const;

 private:
  std::vector<std::string> m_astrPatterns;
};

}  // namespace TALVEK::SESSION
