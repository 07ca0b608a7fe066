// An allocator, to be preloaded, that refuses when it is told to. Armed through ctypes; counts only
// requests of our libraries and of the C++ library for them: what the interpreter or a codec does
// without memory is not ours to test.
#include <dlfcn.h>
#include <link.h>
#include <pthread.h>

#include <array>
#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <new>

namespace
{

struct Range {
    std::uintptr_t begin = 0, end = 0;
};

std::array<Range, 64> ranges;
std::size_t rangeCount = 0;

std::atomic<bool> armed{false};
std::atomic<long> seen{0};
std::atomic<long> refused{0};
std::atomic<void*> lastRefused{nullptr};
long firstRefusal = 0;
long refusals = 0;
bool everyThread = false;
pthread_t armingThread;

bool isOurs(const char* path)
{
    const char* const slash = std::strrchr(path, '/');
    const char* const name = slash != nullptr ? slash + 1 : path;
    for (const char* part : {"libZel", "zelcam_simulator", "libstdc++"}) {
        if (std::strncmp(name, part, std::strlen(part)) == 0) {
            return true;
        }
    }
    return false;
}

int addRange(dl_phdr_info* info, std::size_t /*size*/, void* /*context*/)
{
    for (int i = 0; isOurs(info->dlpi_name) && i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr)& segment = info->dlpi_phdr[i];
        if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0 &&
            rangeCount < ranges.size()) {
            const std::uintptr_t begin = info->dlpi_addr + segment.p_vaddr;
            ranges.at(rangeCount++) = {begin, begin + segment.p_memsz};
        }
    }
    return 0;
}

bool refuses(void* caller)
{
    if (!armed.load(std::memory_order_acquire) ||
        (!everyThread && pthread_equal(pthread_self(), armingThread) == 0)) {
        return false;
    }
    const auto address = reinterpret_cast<std::uintptr_t>(caller);
    for (std::size_t i = 0; i < rangeCount; ++i) {
        if (address >= ranges.at(i).begin && address < ranges.at(i).end) {
            const long number = ++seen;
            if (number < firstRefusal || number - firstRefusal >= refusals) {
                return false;
            }
            ++refused;
            lastRefused = caller;
            errno = ENOMEM;
            return true;
        }
    }
    return false;
}

template <class Function> Function* next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

// What the dynamic linker asks for while it looks the real functions up; never freed.
alignas(16) std::array<char, 65536> early;
std::size_t earlyUsed = 0;

void* takeEarly(std::size_t size)
{
    void* const result = early.data() + earlyUsed;
    earlyUsed += (size + 15) / 16 * 16;
    return earlyUsed <= early.size() ? result : nullptr;
}

bool isEarly(const void* memory)
{
    return memory >= early.data() && memory < early.data() + early.size();
}

struct Real {
    void* (*malloc)(std::size_t) = nullptr;
    void* (*calloc)(std::size_t, std::size_t) = nullptr;
    void* (*realloc)(void*, std::size_t) = nullptr;
    void* (*alignedAlloc)(std::size_t, std::size_t) = nullptr;
    void (*free)(void*) = nullptr;
};

/// Null while it is being filled.
const Real* real()
{
    static Real functions;
    static std::atomic<int> state{0};
    int expected = 0;
    if (state.load(std::memory_order_acquire) == 2) {
        return &functions;
    }
    if (!state.compare_exchange_strong(expected, 1)) {
        return nullptr;
    }
    functions.calloc = next<void*(std::size_t, std::size_t)>("calloc");
    functions.malloc = next<void*(std::size_t)>("malloc");
    functions.realloc = next<void*(void*, std::size_t)>("realloc");
    functions.alignedAlloc = next<void*(std::size_t, std::size_t)>("aligned_alloc");
    functions.free = next<void(void*)>("free");
    state.store(2, std::memory_order_release);
    return &functions;
}

void* allocate(std::size_t size)
{
    const Real* const functions = real();
    return functions != nullptr ? functions->malloc(size) : takeEarly(size);
}

