// Memory of one acquisition buffer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <utility>

namespace core
{

/// Aligned memory, freed with the object, which is moved and not copied. Empty when there was none
/// to be had.
class BufferMemory
{
public:
    static constexpr std::uint64_t kMinAlignment = 64; ///< A cache line; what SIMD kernels like.
    static constexpr std::uint64_t kMaxAlignment = 1U << 21U;

    BufferMemory() = default;
    BufferMemory(BufferMemory&&) = default;
    BufferMemory& operator=(BufferMemory&&) = default;

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
        // Zeros: a frame that arrives short must not show what lay here before.
        memory_ = std::shared_ptr<void>(std::calloc(1, rounded + align), std::free);
        if (memory_ == nullptr) {
            return;
        }
        const auto address = reinterpret_cast<std::uintptr_t>(memory_.get());
        data_ = static_cast<unsigned char*>(memory_.get()) + (align - address % align) % align;
        size_ = size;
        if (rounded <= kTouched) {
            std::memset(data_, 0, rounded); // The first frame finds the pages there.
        }
    }

    /// Memory that somebody else made, of this size; it is kept with the object.
    BufferMemory(std::shared_ptr<void> memory, std::size_t size)
        : memory_(std::move(memory)), data_(static_cast<unsigned char*>(memory_.get())), size_(size)
    {
    }

    void* data() const { return memory_ != nullptr ? data_ : nullptr; }
    std::size_t size() const { return size_; }

private:
    /// A camera may claim frames of gigabytes: pages of larger memory come when they are used.
    static constexpr std::size_t kTouched = std::size_t{256} << 20;

    std::shared_ptr<void> memory_;
    unsigned char* data_ = nullptr; ///< Aligned, in memory_.
    std::size_t size_ = 0;
};

} // namespace core
