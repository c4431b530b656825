// What becomes of the program when the system or the user ends it early.
#pragma once

namespace KELRA::tool {

// From now on a signal that asks the program to end does so once the files that are being written
// have been removed, and a closed pipe or a size limit fails the write instead of ending the
// program. Signals that were ignored stay so. To be called once, before any other thread is
// started. Does nothing on Windows.
void EndCleanlyOnSignals();

}  // namespace KELRA::tool
