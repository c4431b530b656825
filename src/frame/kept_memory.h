// Memory of images, kept from call to call.
#pragma once

#include <opencv2/core.hpp>

namespace KELRA {

// Each thread keeps one matrix for each purpose, of up to 16 MiB: fresh memory is given to a
// process page by page, which takes longer than writing it.
enum class KeptFor { kConstantImage, kResult };

// The matrix that the thread has kept, without rows: their memory is reserved. Nobody else has it,
// and nothing is kept now.
cv::Mat TakeKept(KeptFor purpose);

// Keeps the matrix unless its memory is larger or somebody else holds it.
void Keep(KeptFor purpose, cv::Mat&& mat);

}  // namespace KELRA
