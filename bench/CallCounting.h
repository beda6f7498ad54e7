// The hooks behind the generated GL and EGL stand-ins of kesto_bench_calls.
#pragma once

namespace kesto::bench {

// The library's own definition of `name` (the next one after this executable's), or null.
void* RealFunction(const char* name);
// Appends `name` to the trace when the calling thread is recording.
void CountCall(const char* name);

}  // namespace kesto::bench
