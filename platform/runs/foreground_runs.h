// Finds the runs of foreground pixels in a row of bytes, 64 pixels at a time.
#pragma once

#include <emmintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace KELRA {

// Bit i is set when byte i of the 64 is not 0.
inline std::uint64_t ForegroundBits(const std::uint8_t* bytes) {
  std::uint64_t background = 0;
  for (int shift = 0; shift < 64; shift += 16) {
    const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes + shift));
    const int zeros = _mm_movemask_epi8(_mm_cmpeq_epi8(block, _mm_setzero_si128()));
    background |= static_cast<std::uint64_t>(zeros) << shift;
  }
  return ~background;
}

// Calls visit(first, last) for every maximal run of bytes that are not 0, from the left.
template <class Visit>
void ForEachForegroundRun(const std::uint8_t* row, int width, Visit visit) {
  constexpr int kBlock = 64;
  std::uint64_t before = 0;  // whether the pixel to the left of the block is foreground
  int first = 0;             // of the run that is open
  for (int column = 0; column < width; column += kBlock) {
    std::uint64_t bits = 0;
    if (width - column >= kBlock) {
      bits = ForegroundBits(row + column);
    } else {
      std::uint8_t rest[kBlock] = {};
      std::memcpy(rest, row + column, static_cast<std::size_t>(width - column));
      bits = ForegroundBits(rest);
    }
    bool in_run = before != 0;
    for (std::uint64_t changes = bits ^ (bits << 1 | before); changes != 0;
         changes &= changes - 1) {
      const int at = column + std::countr_zero(changes);
      if (in_run) {
        visit(first, at - 1);
      } else {
        first = at;
      }
      in_run = !in_run;
    }
    before = bits >> (kBlock - 1);
  }
  if (before != 0) {
    visit(first, width - 1);
  }
}

}  // namespace KELRA
