// Memory below 4 GiB for JVM tests of Native_copyBitmapBuffer, whose destination address is an
// int: on a 64-bit process only such addresses survive the trip through Java. And memory running
// out: the engine's allocation failure counter, found in the engine the JVM loaded.
#include <dlfcn.h>
#include <jni.h>
#include <link.h>
#include <sys/mman.h>

#include <atomic>
#include <cstdint>
#include <cstring>
#include <string>

extern "C" JNIEXPORT jint JNICALL Java_com_xol_kesto2_test_LowMemory_allocate(JNIEnv*, jclass,
                                                                              jint bytes) {
    void* memory = mmap(nullptr, static_cast<size_t>(bytes), PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_32BIT, -1, 0);
    if (memory == MAP_FAILED || reinterpret_cast<uintptr_t>(memory) > UINT32_MAX) {
        return 0;
    }
    return static_cast<jint>(reinterpret_cast<uintptr_t>(memory));
}

extern "C" JNIEXPORT jbyteArray JNICALL Java_com_xol_kesto2_test_LowMemory_read(JNIEnv* env, jclass,
                                                                                jint address,
                                                                                jint bytes) {
    jbyteArray result = env->NewByteArray(bytes);
    const auto* memory =
        reinterpret_cast<const jbyte*>(static_cast<uintptr_t>(static_cast<uint32_t>(address)));
    env->SetByteArrayRegion(result, 0, bytes, memory);
    return result;
}

extern "C" JNIEXPORT void JNICALL Java_com_xol_kesto2_test_LowMemory_free(JNIEnv*, jclass,
                                                                          jint address,
                                                                          jint bytes) {
    munmap(reinterpret_cast<void*>(static_cast<uintptr_t>(static_cast<uint32_t>(address))),
           static_cast<size_t>(bytes));
}

namespace {

// The engine the JVM loaded, by its file name: the sanitizer runs load a copy with another soname.
int FindEngine(dl_phdr_info* info, size_t, void* path) {
    const bool engine = std::strstr(info->dlpi_name, "/libxolkesto2engine.so") != nullptr;
    if (engine) {
        *static_cast<std::string*>(path) = info->dlpi_name;
    }
    return engine;
}

}  // namespace

// Makes the engine's Nth counted allocation from now fail (0: none). Returns how many were still to
// go, so 0 says the last one set did fail; -1 when no engine is loaded.
extern "C" JNIEXPORT jint JNICALL Java_com_xol_kesto2_test_LowMemory_failAllocation(JNIEnv*, jclass,
                                                                                    jint n) {
    std::string path;
    dl_iterate_phdr(FindEngine, &path);
    void* engine = path.empty() ? nullptr : dlopen(path.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (engine == nullptr) {
        return -1;
    }
    auto* counter = static_cast<std::atomic<int32_t>*>(dlsym(
        engine, "_ZN5kesto25g_allocationsUntilFailureE"));  // kesto::g_allocationsUntilFailure
    const jint left = counter == nullptr ? -1 : counter->exchange(n);
    dlclose(engine);
    return left;
}
