#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace TALVEK::SESSION {

/// A CVS root, taken apart.
struct TRoot {
  enum TMethodType {
    LOCAL,    ///< a folder of this machine, reached without a server
    FORK,     ///< a folder of this machine, through a server that is a child process
    RSH,      ///< through a remote shell: CVS_RSH
    PSERVER,  ///< TCP with a password
  };
  TMethodType nMethod = LOCAL;
  std::string strText;                     ///< as it was given; this is what CVS/Root holds
  std::string strUser;                     ///< empty: none was given
  std::string strHost;                     ///< RSH and PSERVER only
  std::optional<std::string> strPassword;  ///< as given, readable
  unsigned nPort = 0;                      ///< PSERVER only; 0: none was given
  std::string strFolder;                   ///< absolute, without a slash at its end
};

/// Nothing for other methods, options in the root, ambiguous forms, and those that the client refuses. The
/// client then handles the root or says what is wrong with it.
std::optional<TRoot> ParseRoot(std::string_view strText);

/// The form in which a password is sent and stored in ~/.cvspass: "A", then each letter replaced by another.
/// This is no encryption. Nothing when the password has a character outside ASCII's ' ' to '~'.
std::optional<std::string> ScramblePassword(std::string_view strPassword);

/// The scrambled password for a root in the text of ~/.cvspass; nothing when it has none.
std::optional<std::string> FindPassword(std::string_view strCvspass, const TRoot& tRoot,
                                        unsigned nDefaultPort);

}  // namespace TALVEK::SESSION
