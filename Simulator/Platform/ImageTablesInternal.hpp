// Shared by the slot registry and the thunk tables.
#pragma once

#include <cstddef>

#include "ImageTables.hpp"

namespace carvex::sim {

const ImageBinding& BindingOf(std::size_t slot);

}  // namespace carvex::sim
