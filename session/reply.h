#pragma once

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "session/admin_files.h"
#include "session/byte_source.h"
#include "session/command_line.h"

namespace TALVEK::SESSION {

/// What a server answered to a checkout of one file.
struct TReply {
  bool bIsFile = false;   ///< the one file asked for came, and nothing happened that calls for the client
  bool bIsWhole = false;  ///< the reply was read to its end, so the connection is fit for the next command
  std::string strOutput;
  std::string strErrors;
  TEntry tEntry;  ///< its time is empty
  mode_t nMode = 0;
  std::optional<std::time_t> nTime;
};

/// The requests for a checkout. They stand for a working folder that has the target folder but has lost the
/// file, whatever it had before: a server remembers earlier commands of a connection, and would keep quiet
/// about a file that it believes to be there.
std::string CheckoutRequests(const TCheckout& tCheckout, const std::string& strRepository);

/// Reads a reply.
///
/// Shape    `strRepository` is where in the repository the target folder comes from. `fnTake` gets the file's
///          content piece by piece; it gets nothing of any other file.
/// Errors   EFailure when the server names a path outside the working folder or says what makes no sense.
///          All else that is not the plain answer ends in a reply without `bIsFile`: the client deals with
///          it. What the server said up to there is in `tReply` then.
void ReadReply(CReplyReader& oReader, const TCheckout& tCheckout, const std::string& strRepository,
               const std::function<void(std::string_view)>& fnTake, TReply& tReply);

}  // namespace TALVEK::SESSION
