// How much the processor's caches hold.
#pragma once

#include <cstddef>

namespace KELRA {

// The last cache level's size in bytes, at most 32 MiB, or what is common where the system does not
// tell.
std::size_t LastLevelCacheBytes();

// Whether the calling thread, or the threads that share its call out, should store past the caches
// when the call reads and writes so many bytes. Several cores read and write the last level faster
// than memory as long as it holds all; one core alone does not, beside what others keep there.
bool ExceedsCaches(std::size_t bytes);

}  // namespace KELRA
