#pragma once

namespace TALVEK::SESSION {

/// Asks for a processor in short turns, for the calling process and those that it starts: processes that hand
/// bytes to each other then don't keep each other waiting. Changes nothing where the kernel (before 6.12)
/// doesn't know of it, or for a process that isn't scheduled in the usual way.
void TakeShortTurns();

}  // namespace TALVEK::SESSION
