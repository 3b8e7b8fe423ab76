#pragma once

#include <cstdint>

namespace TALVEK::EXACT {

/// Number of a record in its table: a file, a line, a revision, a name, a text, a stream, a change.
using TIndex = std::uint32_t;

/// "No such record": no parent, no revision of the file, no commit id.
inline constexpr TIndex NONE = 0xFFFFFFFF;

/// The trunk is the first stream of each plan.
inline constexpr TIndex TRUNK = 0;

}  // namespace TALVEK::EXACT
