#pragma once

#include <cstddef>

namespace TALVEK::TEST {

/// The function in a slot of an object's table of virtual functions, as a caller finds it that has nothing
/// but the table's order. `TFunction` takes the object's address first, which may then be null.
template <class TFunction>
TFunction* Slot(const void* poObject, std::size_t nSlot) {
  return reinterpret_cast<TFunction*>((*static_cast<void* const* const*>(poObject))[nSlot]);
}

}  // namespace TALVEK::TEST
