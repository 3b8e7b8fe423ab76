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
  bool bIsFile = false;   ///< the file came, and nothing else that only the client can deal with
  bool bIsWhole = false;  ///< the reply was read to its end, so the connection is fit for the next command
  std::string strOutput;
  std::string strErrors;
  TEntry tEntry;  ///< its time is empty
  mode_t nMode = 0;
  std::optional<std::time_t> nTime;
};

/// Names that lie in a folder but not in its CVS/Entries. A client tells them to the server, which answers
/// with a line "? NAME" for each.
struct TQuestions {
  std::string strFolder;      ///< in the working folder
  std::string strRepository;  ///< the same folder in the repository, relative to the root
  std::vector<std::string> astrNames;
};

/// The requests about such names. The server answers them before the checkout.
std::string QuestionRequests(const TRoot& tRoot, const std::vector<TQuestions>& atQuestions);

/// The requests for a checkout, given at the top of the working folder.
std::string CheckoutRequests(const TCheckout& tCheckout);

/// Requests that make a server forget what it has sent for this file. They say that the target folder comes
/// from `strRepository`, and that the file is lost.
///
/// Without them a server that has sent a file on this connection doesn't send the same revision again, sends
/// another revision without its time, and refuses the folder when it is checked out from another place. They
/// have no reply, so they are sent after a checkout: the server writes the small files that they cost it,
/// slow on some file systems, while this command ends and the next one begins.
std::string ResetRequests(const TCheckout& tCheckout, const std::string& strRepository);

/// The request that makes the top of the working folder the place where commands are given.
std::string TopRequests(const TRoot& tRoot);

/// Reads a reply.
///
/// Shape    `strRepository` is where in the repository the target folder comes from. `fnTake` gets the file's
///          content piece by piece; it gets nothing of any other file.
/// Errors   EFailure when the server names a path outside the working folder, or sends what can't be
/// understood.
///          Any other answer than the file leaves `bIsFile` false. `tReply` then holds what came up to there.
void ReadReply(CReplyReader& oReader, const TCheckout& tCheckout, const std::string& strRepository,
               const std::function<void(std::string_view)>& fnTake, TReply& tReply);

}  // namespace TALVEK::SESSION
