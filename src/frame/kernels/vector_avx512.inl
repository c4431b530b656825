// 64-byte vectors.

template <class Sample>
inline constexpr std::ptrdiff_t kLanes = 64 / static_cast<std::ptrdiff_t>(sizeof(Sample));

struct Bytes {
  __m512i v;
};
struct Words {
  __m512i v;
};
struct DoubleWords {
  __m512i v;
};
struct Floats {
  __m512 v;
};
struct Doubles {
  __m512d v;
};

inline Bytes Load(const std::uint8_t* p) {
  return {_mm512_loadu_si512(reinterpret_cast<const __m512i*>(p))};
}
inline Floats Load(const float* p) { return {_mm512_loadu_ps(p)}; }
inline Words Load(const std::uint16_t* p) {
  return {_mm512_loadu_si512(reinterpret_cast<const __m512i*>(p))};
}

// Two halves of a vector, which may lie anywhere.
inline __m512i LoadTwoHalves(const void* low, const void* high) {
  return _mm512_inserti64x4(
      _mm512_castsi256_si512(_mm256_loadu_si256(static_cast<const __m256i*>(low))),
      _mm256_loadu_si256(static_cast<const __m256i*>(high)), 1);
}
inline void StoreTwoHalves(void* low, void* high, __m512i a) {
  _mm256_storeu_si256(static_cast<__m256i*>(low), _mm512_castsi512_si256(a));
  _mm256_storeu_si256(static_cast<__m256i*>(high), _mm512_extracti64x4_epi64(a, 1));
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

// The same as Load. On a Zen 4 data beyond the first-level cache then arrive up to a third faster:
// they are fetched further ahead, and fewer loads look like stores before them.
inline Bytes LoadInHalves(const std::uint8_t* p) {
  return LoadHalves(p, p + kLanes<std::uint8_t> / 2);
}
inline Words LoadInHalves(const std::uint16_t* p) {
  return LoadHalves(p, p + kLanes<std::uint16_t> / 2);
}

inline void Store(std::uint8_t* p, Bytes a) {
  _mm512_storeu_si512(reinterpret_cast<__m512i*>(p), a.v);
}
inline void Store(float* p, Floats a) { _mm512_storeu_ps(p, a.v); }
inline void Store(std::uint16_t* p, Words a) {
  _mm512_storeu_si512(reinterpret_cast<__m512i*>(p), a.v);
}

// Bit i tells whether the i-th of a vector's bytes equals the one given.
inline std::uint64_t BitsWhereEqual(Bytes a, std::uint8_t byte) {
  return _mm512_cmpeq_epi8_mask(a.v, _mm512_set1_epi8(static_cast<char>(byte)));
}

// The first `count` samples, fewer than a vector holds; 0 behind them.
inline Bytes LoadPartial(const std::uint8_t* p, std::ptrdiff_t count) {
  return {_mm512_maskz_loadu_epi8((__mmask64{1} << count) - 1, p)};
}
inline Words LoadPartial(const std::uint16_t* p, std::ptrdiff_t count) {
  return {_mm512_maskz_loadu_epi16((__mmask32{1} << count) - 1, p)};
}
inline void StorePartial(std::uint8_t* p, Bytes a, std::ptrdiff_t count) {
  _mm512_mask_storeu_epi8(p, (__mmask64{1} << count) - 1, a.v);
}
inline void StorePartial(std::uint16_t* p, Words a, std::ptrdiff_t count) {
  _mm512_mask_storeu_epi16(p, (__mmask32{1} << count) - 1, a.v);
}

inline void CopyPartially(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t count) {
  StorePartial(dst, LoadPartial(src, count), count);
}

// Past the caches; the address must be a multiple of the vector's size.
inline void Stream(std::uint8_t* p, Bytes a) {
  _mm512_stream_si512(reinterpret_cast<__m512i*>(p), a.v);
}
inline void Stream(std::uint16_t* p, Words a) {
  _mm512_stream_si512(reinterpret_cast<__m512i*>(p), a.v);
}

inline Bytes Set(std::uint8_t a) { return {_mm512_set1_epi8(static_cast<char>(a))}; }
inline Words Set(std::uint16_t a) { return {_mm512_set1_epi16(static_cast<short>(a))}; }
inline Floats Set(float a) { return {_mm512_set1_ps(a)}; }

inline Bytes AddSaturated(Bytes a, Bytes b) { return {_mm512_adds_epu8(a.v, b.v)}; }
inline Words AddSaturated(Words a, Words b) { return {_mm512_adds_epu16(a.v, b.v)}; }
inline Bytes SubtractSaturated(Bytes a, Bytes b) { return {_mm512_subs_epu8(a.v, b.v)}; }
inline Words SubtractSaturated(Words a, Words b) { return {_mm512_subs_epu16(a.v, b.v)}; }

// A bit for each sample, set where the relation holds.
inline __mmask64 Equal(Bytes a, Bytes b) { return _mm512_cmpeq_epu8_mask(a.v, b.v); }
inline __mmask32 Equal(Words a, Words b) { return _mm512_cmpeq_epu16_mask(a.v, b.v); }
inline __mmask64 AtLeast(Bytes a, Bytes b) { return _mm512_cmpge_epu8_mask(a.v, b.v); }
inline __mmask32 AtLeast(Words a, Words b) { return _mm512_cmpge_epu16_mask(a.v, b.v); }
inline Bytes Select(__mmask64 where, Bytes a, Bytes b) {
  return {_mm512_mask_blend_epi8(where, b.v, a.v)};
}
inline Words Select(__mmask32 where, Words a, Words b) {
  return {_mm512_mask_blend_epi16(where, b.v, a.v)};
}

// Bytes and words alike.
template <class Vector>
inline Vector And(Vector a, Vector b) {
  return {_mm512_and_si512(a.v, b.v)};
}
template <class Vector>
inline Vector Or(Vector a, Vector b) {
  return {_mm512_or_si512(a.v, b.v)};
}
template <class Vector>
inline Vector Xor(Vector a, Vector b) {
  return {_mm512_xor_si512(a.v, b.v)};
}
inline Bytes Larger(Bytes a, Bytes b) { return {_mm512_max_epu8(a.v, b.v)}; }
inline Words Larger(Words a, Words b) { return {_mm512_max_epu16(a.v, b.v)}; }
inline Bytes Smaller(Bytes a, Bytes b) { return {_mm512_min_epu8(a.v, b.v)}; }
inline Words Smaller(Words a, Words b) { return {_mm512_min_epu16(a.v, b.v)}; }
inline Bytes MeanRoundedUp(Bytes a, Bytes b) { return {_mm512_avg_epu8(a.v, b.v)}; }
inline Words MeanRoundedUp(Words a, Words b) { return {_mm512_avg_epu16(a.v, b.v)}; }

// Modulo 2^16.
inline Words Add(Words a, Words b) { return {_mm512_add_epi16(a.v, b.v)}; }
inline Words Subtract(Words a, Words b) { return {_mm512_sub_epi16(a.v, b.v)}; }
inline Words MultiplyLow(Words a, Words b) { return {_mm512_mullo_epi16(a.v, b.v)}; }

inline DoubleWords Add(DoubleWords a, DoubleWords b) { return {_mm512_add_epi32(a.v, b.v)}; }
inline DoubleWords Subtract(DoubleWords a, DoubleWords b) { return {_mm512_sub_epi32(a.v, b.v)}; }
inline Floats ToFloats(DoubleWords a) { return {_mm512_cvtepi32_ps(a.v)}; }

inline Floats Add(Floats a, Floats b) { return {_mm512_add_ps(a.v, b.v)}; }
inline Floats Subtract(Floats a, Floats b) { return {_mm512_sub_ps(a.v, b.v)}; }
inline Floats Multiply(Floats a, Floats b) { return {_mm512_mul_ps(a.v, b.v)}; }
inline Floats Divide(Floats a, Floats b) { return {_mm512_div_ps(a.v, b.v)}; }
// a * b + c, where it does not matter whether the product is rounded.
inline Floats MultiplyAdd(Floats a, Floats b, Floats c) { return {_mm512_fmadd_ps(a.v, b.v, c.v)}; }
// (a - b) * factor, given b * factor, for an exact difference and an exact b * factor.
inline Floats SubtractAndScale(Floats a, Floats, Floats factor, Floats scaled_b) {
  return {_mm512_fmsub_ps(a.v, factor.v, scaled_b.v)};
}
// a - b, exact. As a fused multiplication by 1 it leaves the adders to what follows.
inline Floats SubtractExactly(Floats a, Floats b) {
  return {_mm512_fmsub_ps(a.v, _mm512_set1_ps(1.0F), b.v)};
}
// The second operand where either is NaN.
inline Floats Min(Floats a, Floats b) { return {_mm512_min_ps(a.v, b.v)}; }
inline Floats Max(Floats a, Floats b) { return {_mm512_max_ps(a.v, b.v)}; }
// 1 / the square root, off by at most 1.5 x 2^-12 of it.
inline Floats NearReciprocalRoot(Floats a) { return {_mm512_rsqrt14_ps(a.v)}; }
inline Floats ZeroWhereZero(Floats a, Floats b) {
  return {_mm512_maskz_mov_ps(_mm512_cmp_ps_mask(b.v, _mm512_setzero_ps(), _CMP_NEQ_UQ), a.v)};
}

inline __m512i ToNearest(Floats a) { return _mm512_cvtps_epi32(a.v); }
inline __m512i Truncate(Floats a) { return _mm512_cvttps_epi32(a.v); }

struct FloatsAsDoubles {
  Doubles part[2];
};
inline FloatsAsDoubles Widen(Floats a) {
  const __m256d upper = _mm512_extractf64x4_pd(_mm512_castps_pd(a.v), 1);
  return {
      {{_mm512_cvtps_pd(_mm512_castps512_ps256(a.v))}, {_mm512_cvtps_pd(_mm256_castpd_ps(upper))}}};
}
// Rounds to single precision.
inline Floats Narrow(FloatsAsDoubles a) {
  const __m256d low = _mm256_castps_pd(_mm512_cvtpd_ps(a.part[0].v));
  const __m256d high = _mm256_castps_pd(_mm512_cvtpd_ps(a.part[1].v));
  return {_mm512_castpd_ps(_mm512_insertf64x4(_mm512_castpd256_pd512(low), high, 1))};
}
inline __m512i Truncate(FloatsAsDoubles a) {
  return _mm512_inserti64x4(_mm512_castsi256_si512(_mm512_cvttpd_epi32(a.part[0].v)),
                            _mm512_cvttpd_epi32(a.part[1].v), 1);
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
  return {{{_mm512_unpacklo_epi8(a.v, above.v)}, {_mm512_unpackhi_epi8(a.v, above.v)}}};
}
// Behind the upper half of 2^23's bits a sample reads as the float 2^23 plus the sample.
inline WordsAsFloats WidenBiased(Words a) {
  const __m512i upper = _mm512_set1_epi16(0x4B00);
  return {{{_mm512_castsi512_ps(_mm512_unpacklo_epi16(a.v, upper))},
           {_mm512_castsi512_ps(_mm512_unpackhi_epi16(a.v, upper))}}};
}
inline BytesAsFloats WidenBiased(Bytes a) {
  const BytesAsWords words = Widen(a, Bytes{_mm512_setzero_si512()});
  const WordsAsFloats low = WidenBiased(words.part[0]);
  const WordsAsFloats high = WidenBiased(words.part[1]);
  return {{low.part[0], low.part[1], high.part[0], high.part[1]}};
}

// Saturates, on both sides. Between 32 and 8 bits lie signed 16 bits, which the second packing
// expects.
inline Words Narrow(__m512i a, __m512i b) { return {_mm512_packus_epi32(a, b)}; }
inline Bytes Narrow(__m512i a, __m512i b, __m512i c, __m512i d) {
  return {_mm512_packus_epi16(_mm512_packs_epi32(a, b), _mm512_packs_epi32(c, d))};
}
// Narrow undoes the lanes of Widen; this makes them those of floats that followed each other.
inline Bytes InOrder(Bytes a) {
  return {_mm512_permutexvar_epi32(
      _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15), a.v)};
}
inline Words InOrder(Words a) {
  return {_mm512_permutexvar_epi64(_mm512_setr_epi64(0, 2, 4, 6, 1, 3, 5, 7), a.v)};
}

