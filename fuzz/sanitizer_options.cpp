// Memory ends soon here, so that what happens then is seen without long fills.

extern "C" const char* __asan_default_options();

const char* __asan_default_options() {
  return "allocator_may_return_null=1:max_allocation_size_mb=32:quarantine_size_mb=16:malloc_"
         "context_size=8";
}
