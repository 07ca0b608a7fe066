#include "row_deflater.h"

#include "prefix_code.h"

#include <algorithm>
#include <cstring>

namespace serializer
{

namespace
{

constexpr std::size_t kBlock = 60000; // Fits a stored block; codes follow the picture's changes.
constexpr std::size_t kEndOfBlock = 256;
constexpr std::uint32_t kShortestRun = 5; // Shorter ones cost as much as their bytes.
constexpr std::uint32_t kLongestRun = 258;
constexpr unsigned kLongestCode = 14; // Four codes and what is pending fit a word.
constexpr unsigned kLongestTableCode = 7;
constexpr std::size_t kStoredHeader = 5;
constexpr std::size_t kSlack = 16; // Bits are stored eight bytes at a time.
constexpr unsigned kStoredType = 0;
constexpr unsigned kFixedType = 1;
constexpr unsigned kDynamicType = 2;
constexpr std::uint8_t kTableOrder[19] = {16, 17, 18, 0, 8,  7, 9,  6, 10, 5,
                                          11, 4,  12, 3, 13, 2, 14, 1, 15};

struct LengthRow {
    std::uint32_t base;
    std::uint8_t extraBits;
};

// Row n: the lengths that symbol 257 + n begins.
constexpr LengthRow kLengths[29] = {
    {3, 0},  {4, 0},  {5, 0},  {6, 0},   {7, 0},   {8, 0},   {9, 0},   {10, 0},  {11, 1}, {13, 1},
    {15, 1}, {17, 1}, {19, 2}, {23, 2},  {27, 2},  {31, 2},  {35, 3},  {43, 3},  {51, 3}, {59, 3},
    {67, 4}, {83, 4}, {99, 4}, {115, 4}, {131, 5}, {163, 5}, {195, 5}, {227, 5}, {258, 0}};

std::size_t rowOfLength(std::uint32_t length)
{
    std::size_t row = std::size(kLengths) - 1;
    while (kLengths[row].base > length) {
        --row;
    }
    return row;
}

// The next piece of a run: what is left of it must be nothing or long enough for another.
std::uint32_t pieceOfRun(std::uint32_t left)
{
    const bool leavesTooLittle = left > kLongestRun && left - kLongestRun < 3;
    return std::min(left, leavesTooLittle ? kLongestRun - 3 : kLongestRun);
}

bool equalFour(const unsigned char* a, const unsigned char* b) { return std::memcmp(a, b, 4) == 0; }

} // namespace

void RowDeflater::Bits::store()
{
    std::memcpy(to_, &pending_, sizeof pending_);
    to_ += count_ / 8;
    pending_ >>= count_ & ~7U;
    count_ %= 8;
}

void RowDeflater::Bits::alignToByte()
{
    count_ = (count_ + 7) & ~7U;
    store();
}

void RowDeflater::Bits::addBytes(const unsigned char* bytes, std::size_t count)
{
    if (count != 0) {
        std::memcpy(to_, bytes, count);
        to_ += count;
    }
}

void RowDeflater::findRuns(const unsigned char* data, std::size_t size)
{
    runs_.clear();
    std::size_t taken = 1; // A byte that nothing stands in front of begins no run.
    for (std::size_t i = 1; i + 4 <= size; i += 4) {
        if (!equalFour(data + i, data + i - 1)) {
            continue;
        }
        std::size_t start = i;
        std::size_t end = i + 4;
        while (start > taken && data[start - 1] == data[start - 2]) {
            --start;
        }
        while (end < size && data[end] == data[end - 1]) {
            ++end;
        }
        if (end - start >= kShortestRun) {
            runs_.push_back(
                {static_cast<std::uint32_t>(start), static_cast<std::uint32_t>(end - start)});
            taken = end + 1;
            // On from the group behind the run.
            i += (end - i) / 4 * 4 - 4;
        }
    }
}

void RowDeflater::countSymbols(const unsigned char* data, std::size_t size)
{
    // Four counters each, because equal neighbours would wait for one another.
    std::array<std::array<std::uint32_t, 256>, 4> counts{};
    frequencies_.fill(0);
    const auto countLiterals = [&](std::size_t from, std::size_t to) {
        for (; from + 4 <= to; from += 4) {
            for (std::size_t lane = 0; lane < 4; ++lane) {
                ++counts[lane][data[from + lane]];
            }
        }
        for (; from < to; ++from) {
            ++counts[0][data[from]];
        }
    };
    std::size_t at = 0;
    for (const Run& run : runs_) {
        countLiterals(at, run.start);
        for (std::uint32_t left = run.length; left > 0; left -= pieceOfRun(left)) {
            ++frequencies_[kEndOfBlock + 1 + rowOfLength(pieceOfRun(left))];
        }
        at = run.start + run.length;
    }
    countLiterals(at, size);
    for (std::size_t value = 0; value < 256; ++value) {
        frequencies_[value] =
            counts[0][value] + counts[1][value] + counts[2][value] + counts[3][value];
    }
    frequencies_[kEndOfBlock] = 1;
}

std::uint64_t RowDeflater::costOf(const Code& code) const
{
    std::uint64_t bits = 3;
    for (std::size_t symbol = 0; symbol < kSymbols; ++symbol) {
        std::uint64_t each = code.lengths[symbol];
        if (symbol > kEndOfBlock) {
            each += kLengths[symbol - kEndOfBlock - 1].extraBits + code.distanceBits;
        }
        bits += each * frequencies_[symbol];
    }
    return bits;
}

void RowDeflater::complete(Code& code)
{
    std::array<std::uint16_t, kSymbols> codes;
    assignCodes(code.lengths.data(), kSymbols, codes.data());
    for (std::size_t symbol = 0; symbol < kSymbols; ++symbol) {
        code.entries[symbol] = codes[symbol] | std::uint32_t{code.lengths[symbol]} << 16U;
    }
}

RowDeflater::Code RowDeflater::fixedCode()
{
    // The two longest lengths belong to symbols that are never used but take part in the codes.
    std::array<std::uint8_t, 288> lengths;
    std::array<std::uint16_t, 288> codes;
    for (std::size_t symbol = 0; symbol < lengths.size(); ++symbol) {
        lengths[symbol] = symbol < 144 ? 8 : symbol < 256 ? 9 : symbol < 280 ? 7 : 8;
    }
    assignCodes(lengths.data(), lengths.size(), codes.data());
    Code code;
    code.distanceBits = 5;
    for (std::size_t symbol = 0; symbol < kSymbols; ++symbol) {
        code.lengths[symbol] = lengths[symbol];
        code.entries[symbol] = codes[symbol] | std::uint32_t{lengths[symbol]} << 16U;
    }
    return code;
}

// How the block's own code is told: its lengths, and the one distance's, with repeats shortened.
void RowDeflater::describeOwnCode()
{
    described_ = kSymbols;
    while (own_.lengths[described_ - 1] == 0) {
        --described_;
    }
    std::array<std::uint8_t, kSymbols + 1> lengths;
    std::copy_n(own_.lengths.begin(), described_, lengths.begin());
    lengths[described_] = 1;
    tableSize_ = 0;
    tableFrequencies_.fill(0);
    const auto add = [&](std::uint8_t symbol, std::size_t extra, std::uint8_t extraBits) {
        table_[tableSize_++] = {symbol, static_cast<std::uint8_t>(extra), extraBits};
        ++tableFrequencies_[symbol];
    };
    const std::size_t count = described_ + 1;
    for (std::size_t i = 0; i < count;) {
        const std::uint8_t length = lengths[i];
        std::size_t same = 1;
        while (i + same < count && lengths[i + same] == length) {
            ++same;
        }
        i += same;
        if (length != 0) {
            add(length, 0, 0);
            --same;
        }
        while (same >= 3) {
            const std::size_t most = length != 0 ? 6 : same <= 10 ? 10 : 138;
            const std::size_t now = std::min(same, most);
            if (length != 0) {
                add(16, now - 3, 2);
            } else if (now <= 10) {
                add(17, now - 3, 3);
            } else {
                add(18, now - 11, 7);
            }
            same -= now;
        }
        for (; same > 0; --same) {
            add(length, 0, 0);
        }
    }
}

void RowDeflater::chooseOwnCode()
{
    chooseLengths(frequencies_.data(), kSymbols, kLongestCode, own_.lengths.data());
    own_.distanceBits = 1;
    complete(own_);
    describeOwnCode();
    chooseLengths(tableFrequencies_.data(), tableFrequencies_.size(), kLongestTableCode,
                  tableLengths_.data());
    assignCodes(tableLengths_.data(), tableLengths_.size(), tableCodes_.data());
    tableLengthCount_ = std::size(kTableOrder);
    while (tableLengthCount_ > 4 && tableLengths_[kTableOrder[tableLengthCount_ - 1]] == 0) {
        --tableLengthCount_;
    }
    tableBits_ = 14 + 3 * tableLengthCount_;
    for (std::size_t i = 0; i < tableSize_; ++i) {
        tableBits_ += tableLengths_[table_[i].symbol] + table_[i].extraBits;
    }
}

void RowDeflater::writeTable()
{
    bits_.add(static_cast<std::uint32_t>(described_ - kEndOfBlock - 1), 5);
    bits_.add(0, 5); // One distance.
    bits_.add(static_cast<std::uint32_t>(tableLengthCount_ - 4), 4);
    for (std::size_t i = 0; i < tableLengthCount_; ++i) {
        bits_.add(tableLengths_[kTableOrder[i]], 3);
        bits_.store();
    }
    for (std::size_t i = 0; i < tableSize_; ++i) {
        const TableEntry& entry = table_[i];
        bits_.add(tableCodes_[entry.symbol], tableLengths_[entry.symbol]);
        bits_.add(entry.extra, entry.extraBits);
        bits_.store();
    }
}

void RowDeflater::writeLiterals(const Code& code, const unsigned char* data, std::size_t size)
{
    Bits bits = bits_; // Its members stay in registers.
    const auto add = [&](unsigned char value) {
        const std::uint32_t entry = code.entries[value];
        bits.add(entry & 0xFFFFU, entry >> 16U);
    };
    std::size_t i = 0;
    for (; i + 4 <= size; i += 4) {
        add(data[i]);
        add(data[i + 1]);
        add(data[i + 2]);
        add(data[i + 3]);
        bits.store();
    }
    for (; i < size; ++i) {
        add(data[i]);
        bits.store();
    }
    bits_ = bits;
}

void RowDeflater::writeRun(const Code& code, std::uint32_t length)
{
    for (std::uint32_t left = length; left > 0; left -= pieceOfRun(left)) {
        const std::uint32_t piece = pieceOfRun(left);
        const std::size_t row = rowOfLength(piece);
        const std::uint32_t entry = code.entries[kEndOfBlock + 1 + row];
        bits_.add(entry & 0xFFFFU, entry >> 16U);
        bits_.add(piece - kLengths[row].base, kLengths[row].extraBits);
        bits_.add(0, code.distanceBits);
        bits_.store();
    }
}

void RowDeflater::writeSymbols(const Code& code, const unsigned char* data, std::size_t size)
{
    std::size_t at = 0;
    for (const Run& run : runs_) {
        writeLiterals(code, data + at, run.start - at);
        writeRun(code, run.length);
        at = run.start + run.length;
    }
    writeLiterals(code, data + at, size - at);
    const std::uint32_t end = code.entries[kEndOfBlock];
    bits_.add(end & 0xFFFFU, end >> 16U);
    bits_.store();
}

void RowDeflater::writeStored(const unsigned char* data, std::size_t size, bool last)
{
    bits_.add(last ? 1 : 0, 1);
    bits_.add(kStoredType, 2);
    bits_.alignToByte();
    const auto length = static_cast<std::uint32_t>(size);
    bits_.add(length | (length ^ 0xFFFFU) << 16U, 32);
    bits_.store();
    bits_.addBytes(data, size);
}

void RowDeflater::writeBlock(const unsigned char* data, std::size_t size, bool last)
{
    static const Code kFixed = fixedCode();
    findRuns(data, size);
    countSymbols(data, size);
    chooseOwnCode();
    const std::uint64_t own = costOf(own_) + tableBits_;
    const std::uint64_t fixed = costOf(kFixed);
    if (std::min(own, fixed) >= (size + kStoredHeader) * 8) {
        writeStored(data, size, last);
        return;
    }
    bits_.add(last ? 1 : 0, 1);
    bits_.add(own < fixed ? kDynamicType : kFixedType, 2);
    bits_.store();
    if (own < fixed) {
        writeTable();
    }
    writeSymbols(own < fixed ? own_ : kFixed, data, size);
}

void RowDeflater::compress(const unsigned char* data, std::size_t size, bool last,
                           std::vector<unsigned char>* out)
{
    scratch_.resize(std::max(scratch_.size(), size + (size / kBlock + 2) * kStoredHeader + kSlack));
    bits_ = Bits(scratch_.data());
    std::size_t at = 0;
    do {
        const std::size_t now = std::min(size - at, kBlock);
        at += now;
        writeBlock(data + at - now, now, last && at == size);
    } while (at < size);
    if (last) {
        bits_.alignToByte();
    } else {
        // An empty stored block ends a piece on a byte.
        writeStored(data, 0, false);
    }
    out->assign(static_cast<const unsigned char*>(scratch_.data()), bits_.end());
}

} // namespace serializer
