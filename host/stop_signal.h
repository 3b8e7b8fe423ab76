#pragma once

namespace TALVEK::HOST {

/// Handles SIGINT, SIGTERM and SIGHUP: they don't end the program, because a provider that isn't destroyed
/// leaves its database behind, but IsStopRequested becomes true. They are passed on to the children, which
/// are killed after ten seconds or at a second signal; no provider can start another child. Signals that the
/// caller ignores stay ignored. Also turns SIGPIPE and SIGXFSZ into failed writes.
void CatchStopSignals();

bool IsStopRequested();
/// Throws EStopped when one of the signals has come. Call it between calls to the provider, and from the log
/// callback while the provider reads the history.
void ThrowIfStopped();

}  // namespace TALVEK::HOST
