// Deflate for filtered rows of pictures: prefix codes and runs, no search for matches.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace serializer
{

/// Makes pieces of a deflate stream. Camera noise defeats the search for matches; what is left is
/// a prefix code per block and runs of one byte, which need a fraction of the time. No larger than
/// the input but for 5 bytes in 60000 and 5 at the end. Any inflater reads it.
///
/// Keeps its memory between pieces. One thread at a time; calls may throw bad_alloc.
class RowDeflater
{
public:
    /// Compresses `size` bytes into `*out`, whose earlier content goes. The piece begins and ends
    /// on a byte, refers to nothing before it and, if `last`, ends the stream.
    void compress(const unsigned char* data, std::size_t size, bool last,
                  std::vector<unsigned char>* out);

private:
    static constexpr std::size_t kSymbols = 286;
    static constexpr std::size_t kTableSymbols = 19;

    /// `length` bytes from `start` on that equal the one before them.
    struct Run {
        std::uint32_t start;
        std::uint32_t length;
    };

    /// A prefix code for bytes, the end of the block and runs at distance 1.
    struct Code {
        std::array<std::uint8_t, kSymbols> lengths;
        std::array<std::uint32_t, kSymbols> entries; ///< Code, and its length from bit 16 on.
        unsigned distanceBits;                       ///< Of the one distance, whose code is 0.
    };

    /// A symbol of the code that tells the lengths of the block's own code.
    struct TableEntry {
        std::uint8_t symbol;
        std::uint8_t extra;
        std::uint8_t extraBits;
    };

    /// Writes bits, the lowest first. The memory must hold 8 bytes more than are due.
    class Bits
    {
    public:
        Bits() = default;
        explicit Bits(unsigned char* to) : to_(to) {}
        /// Without a store() 56 bits at most may be added.
        void add(std::uint32_t bits, unsigned count)
        {
            pending_ |= std::uint64_t{bits} << count_;
            count_ += count;
        }
        void store();
        void alignToByte();
        /// At a byte only, after store().
        void addBytes(const unsigned char* bytes, std::size_t count);
        const unsigned char* end() const { return to_; }

    private:
        unsigned char* to_ = nullptr;
        std::uint64_t pending_ = 0;
        unsigned count_ = 0;
    };

    void findRuns(const unsigned char* data, std::size_t size);
    void countSymbols(const unsigned char* data, std::size_t size);
    void chooseOwnCode();
    void describeOwnCode();
    void writeBlock(const unsigned char* data, std::size_t size, bool last);
    void writeStored(const unsigned char* data, std::size_t size, bool last);
    void writeTable();
    void writeSymbols(const Code& code, const unsigned char* data, std::size_t size);
    void writeLiterals(const Code& code, const unsigned char* data, std::size_t size);
    void writeRun(const Code& code, std::uint32_t length);
    std::uint64_t costOf(const Code& code) const;
    static void complete(Code& code);
    static Code fixedCode();

    std::vector<unsigned char> scratch_; // Room for the worst case; pieces take what they need.
    Bits bits_;
    // Of the present block.
    std::vector<Run> runs_;
    std::array<std::uint32_t, kSymbols> frequencies_ = {};
    Code own_ = {};
    // How the own code is told.
    std::size_t described_ = 0; // Symbols up to the last one used.
    std::array<TableEntry, kSymbols + 1> table_ = {};
    std::size_t tableSize_ = 0;
    std::array<std::uint32_t, kTableSymbols> tableFrequencies_ = {};
    std::array<std::uint8_t, kTableSymbols> tableLengths_ = {};
    std::array<std::uint16_t, kTableSymbols> tableCodes_ = {};
    std::size_t tableLengthCount_ = 0;
    std::uint64_t tableBits_ = 0;
};

} // namespace serializer
