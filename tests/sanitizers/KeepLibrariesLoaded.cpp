// A dlclose that keeps every library mapped until exit. Linked into the AddressSanitizer test
// programs (which export it, so it takes the place of libc's for every library) and preloaded
// into the JVM sessions under LeakSanitizer and the API fuzzer.
//
// Mesa loads its driver (and LLVM with it) on eglInitialize and unloads it on eglTerminate. What
// the driver sets up once per load and keeps in its globals is then unreachable, and LeakSanitizer,
// which checks at exit, reports it as leaked from code that is no longer mapped and cannot be
// named, so it could not even be suppressed. Kept mapped, those globals stay roots. Nothing the
// tests check depends on a library going away.
extern "C" int dlclose(void*) {
    return 0;
}
