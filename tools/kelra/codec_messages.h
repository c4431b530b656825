// What image codecs print to standard error, caught and attributed to the image at hand.
#pragma once

#include <string>

namespace KELRA::tool {

// From now on nothing that OpenCV or an image codec prints reaches standard error. To be called
// once, before any thread is started. Where the C library cannot exchange its stream, messages of
// the C codecs still get through.
void CatchCodecMessages();

// The first line that was caught on the calling thread since the last call, without a line end.
std::string TakeCodecMessage();

}  // namespace KELRA::tool
