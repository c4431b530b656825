// Runs row bodies over the rows of an image, in parallel where it pays.
#pragma once

#include <tbb/blocked_range.h>

#include <cstddef>

#include "frame/function_ref.h"

namespace KELRA {

using RowRange = tbb::blocked_range<int>;

// Work of fewer bytes takes one thread less than the ten microseconds or so in which a second one
// is woken and waited for.
inline constexpr std::size_t kSerialBytes = std::size_t{1024} * 1024;

// As ForEachRowRange, for work that is worth a parallel loop.
void ForEachRowRangeInParallel(int rows, std::size_t bytes,
                               FunctionRef<void(const RowRange&)> body);

// Whether the calling thread does all rows, however many there are.
bool WorksAlone();

// Calls `body` on ranges that together cover the rows [0, rows) exactly once, and returns when all
// are done. `bytes` is what the body reads and writes over all rows.
//
// Fewer than `serial_bytes` are worked on by the calling thread. Otherwise the parallel setting N
// gives the smallest range split off, rows / N; an N below 1 leaves that to what is worth it, half
// of kSerialBytes, as does a large one. What the body throws passes to the caller.
//
// The threads are those of the arena that the caller is in. A process forked after the first
// parallel loop has none of them, and does all work on the calling thread.
template <class Body>
void ForEachRowRange(int rows, std::size_t bytes, const Body& body,
                     std::size_t serial_bytes = kSerialBytes) {
  if (rows <= 0) {
    return;
  }
  if (bytes < serial_bytes) {
    body(RowRange(0, rows));
  } else {
    ForEachRowRangeInParallel(rows, bytes, body);
  }
}

// The same for a body that may do a row again: where there is no memory for the threads, the
// calling one does all rows, and nothing is left half done.
template <class Body>
void ForEachRepeatableRowRange(int rows, std::size_t bytes, const Body& body,
                               std::size_t serial_bytes = kSerialBytes) {
  try {
    ForEachRowRange(rows, bytes, body, serial_bytes);
  } catch (...) {
    body(RowRange(0, rows));
  }
}

}  // namespace KELRA
