// Private: the type of row and column numbers and of their products, which an int doesn't hold.
#pragma once

#include <cstdint>

namespace vorlane {

using Index = std::int64_t;

} // namespace vorlane
