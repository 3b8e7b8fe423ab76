#pragma once

#include <string>

#include "exact/plan.h"

namespace TALVEK::EXACT::TEST {

/// A plan as text: a line for each stream, a line for each change in the order of writing, a line for each
/// item.
///
///     Main trunk
///     B branch from Main #0
///     #0 Main own 100 joe: first
///       a 1.1
///     #1 B own 200 ann: second
///       a 1.1.2.1 was 1.1
///       b deleted was 1.4
std::string Dump(const CPlan& oPlan);

}  // namespace TALVEK::EXACT::TEST
