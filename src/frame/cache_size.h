// How much of the processor's caches a call may use.
#pragma once

#include <cstddef>

namespace KELRA {

// What a call may count on of the last cache level, in bytes: half, at most 16 MiB, or half of what
// is common where the system does not tell. The other half is other cores' and images'. A call that
// reads and writes more stores past the caches.
std::size_t CacheBytesOfACall();

}  // namespace KELRA
