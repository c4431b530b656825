// 32-byte vectors.

template <class Sample>
inline constexpr std::ptrdiff_t kLanes = 32 / static_cast<std::ptrdiff_t>(sizeof(Sample));

struct Bytes {
  __m256i v;
};
struct Words {
  __m256i v;
};
struct DoubleWords {
  __m256i v;
};
struct Floats {
  __m256 v;
};
struct Doubles {
  __m256d v;
};

inline Bytes Load(const std::uint8_t* p) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
}
inline Floats Load(const float* p) { return {_mm256_loadu_ps(p)}; }
inline Words Load(const std::uint16_t* p) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
}
inline void Store(std::uint8_t* p, Bytes a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.v);
}
inline void Store(float* p, Floats a) { _mm256_storeu_ps(p, a.v); }
inline void Store(std::uint16_t* p, Words a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.v);
}

// Two halves of a vector, which may lie anywhere.
inline __m256i LoadTwoHalves(const void* low, const void* high) {
  return _mm256_loadu2_m128i(static_cast<const __m128i*>(high), static_cast<const __m128i*>(low));
}
inline void StoreTwoHalves(void* low, void* high, __m256i a) {
  _mm256_storeu2_m128i(static_cast<__m128i*>(high), static_cast<__m128i*>(low), a);
}
inline Bytes LoadHalves(const std::uint8_t* low, const std::uint8_t* high) {
  return {LoadTwoHalves(low, high)};
}
inline Words LoadHalves(const std::uint16_t* low, const std::uint16_t* high) {
  return {LoadTwoHalves(low, high)};
}
inline void StoreHalves(std::uint8_t* low, std::uint8_t* high, Bytes a) {
  StoreTwoHalves(low, high, a.v);
}
inline void StoreHalves(std::uint16_t* low, std::uint16_t* high, Words a) {
  StoreTwoHalves(low, high, a.v);
}

// Bit i tells whether the i-th of a vector's bytes equals the one given.
inline std::uint64_t BitsWhereEqual(Bytes a, std::uint8_t byte) {
  const __m256i equal = _mm256_cmpeq_epi8(a.v, _mm256_set1_epi8(static_cast<char>(byte)));
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(equal));
}

// Past the caches; the address must be a multiple of the vector's size.
inline void Stream(std::uint8_t* p, Bytes a) {
  _mm256_stream_si256(reinterpret_cast<__m256i*>(p), a.v);
}
inline void Stream(std::uint16_t* p, Words a) {
  _mm256_stream_si256(reinterpret_cast<__m256i*>(p), a.v);
}

inline Bytes Set(std::uint8_t a) { return {_mm256_set1_epi8(static_cast<char>(a))}; }
inline Words Set(std::uint16_t a) { return {_mm256_set1_epi16(static_cast<short>(a))}; }
inline Floats Set(float a) { return {_mm256_set1_ps(a)}; }

inline Bytes AddSaturated(Bytes a, Bytes b) { return {_mm256_adds_epu8(a.v, b.v)}; }
inline Words AddSaturated(Words a, Words b) { return {_mm256_adds_epu16(a.v, b.v)}; }
inline Bytes SubtractSaturated(Bytes a, Bytes b) { return {_mm256_subs_epu8(a.v, b.v)}; }
inline Words SubtractSaturated(Words a, Words b) { return {_mm256_subs_epu16(a.v, b.v)}; }

// All ones where the relation holds.
inline Bytes Equal(Bytes a, Bytes b) { return {_mm256_cmpeq_epi8(a.v, b.v)}; }
inline Words Equal(Words a, Words b) { return {_mm256_cmpeq_epi16(a.v, b.v)}; }
inline Bytes AtLeast(Bytes a, Bytes b) {
  return {_mm256_cmpeq_epi8(_mm256_max_epu8(a.v, b.v), a.v)};
}
inline Words AtLeast(Words a, Words b) {
  return {_mm256_cmpeq_epi16(_mm256_max_epu16(a.v, b.v), a.v)};
}
inline Bytes Select(Bytes where, Bytes a, Bytes b) {
  return {_mm256_blendv_epi8(b.v, a.v, where.v)};
}
inline Words Select(Words where, Words a, Words b) {
  return {_mm256_blendv_epi8(b.v, a.v, where.v)};
}