// The samples at even places and those at odd ones; Interleave undoes it.
inline BytesAsWords Split(Bytes a) {
  return {{{_mm512_and_si512(a.v, _mm512_set1_epi16(0xFF))}, {_mm512_srli_epi16(a.v, 8)}}};
}
inline WordsAsDoubleWords Split(Words a) {
  return {{{_mm512_and_si512(a.v, _mm512_set1_epi32(0xFFFF))}, {_mm512_srli_epi32(a.v, 16)}}};
}
inline Bytes Interleave(Words even, Words odd) {
  return {_mm512_or_si512(even.v, _mm512_slli_epi16(odd.v, 8))};
}
inline Words Interleave(DoubleWords even, DoubleWords odd) {
  return {_mm512_or_si512(even.v, _mm512_slli_epi32(odd.v, 16))};
}

// As many samples as a vector has floats, in their order.
inline Floats LoadWidened(const std::uint8_t* p) {
  return {_mm512_cvtepi32_ps(
      _mm512_cvtepu8_epi32(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))))};
}
inline Floats LoadWidened(const std::uint16_t* p) {
  return {_mm512_cvtepi32_ps(
      _mm512_cvtepu16_epi32(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))))};
}

inline Words LoadWidenedToWords(const std::uint8_t* p) {
  return {_mm512_cvtepu8_epi16(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)))};
}
// Saturated, in the order of the words.
inline Bytes NarrowInOrder(Words a, Words b) {
  const __m512i low = _mm512_castsi256_si512(_mm512_cvtusepi16_epi8(a.v));
  return {_mm512_inserti64x4(low, _mm512_cvtusepi16_epi8(b.v), 1)};
}

