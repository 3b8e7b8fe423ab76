#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace TALVEK::TEST {

/// Cuts "$Name: x $" back to "$Name$": it differs with the way in which a revision is asked for.
std::string CutNameBack(std::string_view strBytes);
/// Cuts all keywords back, except $Log$, which adds lines and not only words.
std::string CutKeywordsBack(std::string_view strBytes);

}  // namespace TALVEK::TEST
