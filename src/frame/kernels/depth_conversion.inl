// Samples of one depth as those of the other.

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

// The extent is a copy that no store can reach: short rows would wait for it otherwise.
template <bool kStreaming, class Loaded, class Formula, class From, class To>
inline void ConvertRows(Rows<const From> src, Rows<To> dst, Extent extent) {
  for (std::ptrdiff_t row = 0; row < extent.rows; ++row) {
    WalkBlocks<kStreaming>(Formula{}, extent.samples, dst[row], Loaded{src[row]});
  }
}

template <class Loaded, class Formula, class From, class To>
void ConvertDepth(Rows<const From> src, Rows<To> dst, const Extent& extent) {
  if (extent.streaming) {
    ConvertRows<true, Loaded, Formula>(src, dst, extent);
    _mm_sfence();
  } else {
    ConvertRows<false, Loaded, Formula>(src, dst, extent);
  }
}

inline constexpr DepthConversions kDepthConversions = {
    .to_words = ConvertDepth<AsWords, Unchanged>,
    .to_bytes = ConvertDepth<WordsPerByte, SaturatedToBytes>,
};
