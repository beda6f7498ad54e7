// Memory below 4 GiB for JVM tests of Native_copyBitmapBuffer, whose destination address is an
// int: on a 64-bit process only such addresses survive the trip through Java.
#include <jni.h>
#include <sys/mman.h>

#include <cstdint>

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
