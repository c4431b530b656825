// Removes noise from several frames of one scene: a mean that leaves out the smallest and the
// largest value of each pixel forgets what a plain mean smears.
//
//   denoise PHOTOGRAPH FOLDER    also writes the noisy frames and both means into the folder
#include <KELRA/KelImageOperation.h>

#include <iostream>
#include <opencv2/core.hpp>
#include <opencv2/imgcodecs.hpp>
#include <string>

namespace {

constexpr int kFrames = 5;

// Gaussian noise everywhere, and one pixel in a hundred stuck at black or white.
cv::Mat NoisyFrame(const cv::Mat& photograph, cv::RNG& random) {
  cv::Mat noise(photograph.size(), CV_16SC1);
  random.fill(noise, cv::RNG::NORMAL, 0, 8);
  cv::Mat frame;
  cv::add(photograph, noise, frame, cv::noArray(), CV_8U);
  const int stuck = frame.rows * frame.cols / 100;
  for (int i = 0; i < stuck; ++i) {
    frame.at<uchar>(random.uniform(0, frame.rows), random.uniform(0, frame.cols)) =
        random.uniform(0, 2) == 0 ? 0 : 255;
  }
  return frame;
}

// The mean of the absolute differences from the photograph.
double ErrorOf(KELRA::KelImage& image, KELRA::KelImage& photograph) {
  KELRA::KelImage difference;
  KELRA::KelImageOperation operation;
  if (operation.Difference(image, photograph, &difference) != KELRA::STATUS_OK) {
    return -1;
  }
  return cv::mean(difference.Mat())[0];
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "usage: denoise PHOTOGRAPH [FOLDER]\n";
    return 2;
  }
  KELRA::KelImage photograph(cv::imread(argv[1], cv::IMREAD_GRAYSCALE));
  cv::RNG random(1);
  KELRA::KelImageArray frames;
  for (int i = 0; i < kFrames; ++i) {
    frames.Append(KELRA::KelImage(NoisyFrame(photograph.Mat(), random)));
  }
  KELRA::KelImageOperation operation;
  KELRA::KelImage plain, trimmed;
  if (operation.PixelAverage(frames, &plain, 0) != KELRA::STATUS_OK ||
      operation.PixelAverage(frames, &trimmed, 3) != KELRA::STATUS_OK) {
    std::cerr << "denoise: the frames cannot be averaged\n";
    return 1;
  }
  std::cout << "mean error of a frame " << ErrorOf(frames[0], photograph) << ", of the mean "
            << ErrorOf(plain, photograph) << ", of the trimmed mean "
            << ErrorOf(trimmed, photograph) << "\n";
  if (argc > 2) {
    const std::string folder = std::string(argv[2]) + "/";
    for (int i = 0; i < kFrames; ++i) {
      cv::imwrite(folder + "noisy-" + std::to_string(i + 1) + ".png", frames[i].Mat());
    }
    cv::imwrite(folder + "mean.png", plain.Mat());
    cv::imwrite(folder + "trimmed-mean.png", trimmed.Mat());
  }
  return ErrorOf(trimmed, photograph) < ErrorOf(plain, photograph) ? 0 : 1;
}
