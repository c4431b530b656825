// Where an image that is seen in perspective is sampled.

struct ProgressionLanes {
  Doubles first, step;

  explicit ProgressionLanes(const PerspectiveRow::Progression& of)
      : first(Set(of.first)), step(Set(of.step)) {}
  Doubles At(Doubles pixel) const { return Add(first, Multiply(step, pixel)); }
};

// NaN lies far outside.
inline void StoreGridPositions(int* p, Doubles in_32nds) {
  constexpr int kBitsOf32nd = GridRow::kBits - 5;
  constexpr double kFarthest = PerspectiveRow::kFarthest >> kBitsOf32nd;
  StoreNearest<kBitsOf32nd>(p, Max(Min(in_32nds, Set(kFarthest)), Set(-kFarthest)));
}

void PerspectivePositions(const PerspectiveRow& row, std::ptrdiff_t count, int* x, int* y) {
  const ProgressionLanes x_lanes(row.x), y_lanes(row.y), w_lanes(row.w);
  const Doubles lanes = Set(static_cast<double>(kLanes<double>));
  Doubles pixel = LaneNumbers();
  for (std::ptrdiff_t k = 0; k < count; k += kLanes<double>, pixel = Add(pixel, lanes)) {
    const Doubles w = w_lanes.At(pixel);
    const Doubles scale = ZeroWhereZero(Divide(Set(32.0), w), w);
    StoreGridPositions(x + k, Multiply(x_lanes.At(pixel), scale));
    StoreGridPositions(y + k, Multiply(y_lanes.At(pixel), scale));
  }
}
