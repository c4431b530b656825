#include <algorithm>
#include <vector>

#include "KELRA/KelData.h"

namespace KELRA {

KelRegion::KelRegion() = default;
KelRegion::KelRegion(int width, int height)
    : width_(std::max(width, 0)), height_(std::max(height, 0)) {}
KelRegion::KelRegion(const KelRegion& other) = default;
KelRegion::KelRegion(KelRegion&& other) noexcept = default;
KelRegion& KelRegion::operator=(const KelRegion& other) = default;
KelRegion& KelRegion::operator=(KelRegion&& other) noexcept = default;
KelRegion::~KelRegion() = default;

int KelRegion::Width() const { return width_; }
int KelRegion::Height() const { return height_; }
void KelRegion::Append(const KelRun& run) { runs_.push_back(run); }
const std::vector<KelRun>& KelRegion::Runs() const { return runs_; }

}  // namespace KELRA
