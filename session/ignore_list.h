#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::SESSION {

/// Patterns of names that nobody asks about when they lie in a folder without being entered there.
class CIgnoreList {
 public:
  /// The client's own patterns, then those of ~/.cvsignore and of the variable CVSIGNORE.
  static CIgnoreList OfUser();

  /// Adds the text of a .cvsignore: patterns between white space; a "!" makes it forget all those before.
  void Add(std::string_view strPatterns);
  bool Matches(const std::string& strName) const;

 private:
  std::vector<std::string> m_astrPatterns;
};

}  // namespace TALVEK::SESSION