// Bytes and words alike.
template <class Vector>
inline Vector And(Vector a, Vector b) {
  return {_mm256_and_si256(a.v, b.v)};
}
template <class Vector>
inline Vector Or(Vector a, Vector b) {
  return {_mm256_or_si256(a.v, b.v)};
}
template <class Vector>
inline Vector Xor(Vector a, Vector b) {
  return {_mm256_xor_si256(a.v, b.v)};
}
inline Bytes Larger(Bytes a, Bytes b) { return {_mm256_max_epu8(a.v, b.v)}; }
inline Words Larger(Words a, Words b) { return {_mm256_max_epu16(a.v, b.v)}; }
inline Bytes Smaller(Bytes a, Bytes b) { return {_mm256_min_epu8(a.v, b.v)}; }
inline Words Smaller(Words a, Words b) { return {_mm256_min_epu16(a.v, b.v)}; }
inline Bytes MeanRoundedUp(Bytes a, Bytes b) { return {_mm256_avg_epu8(a.v, b.v)}; }
inline Words MeanRoundedUp(Words a, Words b) { return {_mm256_avg_epu16(a.v, b.v)}; }

// Modulo 2^16.
inline Words Add(Words a, Words b) { return {_mm256_add_epi16(a.v, b.v)}; }
inline Words Subtract(Words a, Words b) { return {_mm256_sub_epi16(a.v, b.v)}; }
inline Words MultiplyLow(Words a, Words b) { return {_mm256_mullo_epi16(a.v, b.v)}; }

inline DoubleWords Add(DoubleWords a, DoubleWords b) { return {_mm256_add_epi32(a.v, b.v)}; }
inline DoubleWords Subtract(DoubleWords a, DoubleWords b) { return {_mm256_sub_epi32(a.v, b.v)}; }
inline Floats ToFloats(DoubleWords a) { return {_mm256_cvtepi32_ps(a.v)}; }

inline Floats Add(Floats a, Floats b) { return {_mm256_add_ps(a.v, b.v)}; }
inline Floats Subtract(Floats a, Floats b) { return {_mm256_sub_ps(a.v, b.v)}; }
inline Floats Multiply(Floats a, Floats b) { return {_mm256_mul_ps(a.v, b.v)}; }
inline Floats Divide(Floats a, Floats b) { return {_mm256_div_ps(a.v, b.v)}; }
// a * b + c, where it does not matter whether the product is rounded.
inline Floats MultiplyAdd(Floats a, Floats b, Floats c) { return {_mm256_fmadd_ps(a.v, b.v, c.v)}; }
// (a - b) * factor, given b * factor, for an exact difference and an exact b * factor.
inline Floats SubtractAndScale(Floats a, Floats, Floats factor, Floats scaled_b) {
  return {_mm256_fmsub_ps(a.v, factor.v, scaled_b.v)};
}
// a - b, exact. As a fused multiplication by 1 it leaves the adders to what follows.
inline Floats SubtractExactly(Floats a, Floats b) {
  return {_mm256_fmsub_ps(a.v, _mm256_set1_ps(1.0F), b.v)};
}
// The second operand where either is NaN.
inline Floats Min(Floats a, Floats b) { return {_mm256_min_ps(a.v, b.v)}; }
inline Floats Max(Floats a, Floats b) { return {_mm256_max_ps(a.v, b.v)}; }
// 1 / the square root, off by at most 1.5 x 2^-12 of it.
inline Floats NearReciprocalRoot(Floats a) { return {_mm256_rsqrt_ps(a.v)}; }
inline Floats ZeroWhereZero(Floats a, Floats b) {
  return {_mm256_andnot_ps(_mm256_cmp_ps(b.v, _mm256_setzero_ps(), _CMP_EQ_OQ), a.v)};
}

inline __m256i ToNearest(Floats a) { return _mm256_cvtps_epi32(a.v); }
inline __m256i Truncate(Floats a) { return _mm256_cvttps_epi32(a.v); }

struct FloatsAsDoubles {
  Doubles part[2];
};
inline FloatsAsDoubles Widen(Floats a) {
  return {{{_mm256_cvtps_pd(_mm256_castps256_ps128(a.v))},
           {_mm256_cvtps_pd(_mm256_extractf128_ps(a.v, 1))}}};
}
// Rounds to single precision.
inline Floats Narrow(FloatsAsDoubles a) {
  return {_mm256_set_m128(_mm256_cvtpd_ps(a.part[1].v), _mm256_cvtpd_ps(a.part[0].v))};
}
inline __m256i Truncate(FloatsAsDoubles a) {
  return _mm256_set_m128i(_mm256_cvttpd_epi32(a.part[1].v), _mm256_cvttpd_epi32(a.part[0].v));
}

