#pragma once

#include <vector>

#include "fuzz/searched_provider.h"

namespace TALVEK::FUZZ {

/// Checks what holds for the list of streams of any log.
void CheckStreams(const CSearchedProvider& oProvider);

/// Checks what holds for every change and its items.
void CheckChanges(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

/// Checks that each stream's base change is its parent's last change at or before the stream's creation time.
void CheckLinkage(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

/// Walks over the changes as a host does, and checks that the walk returns what the database has. Makes
/// folders.
void CheckWalk(CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

}  // namespace TALVEK::FUZZ
