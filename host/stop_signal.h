#pragma once

namespace TALVEK::HOST {

/// Makes SIGINT, SIGTERM and SIGHUP ask for an end instead of bringing it, and go to the children too: a
/// provider that isn't destroyed leaves its database behind. Children that don't end within ten seconds, or
/// by a second signal, are killed, and no provider starts another. Also turns SIGPIPE and SIGXFSZ into failed
/// writes.
void CatchStopSignals();

bool IsStopRequested();
/// Throws EStopped when one of the signals has come. Called between the calls to the provider, and
/// while it reads the history.
void ThrowIfStopped();

}  // namespace TALVEK::HOST
