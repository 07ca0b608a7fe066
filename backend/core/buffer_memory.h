// Memory of one acquisition buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace core
{

/// Aligned memory, freed with the object. Empty when there was none to be had.
class BufferMemory
{
public:
    static constexpr std::uint64_t kMinAlignment = 64; ///< A cache line; what SIMD kernels like.
    static constexpr std::uint64_t kMaxAlignment = 1U << 21U;

    BufferMemory() = default;

    /// `alignment` is rounded up to a power of two from kMinAlignment to kMaxAlignment. Whole lines
    /// are allocated, so that vector loads at the end stay inside. The contents start as zeros.
    BufferMemory(std::size_t size, std::uint64_t alignment)
    {
        std::uint64_t align = kMinAlignment;
        while (align < alignment && align < kMaxAlignment) {
            align *= 2;
        }
        if (size == 0 || size > SIZE_MAX / 2) {
            return;
        }
        const std::size_t rounded = (size + align - 1) / align * align;
        void* memory = nullptr;
        if (posix_memalign(&memory, align, rounded) == 0) {
            // A frame that arrives short must not show what lay here before.
            std::memset(memory, 0, rounded);
            memory_.reset(memory);
            size_ = size;
        }
    }

    void* data() const { return memory_.get(); }
    std::size_t size() const { return size_; }

private:
    struct Free {
        void operator()(void* memory) const { std::free(memory); }
    };

    std::unique_ptr<void, Free> memory_;
    std::size_t size_ = 0;
};

} // namespace core
