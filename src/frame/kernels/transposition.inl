// Rows and columns exchanged, in square tiles of vectors of 16 bytes.

template <class Sample>
inline __m128i InterleaveLower(__m128i a, __m128i b) {
  return sizeof(Sample) == 1 ? _mm_unpacklo_epi8(a, b) : _mm_unpacklo_epi16(a, b);
}
template <class Sample>
inline __m128i InterleaveUpper(__m128i a, __m128i b) {
  return sizeof(Sample) == 1 ? _mm_unpackhi_epi8(a, b) : _mm_unpackhi_epi16(a, b);
}

template <class Sample>
inline constexpr std::ptrdiff_t kTileSide = 16 / static_cast<std::ptrdiff_t>(sizeof(Sample));

// A place in the tile is its row and its column, of as many bits each. Interleaving the upper half
// of the rows with the lower one moves these bits round by one, and after half of them the row is
// the column.
template <class Sample>
inline void TransposeTile(Rows<const Sample> src, Rows<Sample> dst) {
  constexpr std::ptrdiff_t kSide = kTileSide<Sample>;
  __m128i rows[kSide];
  for (std::ptrdiff_t i = 0; i < kSide; ++i) {
    rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src[i]));
  }
  for (std::ptrdiff_t places = 1; places < kSide; places *= 2) {
    __m128i moved[kSide];
    for (std::ptrdiff_t i = 0; i < kSide / 2; ++i) {
      moved[2 * i] = InterleaveLower<Sample>(rows[i], rows[i + kSide / 2]);
      moved[2 * i + 1] = InterleaveUpper<Sample>(rows[i], rows[i + kSide / 2]);
    }
    std::copy(moved, moved + kSide, rows);
  }
  for (std::ptrdiff_t i = 0; i < kSide; ++i) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst[i]), rows[i]);
  }
}

template <class Sample>
inline void TransposeOneByOne(Rows<const Sample> src, Rows<Sample> dst, std::ptrdiff_t rows,
                              std::ptrdiff_t columns) {
  for (std::ptrdiff_t column = 0; column < columns; ++column) {
    for (std::ptrdiff_t row = 0; row < rows; ++row) {
      dst[column][row] = src[row][column];
    }
  }
}

// In blocks of tiles, so that a line of a cache is read and written while it is there. The last
// tiles of a row or column reach back over others.
template <class Sample>
void Transpose(Rows<const Sample> src, Rows<Sample> dst, std::ptrdiff_t rows,
               std::ptrdiff_t columns) {
  constexpr std::ptrdiff_t kSide = kTileSide<Sample>;
  constexpr std::ptrdiff_t kBlock = 64;
  if (rows < kSide || columns < kSide) {
    return TransposeOneByOne(src, dst, rows, columns);
  }
  for (std::ptrdiff_t row = 0; row < rows; row += kBlock) {
    for (std::ptrdiff_t column = 0; column < columns; column += kBlock) {
      for (std::ptrdiff_t i = row; i < std::min(row + kBlock, rows); i += kSide) {
        for (std::ptrdiff_t j = column; j < std::min(column + kBlock, columns); j += kSide) {
          const std::ptrdiff_t first_row = std::min(i, rows - kSide);
          const std::ptrdiff_t first_column = std::min(j, columns - kSide);
          TransposeTile<Sample>({src[first_row] + first_column, src.step},
                                {dst[first_column] + first_row, dst.step});
        }
      }
    }
  }
}
