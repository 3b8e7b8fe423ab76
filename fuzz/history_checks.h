#pragma once

#include <vector>

#include "fuzz/searched_provider.h"

namespace TALVEK::FUZZ {

/// Checks what holds for the list of streams whatever the log was.
void CheckStreams(const CSearchedProvider& oProvider);

/// Checks what holds for every change and its items.
void CheckChanges(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

/// Checks that each stream is tied to the last change of its parent up to the time it was made.
void CheckLinkage(const CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

/// Walks as a host does, which makes folders, and checks that the walk shows what the database holds.
void CheckWalk(CSearchedProvider& oProvider, const std::vector<TStoredChange>& atChanges);

}  // namespace TALVEK::FUZZ
