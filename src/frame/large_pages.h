// Memory for new large results.
#pragma once

#include <opencv2/core.hpp>

namespace KELRA {

// As cv::Mat::create, for a matrix that is written as a whole next. Memory of tens of megabytes
// comes from the system with each matrix, and is given to the process page by page while it is
// written: in ordinary pages that takes several times as long as the writing. Throws cv::Exception
// where there is no memory for it.
void CreateInLargePages(cv::Size size, int type, cv::Mat* mat);

}  // namespace KELRA
