#pragma once

#include <functional>

namespace TALVEK::TEST {

/// Runs `fnBody` in a child process and returns what it returned (0 to 255), or -1 when a signal ended the
/// child. The child ends at once: no destructor of the parent's objects runs in it.
int RunInChild(const std::function<int()>& fnBody);
/// Runs it in several children at once; 0 when all of them returned 0, else what one of the others did.
int RunInChildren(int nCount, const std::function<int()>& fnBody);

}  // namespace TALVEK::TEST
