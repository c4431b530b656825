// Bytes as they are, to rows that share none with those they come from.

// Fewer than a vector holds, where the instruction set knows no better.
template <class Byte>
inline void CopyPartially(const Byte* src, Byte* dst, std::ptrdiff_t count) {
  std::memcpy(dst, src, static_cast<std::size_t>(count));
}

// The last vector ends with the row, and may copy some bytes a second time.
inline void CopyRow(const std::uint8_t* src, std::uint8_t* dst, std::ptrdiff_t bytes) {
  constexpr std::ptrdiff_t kStep = kLanes<std::uint8_t>;
  if (bytes < kStep) {
    CopyPartially(src, dst, bytes);
    return;
  }
  const std::ptrdiff_t last = bytes - kStep;
  for (std::ptrdiff_t i = 0; i < last; i += kStep) {
    Store(dst + i, Load(src + i));
  }
  Store(dst + last, Load(src + last));
}

inline void CopyBytesOfRows(Rows<const std::uint8_t> src, Rows<std::uint8_t> dst,
                            const Extent& extent) {
  if (extent.streaming) {
    ConvertRows<true, const std::uint8_t*, Unchanged>(src, dst, extent);
    _mm_sfence();
    return;
  }
  // Copies that no store can reach: they stay in registers.
  const std::ptrdiff_t rows = extent.rows;
  const std::ptrdiff_t bytes = extent.samples;
  for (std::ptrdiff_t row = 0; row < rows; ++row) {
    CopyRow(src[row], dst[row], bytes);
  }
}
