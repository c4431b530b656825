// How much the processor's caches hold.
#pragma once

#include <cstddef>

namespace KELRA {

// The last cache level's size in bytes, at most 32 MiB, or what is common where the system does not
// tell.
std::size_t LastLevelCacheBytes();

}  // namespace KELRA
