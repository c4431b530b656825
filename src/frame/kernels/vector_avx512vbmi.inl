// The vectors of AVX-512, and a table of 256 bytes in four of them, looked up by permutations.

#include "frame/kernels/vector_avx512.inl"

struct ByteTable {
  Bytes quarter[4];
};

inline Bytes Lookup(const ByteTable& table, Bytes s) {
  const __m512i below_128 = _mm512_permutex2var_epi8(table.quarter[0].v, s.v, table.quarter[1].v);
  const __m512i from_128 = _mm512_permutex2var_epi8(table.quarter[2].v, s.v, table.quarter[3].v);
  return {_mm512_mask_blend_epi8(_mm512_movepi8_mask(s.v), below_128, from_128)};
}

#define KELRA_HAS_BYTE_TABLE
