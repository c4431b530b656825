// Settings that the fuzzer chooses; stands in for the configuration library.
#pragma once

namespace kelra_fuzz {

// Has the library load these settings. Must not run beside any call.
void UseSettings(int efficiency, int parallel);

}  // namespace kelra_fuzz
