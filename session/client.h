#pragma once

namespace TALVEK::SESSION {

/// Becomes the real client, with the same arguments; returns (with its exit status) only when there is none.
int BecomeClient(char** ppszArguments);

}  // namespace TALVEK::SESSION
