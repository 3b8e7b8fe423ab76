#pragma once

#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "core/descriptor.h"
#include "session/command_line.h"

namespace TALVEK::SESSION {

/// The process that runs the commands: this process's parent.
struct TCaller {
  pid_t nId = 0;
  std::string strStartTime;      ///< in ticks since boot; tells it from a later process with the same number
  VCM::CDescriptor oDescriptor;  ///< a pidfd
};

/// Nothing when the caller has just ended, or the kernel has no pidfds (before 5.3).
std::optional<TCaller> FindCaller();

/// Commands with the same key share a session. It holds user, caller, root, the options that act on the
/// connection, and the environment, because programs that a session starts may use any variable.
std::string SessionKey(const TCheckout& tCheckout, const TCaller& tCaller);

/// A listening socket for the session of a key. Not open when that session already exists.
///
/// The socket has an abstract name: no file, and it vanishes with the socket. Any user can bind or connect to
/// such a name, so each end checks the other's user, and the session compares the whole key.
VCM::CDescriptor ListenFor(std::string_view strKey);
/// A socket connected to the session of a key. Not open when there is none.
VCM::CDescriptor ConnectTo(std::string_view strKey);
/// True when the process at the other end of a socket belongs to this process's user.
bool IsSameUser(int nSocket);

}  // namespace TALVEK::SESSION
