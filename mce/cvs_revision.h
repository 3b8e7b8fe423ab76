#pragma once

#include <cstdint>
#include <string_view>

#include "core/array.h"
#include "core/string.h"

namespace TALVEK::MCE {

/// A CVS revision number: its components, leftmost first. A plain value; the empty number is legal.
///
/// Shapes   1.5 (two components) is a trunk revision; 1.2.2.7 (even, four or more) a revision on a branch
///          whose number is 1.2.2 and which sprouts from 1.2; 1.2.2 (odd) a branch; 1.2.0.4 (second-last 0)
///          the magic number under which a symbolic name records branch 1.2.4; 1.1.1 the vendor branch.
struct TCVSRevision : VCM::CArray<std::uint32_t> {
  TCVSRevision() = default;
  /// Any text gives a number: it is split at the dots (empty pieces between dots count, those behind the last
  /// number don't), and each piece is read as strtol does: "1.5\tlocked" is 1.5, "x.7" is 0.7, "-1" the
  /// largest component. Components keep their low 32 bits.
  explicit TCVSRevision(const VCM::CString& strText) { Parse(strText.View()); }

  /// Becomes the number of a text, as if made from it.
  void Parse(std::wstring_view strText);

  /// The components as signed decimals joined by dots; empty for the empty number.
  VCM::CString GetText() const;

  /// True when this number's components are `oOther`'s first ones (or all of them).
  bool IsPrefixOf(const TCVSRevision& oOther) const;

 private:
  void AddPieces(std::wstring_view strText);
};

/// Compares revision numbers for sorting: component by component, unsigned; a prefix comes before the longer
/// number. Returns -1 or +1 and never 0: two equal numbers give +1, in either order.
int CompareRevisions(const TCVSRevision& oLeft, const TCVSRevision& oRight);

}  // namespace TALVEK::MCE
