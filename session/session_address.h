#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"
#include "session/command_line.h"

namespace TALVEK::SESSION {

/// The process that runs the commands: the parent of this one.
struct TCaller {
  pid_t nId = 0;
  std::string
      strStartTime;  ///< in ticks since the machine started; a later process with the same number has another
  VCM::CDescriptor oDescriptor;  ///< a pidfd
};

/// Nothing when the caller has just ended, or the kernel has no pidfd.
std::optional<TCaller> FindCaller();

/// Commands with the same key share a session. Its parts: user, caller, root, the options that act on the
/// connection, and the environment, any variable of which may matter to the programs that a session starts.
std::string SessionKey(const TCheckout& tCheckout, const TCaller& tCaller);

/// A listening socket for the sessions of a key. Not open when there is one already.
///
/// The socket's name is an abstract one: it isn't a file, and vanishes with the socket. Anybody may use it,
/// so both ends check the other's user, and the session compares the whole key.
VCM::CDescriptor ListenFor(std::string_view strKey);
/// A socket to the session of a key. Not open when there is none.
VCM::CDescriptor ConnectTo(std::string_view strKey);
/// True when the process at the other end of a socket belongs to this process's user.
bool IsSameUser(int nSocket);

}  // namespace TALVEK::SESSION
