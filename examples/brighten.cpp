#include <KELRA/KelImageOperation.h>

#include <iostream>

int main() {
  KELRA::KelImage photo(cv::Mat(480, 640, CV_8UC1, cv::Scalar(100))), result;
  KELRA::KelROI disc = KELRA::KelROI::Circle({320, 240}, 100);
  KELRA::KelImageOperation operation;
  const KELRA::KelLong status = operation.AddConst(photo, disc, &result, 40, 1.1F, 3.0F);
  std::cout << "status " << status << ", inside " << int(result.Mat().at<uchar>(240, 320))
            << ", outside " << int(result.Mat().at<uchar>(0, 0)) << "\n";
  return status == KELRA::STATUS_OK ? 0 : 1;
}
