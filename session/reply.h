#pragma once

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "session/admin_files.h"
#include "session/byte_source.h"
#include "session/command_line.h"

namespace TALVEK::SESSION {

/// A server's answer to a checkout of one file.
struct TReply {
  bool bIsFile = false;   ///< the file came, and nothing that only the client can handle
  bool bIsWhole = false;  ///< the reply was read to its end, so the connection can serve the next command
  std::string strOutput;
  std::string strErrors;
  TEntry tEntry;  ///< its time is empty
  mode_t nMode = 0;
  std::optional<std::time_t> nTime;
};

/// Names that are in a folder but not in its CVS/Entries. A client sends them as "Questionable" to the
/// server, which answers each with a line "? NAME".
struct TQuestions {
  std::string strFolder;      ///< in the working folder
  std::string strRepository;  ///< the same folder in the repository, relative to the root
  std::vector<std::string> astrNames;
};

/// The requests for these names. The server answers them before the checkout.
std::string QuestionRequests(const TRoot& tRoot, const std::vector<TQuestions>& atQuestions);

/// The requests for a checkout at the top of the working folder.
std::string CheckoutRequests(const TCheckout& tCheckout);

/// Requests that make a server forget that it has sent this file: they say that the target folder comes from
/// `strRepository`, and that the file is lost.
///
/// Without them the server wouldn't send the same revision again, would send another revision without its
/// time, and would refuse to check the folder out from another place. They have no reply. Send them after a
/// checkout, so that the server writes its small files (slow on some file systems) while this command ends
/// and the next one starts.
std::string ResetRequests(const TCheckout& tCheckout, const std::string& strRepository);

/// The request that makes the top of the working folder the current directory for commands.
std::string TopRequests(const TRoot& tRoot);

/// Reads a reply.
///
/// Shape    `strRepository` is the target folder's place in the repository. `fnTake` gets the file's content
///          piece by piece, and that of no other file.
/// Errors   EFailure when the server names a path outside the working folder, or sends a malformed response.
///          For any other answer than the file `bIsFile` is false, and `tReply` holds what came before.
void ReadReply(CReplyReader& oReader, const TCheckout& tCheckout, const std::string& strRepository,
               const std::function<void(std::string_view)>& fnTake, TReply& tReply);

}  // namespace TALVEK::SESSION
