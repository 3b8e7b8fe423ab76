#pragma once

#include <vector>

#include "exact/history.h"
#include "exact/records.h"

namespace TALVEK::EXACT {

/// A file that the last change of the trunk sets, because the client shows something else without a date than
/// the trunk's last revision.
struct TTrunkEnd {
  TIndex nFile = NONE;
  TIndex nRevision = NONE;  ///< what the client shows; NONE: no file
  TIndex nBefore = NONE;    ///< what the trunk's revisions show
};

/// The vendor revisions that the trunk shows.
///
/// An import that nobody has changed since is seen on the trunk: a checkout by date gives the newest trunk
/// revision up to then, but where that is 1.1, and 1.1.1.1 has the same time, it gives the newest revision of
/// the vendor line up to then. So for such a file 1.1.1.1 stands in the place of 1.1, and 1.1.1.2 and so on
/// are changes of the trunk until it has its next own revision. `cvs import` makes both with one content;
/// where 1.1 has another one, it comes before 1.1.1.1, so that it isn't lost.
struct TTrunkView {
  /// Vendor revisions, file by file, each file's ascending; before them 1.1, where it has another content.
  std::vector<TIndex> anShown;
  std::vector<TIndex> anFirstShown;  ///< by file, and one more: where its part of anShown begins
  std::vector<TTrunkEnd> atEnds;     ///< ascending by file
};

TTrunkView MakeTrunkView(const CHistory& oHistory);

}  // namespace TALVEK::EXACT
