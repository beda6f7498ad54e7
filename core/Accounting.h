// Counted allocation of engine objects.
//
// Every heap object and array the engine creates goes through these helpers so that the resource
// statistics can show leaks: the counters drop back to zero once everything has been destroyed.
// Producer threads allocate too, hence atomics; relaxed order is enough for counters.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>
#include <utility>

namespace kesto {

extern std::atomic<int32_t> g_newCount;
extern std::atomic<int32_t> g_newArrayCount;

// Process-wide pixel memory, shown with the environment's resource statistics. Here rather than
// in image/ so that the environment, a layer below, can print them.
extern std::atomic<int32_t> g_bitmapCount;
extern std::atomic<int32_t> g_bitmapBytes;
extern std::atomic<int32_t> g_glTextureCount;
extern std::atomic<int32_t> g_glTextureBytes;

// Allocation failure on demand, for tests of the paths that handle it: while positive, each counted
// allocation counts it down and the one that reaches zero fails as if memory had run out. At zero,
// the default, it costs one relaxed load.
extern std::atomic<int32_t> g_allocationsUntilFailure;

inline bool AllocationFailureInjected() {
    return g_allocationsUntilFailure.load(std::memory_order_relaxed) > 0 &&
           g_allocationsUntilFailure.fetch_sub(1, std::memory_order_relaxed) == 1;
}

template <class T, class... Args>
T* NewObject(Args&&... args) {
    if (AllocationFailureInjected()) {
        return nullptr;
    }
    T* object = new (std::nothrow) T(std::forward<Args>(args)...);
    if (object != nullptr) {
        g_newCount.fetch_add(1, std::memory_order_relaxed);
    }
    return object;
}

template <class T>
void DeleteObject(T* object) {
    if (object != nullptr) {
        g_newCount.fetch_sub(1, std::memory_order_relaxed);
        delete object;
    }
}

// Elements are value-initialised (zero for scalars).
template <class T>
T* NewArray(size_t count) {
    if (AllocationFailureInjected()) {
        return nullptr;
    }
    T* array = new (std::nothrow) T[count]();
    if (array != nullptr) {
        g_newArrayCount.fetch_add(1, std::memory_order_relaxed);
    }
    return array;
}

// Elements are left uninitialised: for pixel and vertex buffers that are filled at once.
template <class T>
T* NewRawArray(size_t count) {
    if (AllocationFailureInjected()) {
        return nullptr;
    }
    T* array = new (std::nothrow) T[count];
    if (array != nullptr) {
        g_newArrayCount.fetch_add(1, std::memory_order_relaxed);
    }
    return array;
}

template <class T>
void DeleteArray(T* array) {
    if (array != nullptr) {
        g_newArrayCount.fetch_sub(1, std::memory_order_relaxed);
        delete[] array;
    }
}

// Makes room for `needed` groups of `group` elements in an array holding `used` groups, doubling
// from at least `first`; the used part moves over. False, leaving the array as it was, when memory
// runs out. For arrays reused frame after frame.
template <class T>
bool GrowArray(T** array, int32_t used, int32_t* capacity, int32_t needed, int32_t group,
               int32_t first) {
    if (needed <= *capacity) {
        return true;
    }
    int32_t grown = *capacity > first ? *capacity : first;
    while (grown < needed) {
        grown *= 2;
    }
    T* larger = NewRawArray<T>(static_cast<size_t>(grown) * group);
    if (larger == nullptr) {
        return false;
    }
    for (size_t i = 0; i < static_cast<size_t>(used) * group; ++i) {
        larger[i] = (*array)[i];
    }
    DeleteArray(*array);
    *array = larger;
    *capacity = grown;
    return true;
}

}  // namespace kesto
