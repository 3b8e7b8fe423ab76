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

/// What lies in a folder without being entered there: a client asks a server about these names.
struct TQuestions {
  std::string strFolder;      ///< in the working folder
  std::string strRepository;  ///< where it comes from, in the root
  std::vector<std::string> astrNames;
};

/// The requests that put these questions. The server answers them at the head of its reply to the checkout.
std::string QuestionRequests(const TRoot& tRoot, const std::vector<TQuestions>& atQuestions);

/// The requests for a checkout, given at the top of the working folder.
std::string CheckoutRequests(const TCheckout& tCheckout);

/// Requests that tell how things are: the target folder comes from `strRepository`, and the file has been
/// lost.
///
/// A server remembers what it was asked before on the same connection. It keeps quiet about a file which it
/// believes to be there in this revision, sends another revision without its time, and refuses a folder that
/// came from elsewhere. These make it forget. They bring no reply, so they are best sent after a checkout:
/// the server then writes its small files anew (on some file systems that takes longer than all the rest)
/// while this command ends and the next one begins.
std::string ReminderRequests(const TCheckout& tCheckout, const std::string& strRepository);

/// Says that commands are given at the top of the working folder.
std::string TopRequests(const TRoot& tRoot);

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
