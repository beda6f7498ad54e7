// The allocation functions of the shipped Android library. The C++ runtime's own can throw, and
// with them comes its exception machinery (unwinder, demangler: half of the library) into an
// engine that never throws: these go to malloc instead, and end the process where the standard
// ones would throw. They replace the runtime's inside this library only (nothing of it is
// exported); test programs, which link the runtime's, do without them.

#include <cstdlib>
#include <new>

// The runtime defines this tag in the same unit as its throwing functions; defined here, that
// unit stays out.
const std::nothrow_t std::nothrow{};

void* operator new(std::size_t size) {
    void* memory = std::malloc(size != 0 ? size : 1);
    if (memory == nullptr) {
        std::abort();
    }
    return memory;
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return std::malloc(size != 0 ? size : 1);
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete[](void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

void operator delete(void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}

void operator delete[](void* memory, const std::nothrow_t&) noexcept {
    std::free(memory);
}
