// Which pixels of a mask are 255, as bits.

inline void BitsOfMask(const std::uint8_t* mask, std::ptrdiff_t words, std::uint64_t* bits) {
  constexpr int kWordBits = 64;
  for (std::ptrdiff_t word = 0; word < words; ++word) {
    std::uint64_t word_bits = 0;
    for (int i = 0; i < kWordBits; i += static_cast<int>(kLanes<std::uint8_t>)) {
      word_bits |= BitsWhereEqual(Load(mask + word * kWordBits + i), 255) << i;
    }
    bits[word] = word_bits;
  }
}
