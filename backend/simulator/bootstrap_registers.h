// The registers that every GigE Vision camera has at fixed addresses.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <string>

namespace simulator
{

/// First address behind them.
constexpr std::uint64_t kBootstrapEnd = 0xA000;

/// Numbers of four bytes, big endian, and texts padded with NUL. The owner locks. Codes are those
/// of GenTL.
class BootstrapRegisters
{
public:
    enum class Access { ReadOnly, ReadWrite, WriteOnly };
    using Reader = std::function<std::uint32_t()>;
    /// Takes a written value; a code other than 0 refuses it.
    using Writer = std::function<std::int32_t(std::uint32_t)>;
    using TextReader = std::function<std::string()>;
    using TextWriter = std::function<std::int32_t(const std::string&)>;

    // Adding: at addresses that are multiples of 4, without overlap.
    /// A number that is kept here.
    void number(std::uint32_t address, Access access, std::uint32_t value = 0);
    /// A number that is kept elsewhere; read only without `write`.
    void number(std::uint32_t address, Reader read, Writer write = {});
    /// A number that is kept here after `check` agreed.
    void checked(std::uint32_t address, Access access, Writer check);
    /// A text field of `size` bytes; read only without `write`.
    void text(std::uint32_t address, std::uint32_t size, TextReader read, TextWriter write = {});
    /// Told after each number that was written through write().
    void onWritten(std::function<void(std::uint32_t address, std::uint32_t value)> hook)
    {
        written_ = std::move(hook);
    }

    /// For the camera itself, without checks and hooks; 0 where there is no number.
    std::uint32_t value(std::uint32_t address) const;
    void setValue(std::uint32_t address, std::uint32_t value);
    /// Writes as a host does, one number.
    std::int32_t writeNumber(std::uint32_t address, std::uint32_t value);

    /// Any range without gaps; in the identity block gaps read as zeros. -1015 elsewhere, -1005 for
    /// what is only written.
    std::int32_t read(std::uint64_t address, void* data, std::size_t size) const;
    /// Whole numbers, and texts from their beginning; nothing is written when an address in the
    /// range is wrong (-1015) or read only (-1005). What a register refuses ends the writing.
    std::int32_t write(std::uint64_t address, const void* data, std::size_t size);
    /// Whether a register lies there that nobody may write.
    bool isReadOnly(std::uint64_t address) const;

private:
    struct Register {
        std::uint32_t size = 4;
        Access access = Access::ReadWrite;
        std::uint32_t value = 0;
        Reader read;
        Writer write;
        bool keeps = true; ///< A written value is kept here.
        TextReader readText;
        TextWriter writeText;
    };
    using Map = std::map<std::uint32_t, Register>;

    /// The register that holds this address, or the end.
    Map::const_iterator at(std::uint64_t address) const;
    std::string bytesOf(const Register& reg) const;
    std::int32_t checkWrite(std::uint64_t address, std::size_t size) const;

    Map registers_;
    std::function<void(std::uint32_t, std::uint32_t)> written_;
};

} // namespace simulator
