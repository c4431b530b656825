// Samples of one depth as those of the other, and as they are.

// Bytes to be loaded as one vector of words.
struct AsWords {
  const std::uint8_t* bytes;

  AsWords operator+(std::ptrdiff_t i) const { return {bytes + i}; }
};

inline Words Load(AsWords p) { return LoadWidenedToWords(p.bytes); }

inline Words LoadPartial(AsWords p, std::ptrdiff_t count) {
  std::uint8_t lanes[kLanes<std::uint16_t>] = {};
  std::memcpy(lanes, p.bytes, static_cast<std::size_t>(count));
  return LoadWidenedToWords(lanes);
}

// Words to be loaded as many at a time as a vector has bytes.
struct WordsPerByte {
  const std::uint16_t* words;

  WordsPerByte operator+(std::ptrdiff_t i) const { return {words + i}; }
};

struct TwoWords {
  Words low, high;
};

inline TwoWords Load(WordsPerByte p) {
  return {Load(p.words), Load(p.words + kLanes<std::uint16_t>)};
}

inline TwoWords LoadInHalves(WordsPerByte p) {
  return {LoadInHalves(p.words), LoadInHalves(p.words + kLanes<std::uint16_t>)};
}

inline TwoWords LoadPartial(WordsPerByte p, std::ptrdiff_t count) {
  std::uint16_t lanes[kLanes<std::uint8_t>] = {};
  std::memcpy(lanes, p.words, static_cast<std::size_t>(count) * sizeof(std::uint16_t));
  return Load(WordsPerByte{lanes});
}

struct Unchanged {
  static auto Vector(auto s) { return s; }
};

struct SaturatedToBytes {
  static Bytes Vector(const TwoWords& s) { return NarrowInOrder(s.low, s.high); }
};

template <class Loaded, class Formula, class From, class To>
void ConvertDepth(Rows<const From> src, Rows<To> dst, const Extent& extent) {
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    if (extent.streaming) {
      WalkBlocks<true>(Formula{}, extent.samples, dst[row], Loaded{src[row]});
    } else {
      WalkBlocks<false>(Formula{}, extent.samples, dst[row], Loaded{src[row]});
    }
  }
  if (extent.streaming) {
    _mm_sfence();
  }
}

inline constexpr DepthConversions kDepthConversions = {
    .to_words = ConvertDepth<AsWords, Unchanged>,
    .to_bytes = ConvertDepth<WordsPerByte, SaturatedToBytes>,
};

inline void StreamBytesOfRows(Rows<const std::uint8_t> src, Rows<std::uint8_t> dst,
                              const Extent& extent) {
  ConvertDepth<const std::uint8_t*, Unchanged>(src, dst,
                                               {extent.rows, extent.samples, extent.blocks, true});
}
