#pragma once

#include <string>

#include "core/descriptor.h"
#include "session/command_line.h"
#include "session/session_address.h"

namespace TALVEK::SESSION {

/// Starts the session, a process that owns the connection for all commands with this key. Returns at once.
///
/// The session ends when the caller ends, when the server hangs up, after CVS_SESSION_IDLE seconds without a
/// command (60 when it isn't set), and when a command disconnects before it has read its whole reply. It
/// keeps no descriptor and no working folder of this process, and is no child of this process or of the
/// caller.
void StartSession(VCM::CDescriptor oListener, const TCheckout& tCheckout, const TCaller& tCaller,
                  const std::string& strKey);

}  // namespace TALVEK::SESSION
