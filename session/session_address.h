#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"
#include "session/command_line.h"

namespace TALVEK::SESSION {

/// The process that gives the commands: the parent of this one.
struct TCaller {
  pid_t nId = 0;
  std::string strStartTime;      ///< in ticks since the machine started; tells processes of one number apart
  VCM::CDescriptor oDescriptor;  ///< a pidfd
};

/// Nothing when the caller has just ended, or the system can't tell.
std::optional<TCaller> FindCaller();

/// All that commands must have in common to share a session: user, caller, root, options that act on the
/// connection, and the environment, of which any variable may matter to the programs that a session starts.
std::string SessionKey(const TCheckout& tCheckout, const TCaller& tCaller);

/// A listening socket for the sessions of a key. Not open when there is one already.
///
/// The name is an abstract one: it is no file, and goes with the last who listens. It is no secret either, so
/// both ends look at who the other is, and the session compares the whole key.
VCM::CDescriptor ListenFor(std::string_view strKey);
/// A socket to the session of a key. Not open when there is none.
VCM::CDescriptor ConnectTo(std::string_view strKey);
/// True when the process at the other end of a socket belongs to this process's user.
bool IsSameUser(int nSocket);

}  // namespace TALVEK::SESSION