/// Whole alignments: a sanitizer's aligned_alloc() insists on them.
void* allocateAligned(std::size_t alignment, std::size_t size)
{
    return real()->alignedAlloc(alignment, (size + alignment - 1) / alignment * alignment);
}

void* allocateOrThrow(std::size_t size, std::size_t alignment, void* caller)
{
    void* const memory = refuses(caller)                         ? nullptr
                         : alignment > alignof(std::max_align_t) ? allocateAligned(alignment, size)
                                                                 : allocate(size > 0 ? size : 1);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    return memory;
}

} // namespace

extern "C" {

/// From now on requests number `first` to `first + count - 1` are refused, counted on this thread
/// or on all; 0 refuses none and counts.
void zelFailArm(long first, long count, int onEveryThread)
{
    rangeCount = 0;
    dl_iterate_phdr(addRange, nullptr);
    seen = 0;
    refused = 0;
    firstRefusal = first;
    refusals = first > 0 ? count : 0;
    everyThread = onEveryThread != 0;
    armingThread = pthread_self();
    armed.store(true, std::memory_order_release);
}

/// How many requests were refused.
long zelFailDisarm()
{
    armed.store(false, std::memory_order_release);
    return refused;
}

long zelFailSeen() { return seen; }
void* zelFailPlace() { return lastRefused; }

void* malloc(std::size_t size)
{
    return refuses(__builtin_return_address(0)) ? nullptr : allocate(size);
}

void* calloc(std::size_t count, std::size_t size)
{
    if (refuses(__builtin_return_address(0))) {
        return nullptr;
    }
    const Real* const functions = real();
    return functions != nullptr ? functions->calloc(count, size) : takeEarly(count * size);
}

void* realloc(void* memory, std::size_t size)
{
    return refuses(__builtin_return_address(0)) ? nullptr : real()->realloc(memory, size);
}

void* aligned_alloc(std::size_t alignment, std::size_t size)
{
    return refuses(__builtin_return_address(0)) ? nullptr : real()->alignedAlloc(alignment, size);
}

int posix_memalign(void** memory, std::size_t alignment, std::size_t size)
{
    void* const made =
        refuses(__builtin_return_address(0)) ? nullptr : allocateAligned(alignment, size);
    if (made == nullptr) {
        return ENOMEM;
    }
    *memory = made;
    return 0;
}

void free(void* memory)
{
    if (memory != nullptr && !isEarly(memory)) {
        real()->free(memory);
    }
}

} // extern "C"

// By themselves, because a sanitizer's do not ask malloc.
void* operator new(std::size_t size)
{
    return allocateOrThrow(size, 0, __builtin_return_address(0));
}
void* operator new[](std::size_t size)
{
    return allocateOrThrow(size, 0, __builtin_return_address(0));
}
void* operator new(std::size_t size, std::align_val_t alignment)
{
    return allocateOrThrow(size, static_cast<std::size_t>(alignment), __builtin_return_address(0));
}
void* operator new[](std::size_t size, std::align_val_t alignment)
{
    return allocateOrThrow(size, static_cast<std::size_t>(alignment), __builtin_return_address(0));
}
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return refuses(__builtin_return_address(0)) ? nullptr : allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t& /*tag*/) noexcept
{
    return refuses(__builtin_return_address(0)) ? nullptr : allocate(size);
}
void operator delete(void* memory) noexcept { free(memory); }
void operator delete[](void* memory) noexcept { free(memory); }
void operator delete(void* memory, std::size_t /*size*/) noexcept { free(memory); }
void operator delete[](void* memory, std::size_t /*size*/) noexcept { free(memory); }
void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept { free(memory); }
void operator delete[](void* memory, std::align_val_t /*alignment*/) noexcept { free(memory); }
void operator delete(void* memory, std::size_t, std::align_val_t) noexcept { free(memory); }
void operator delete[](void* memory, std::size_t, std::align_val_t) noexcept { free(memory); }
