#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// Patterns of names about which a client doesn't ask the server.
class CIgnoreList {
 public:
  /// The client's own patterns, then those of ~/.cvsignore and of the variable CVSIGNORE.
  static CIgnoreList OfUser();

  /// Adds the patterns of a .cvsignore, which white space separates. A "!" removes all those before it.
  void Add(std::string_view strPatterns);
  bool Matches(const std::string& strName) const;

 private:
  std::vector<std::string> m_astrPatterns;
};

}  // namespace TALVEK::SESSION
