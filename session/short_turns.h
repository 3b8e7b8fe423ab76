#pragma once

namespace TALVEK::SESSION {

/// Sets the shortest time slice for the calling process and its later children. A session and its server
/// exchange many small pieces, and would wait each time for the end of another process's long slice. Does
/// nothing on kernels before 6.12, and for processes not scheduled by SCHED_OTHER.
void TakeShortTurns();

}  // namespace TALVEK::SESSION
