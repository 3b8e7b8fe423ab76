#pragma once

namespace TALVEK::SESSION {

/// Asks for the processor in short turns, for the calling process and those that it starts from then on. A
/// session and its server hand many small pieces to each other, and shouldn't wait for the end of a long turn
/// each time. Has no effect where the kernel (before 6.12) doesn't know of it, or for a process that isn't
/// scheduled in the usual way.
void TakeShortTurns();

}  // namespace TALVEK::SESSION