// The lanes of the parts are those of unpacking; Narrow undoes them.
struct BytesAsWords {
  Words part[2];
};
struct BytesAsFloats {
  Floats part[4];
};
struct WordsAsFloats {
  Floats part[2];
};
struct WordsAsDoubleWords {
  DoubleWords part[2];
};

// Bytes as words, with another byte above each.
inline BytesAsWords Widen(Bytes a, Bytes above) {
  return {{{_mm256_unpacklo_epi8(a.v, above.v)}, {_mm256_unpackhi_epi8(a.v, above.v)}}};
}
// Behind the upper half of 2^23's bits a sample reads as the float 2^23 plus the sample.
inline WordsAsFloats WidenBiased(Words a) {
  const __m256i upper = _mm256_set1_epi16(0x4B00);
  return {{{_mm256_castsi256_ps(_mm256_unpacklo_epi16(a.v, upper))},
           {_mm256_castsi256_ps(_mm256_unpackhi_epi16(a.v, upper))}}};
}
inline BytesAsFloats WidenBiased(Bytes a) {
  const BytesAsWords words = Widen(a, Bytes{_mm256_setzero_si256()});
  const WordsAsFloats low = WidenBiased(words.part[0]);
  const WordsAsFloats high = WidenBiased(words.part[1]);
  return {{low.part[0], low.part[1], high.part[0], high.part[1]}};
}

// Saturates, on both sides. Between 32 and 8 bits lie signed 16 bits, which the second packing
// expects.
inline Words Narrow(__m256i a, __m256i b) { return {_mm256_packus_epi32(a, b)}; }
inline Bytes Narrow(__m256i a, __m256i b, __m256i c, __m256i d) {
  return {_mm256_packus_epi16(_mm256_packs_epi32(a, b), _mm256_packs_epi32(c, d))};
}
// Narrow undoes the lanes of Widen; this makes them those of floats that followed each other.
inline Bytes InOrder(Bytes a) {
  return {_mm256_permutevar8x32_epi32(a.v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7))};
}
inline Words InOrder(Words a) { return {_mm256_permute4x64_epi64(a.v, 0xD8)}; }

// The samples at even places and those at odd ones; Interleave undoes it.
inline BytesAsWords Split(Bytes a) {
  return {{{_mm256_and_si256(a.v, _mm256_set1_epi16(0xFF))}, {_mm256_srli_epi16(a.v, 8)}}};
}
inline WordsAsDoubleWords Split(Words a) {
  return {{{_mm256_and_si256(a.v, _mm256_set1_epi32(0xFFFF))}, {_mm256_srli_epi32(a.v, 16)}}};
}
inline Bytes Interleave(Words even, Words odd) {
  return {_mm256_or_si256(even.v, _mm256_slli_epi16(odd.v, 8))};
}
inline Words Interleave(DoubleWords even, DoubleWords odd) {
  return {_mm256_or_si256(even.v, _mm256_slli_epi32(odd.v, 16))};
}

// As many samples as a vector has floats, in their order.
inline Floats LoadWidened(const std::uint8_t* p) {
  return {_mm256_cvtepi32_ps(
      _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))))};
}
inline Floats LoadWidened(const std::uint16_t* p) {
  return {_mm256_cvtepi32_ps(
      _mm256_cvtepu16_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))))};
}

inline Words LoadWidenedToWords(const std::uint8_t* p) {
  return {_mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)))};
}
// Saturated, in the order of the words.
inline Bytes NarrowInOrder(Words a, Words b) {
  const Words limit{_mm256_set1_epi16(255)};
  const __m256i packed = _mm256_packus_epi16(Smaller(a, limit).v, Smaller(b, limit).v);
  return {_mm256_permute4x64_epi64(packed, 0xD8)};
}