// Of each two neighbours, weighted by less than 128.
inline Words SumOfProducts(Bytes samples, Bytes weights) {
  return {_mm512_maddubs_epi16(samples.v, weights.v)};
}
// (a * (32 - share_of_b) + b * share_of_b) / 1024, rounded half up, of words below 2^15.
inline __m512i WeightedMean(__m512i pairs, __m512i shares) {
  const __m512i sums = _mm512_madd_epi16(pairs, shares);
  return _mm512_srli_epi32(_mm512_add_epi32(sums, _mm512_set1_epi32(512)), 10);
}
inline Words WeightedMean(Words a, Words b, Words share_of_b) {
  const __m512i share_of_a = _mm512_sub_epi16(_mm512_set1_epi16(32), share_of_b.v);
  return Narrow(WeightedMean(_mm512_unpacklo_epi16(a.v, b.v),
                             _mm512_unpacklo_epi16(share_of_a, share_of_b.v)),
                WeightedMean(_mm512_unpackhi_epi16(a.v, b.v),
                             _mm512_unpackhi_epi16(share_of_a, share_of_b.v)));
}
// Of each eight bytes, the first three and the next three in turn.
inline Bytes SideBySide(Bytes a) {
  return {_mm512_shuffle_epi8(a.v, _mm512_broadcast_i32x4(_mm_setr_epi8(
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
  return {_mm512_fmadd_ps(a.v, b.reciprocal.v, rest.v)};
}

// 64-bit integers, as many as doubles.
struct Integers {
  __m512i v;
};

inline Doubles Load(const double* p) { return {_mm512_loadu_pd(p)}; }
inline void Store(double* p, Doubles a) { _mm512_storeu_pd(p, a.v); }
inline Doubles Set(double a) { return {_mm512_set1_pd(a)}; }
// 0, 1, 2 ...
inline Doubles LaneNumbers() { return {_mm512_setr_pd(0, 1, 2, 3, 4, 5, 6, 7)}; }
inline Doubles Add(Doubles a, Doubles b) { return {_mm512_add_pd(a.v, b.v)}; }
inline Doubles Subtract(Doubles a, Doubles b) { return {_mm512_sub_pd(a.v, b.v)}; }
inline Doubles Multiply(Doubles a, Doubles b) { return {_mm512_mul_pd(a.v, b.v)}; }
inline Doubles Divide(Doubles a, Doubles b) { return {_mm512_div_pd(a.v, b.v)}; }
// The second operand where either is NaN.
inline Doubles Min(Doubles a, Doubles b) { return {_mm512_min_pd(a.v, b.v)}; }
inline Doubles Max(Doubles a, Doubles b) { return {_mm512_max_pd(a.v, b.v)}; }
inline Doubles Floor(Doubles a) {
  return {_mm512_roundscale_pd(a.v, _MM_FROUND_TO_NEG_INF | _MM_FROUND_NO_EXC)};
}
inline Doubles ZeroWhereZero(Doubles a, Doubles b) {
  return {_mm512_maskz_mov_pd(_mm512_cmp_pd_mask(b.v, _mm512_setzero_pd(), _CMP_NEQ_UQ), a.v)};
}
// To the nearest integers, ties to even, times 2^kBits.
template <int kBits>
inline void StoreNearest(int* p, Doubles a) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p),
                      _mm256_slli_epi32(_mm512_cvtpd_epi32(a.v), kBits));
}

// Widened.
inline Integers LoadIntegers(const std::uint16_t* p) {
  return {_mm512_cvtepu16_epi64(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p)))};
}
inline Integers LoadIntegers(const std::uint32_t* p) {
  return {_mm512_cvtepu32_epi64(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)))};
}
inline Integers LoadIntegers(const std::uint64_t* p) { return {_mm512_loadu_si512(p)}; }
inline void Store(std::uint64_t* p, Integers a) { _mm512_storeu_si512(p, a.v); }
inline Integers Set(std::uint64_t a) { return {_mm512_set1_epi64(static_cast<long long>(a))}; }
template <int kBits>
inline Integers ShiftLeft(Integers a) {
  return {_mm512_slli_epi64(a.v, kBits)};
}
template <int kBits>
inline Integers ShiftRight(Integers a) {
  return {_mm512_srli_epi64(a.v, kBits)};
}
inline Integers BitsOf(Doubles a) { return {_mm512_castpd_si512(a.v)}; }
inline Doubles DoublesOf(Integers a) { return {_mm512_castsi512_pd(a.v)}; }