// Of each two neighbours, weighted by less than 128.
inline Words SumOfProducts(Bytes samples, Bytes weights) {
  return {_mm256_maddubs_epi16(samples.v, weights.v)};
}
// (a * (32 - share_of_b) + b * share_of_b) / 1024, rounded half up, of words below 2^15.
inline __m256i WeightedMean(__m256i pairs, __m256i shares) {
  const __m256i sums = _mm256_madd_epi16(pairs, shares);
  return _mm256_srli_epi32(_mm256_add_epi32(sums, _mm256_set1_epi32(512)), 10);
}
inline Words WeightedMean(Words a, Words b, Words share_of_b) {
  const __m256i share_of_a = _mm256_sub_epi16(_mm256_set1_epi16(32), share_of_b.v);
  return Narrow(WeightedMean(_mm256_unpacklo_epi16(a.v, b.v),
                             _mm256_unpacklo_epi16(share_of_a, share_of_b.v)),
                WeightedMean(_mm256_unpackhi_epi16(a.v, b.v),
                             _mm256_unpackhi_epi16(share_of_a, share_of_b.v)));
}
// Of each eight bytes, the first three and the next three in turn.
inline Bytes SideBySide(Bytes a) {
  return {_mm256_shuffle_epi8(a.v, _mm256_broadcastsi128_si256(_mm_setr_epi8(
                                       0, 3, 1, 4, 2, 5, 6, 7, 8, 11, 9, 12, 10, 13, 14, 15)))};
}

// Divides whole numbers below 2^16 by each other, to the bit as a division does and several times
// as fast: the product with the reciprocal's two halves. It is off by 2^-47 at most, relatively,
// while such a quotient keeps 2^-41 away from where rounding changes; a test compares all pairs.
struct Divisor {
  Floats reciprocal;
  Floats reciprocal_rest;

  explicit Divisor(float v)
      : reciprocal(Set(1.0F / v)),
        reciprocal_rest(Set(static_cast<float>(1.0 / v - static_cast<double>(1.0F / v)))) {}
};
inline Floats Divide(Floats a, const Divisor& b) {
  const Floats rest = Multiply(a, b.reciprocal_rest);
  return {_mm256_fmadd_ps(a.v, b.reciprocal.v, rest.v)};
}

// 64-bit integers, as many as doubles.
struct Integers {
  __m256i v;
};

inline Doubles Load(const double* p) { return {_mm256_loadu_pd(p)}; }
inline void Store(double* p, Doubles a) { _mm256_storeu_pd(p, a.v); }
inline Doubles Set(double a) { return {_mm256_set1_pd(a)}; }
// 0, 1, 2 ...
inline Doubles LaneNumbers() { return {_mm256_setr_pd(0, 1, 2, 3)}; }
inline Doubles Add(Doubles a, Doubles b) { return {_mm256_add_pd(a.v, b.v)}; }
inline Doubles Subtract(Doubles a, Doubles b) { return {_mm256_sub_pd(a.v, b.v)}; }
inline Doubles Multiply(Doubles a, Doubles b) { return {_mm256_mul_pd(a.v, b.v)}; }
inline Doubles Divide(Doubles a, Doubles b) { return {_mm256_div_pd(a.v, b.v)}; }
// The second operand where either is NaN.
inline Doubles Min(Doubles a, Doubles b) { return {_mm256_min_pd(a.v, b.v)}; }
inline Doubles Max(Doubles a, Doubles b) { return {_mm256_max_pd(a.v, b.v)}; }
inline Doubles Floor(Doubles a) { return {_mm256_floor_pd(a.v)}; }
inline Doubles ZeroWhereZero(Doubles a, Doubles b) {
  return {_mm256_andnot_pd(_mm256_cmp_pd(b.v, _mm256_setzero_pd(), _CMP_EQ_OQ), a.v)};
}
// To the nearest integers, ties to even, times 2^kBits.
template <int kBits>
inline void StoreNearest(int* p, Doubles a) {
  _mm_storeu_si128(reinterpret_cast<__m128i*>(p), _mm_slli_epi32(_mm256_cvtpd_epi32(a.v), kBits));
}

// Widened.
inline Integers LoadIntegers(const std::uint16_t* p) {
  return {_mm256_cvtepu16_epi64(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p)))};
}
inline Integers LoadIntegers(const std::uint32_t* p) {
  return {_mm256_cvtepu32_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)))};
}
inline Integers LoadIntegers(const std::uint64_t* p) {
  return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))};
}
inline void Store(std::uint64_t* p, Integers a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), a.v);
}
inline Integers Set(std::uint64_t a) { return {_mm256_set1_epi64x(static_cast<long long>(a))}; }
template <int kBits>
inline Integers ShiftLeft(Integers a) {
  return {_mm256_slli_epi64(a.v, kBits)};
}
template <int kBits>
inline Integers ShiftRight(Integers a) {
  return {_mm256_srli_epi64(a.v, kBits)};
}
inline Integers BitsOf(Doubles a) { return {_mm256_castpd_si256(a.v)}; }
inline Doubles DoublesOf(Integers a) { return {_mm256_castsi256_pd(a.v)}; }
