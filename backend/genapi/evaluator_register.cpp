// Registers: where they are, what they hold, what is kept of them.
#include "genapi/evaluator.h"
#include "genapi/register_value.h"

#include <algorithm>
#include <cstring>

namespace genapi
{

namespace
{
constexpr std::size_t kTextPiece = 4096;
constexpr unsigned kBlockBits = 6; ///< Of the blocks of memory that cells are found by.
constexpr std::size_t kMaxBlocks = std::size_t{1} << 16U;
} // namespace

bool Evaluator::isBigEndian(const Node& node, const Place& place) const
{
    // The transport of old descriptions gives words in the network's order whatever they say.
    return node.isBigEndian || (countsOnNetworkOrder_ && place.length == 4 && place.overlay < 0);
}

ZelCamErr Evaluator::lengthOf(const Node& node, std::int64_t* length)
{
    *length = node.length;
    const Link* const given = description_.find(node, LinkKind::kLength);
    return given != nullptr ? read(*given, length) : ZelErr::kOk;
}

ZelCamErr Evaluator::findPlace(const Node& node, Place* place)
{
    std::int64_t length = 0;
    const Link* const port = description_.find(node, LinkKind::kPort);
    if (port == nullptr)
        return ZelErr::kParamTree;
    if (const ZelCamErr result = lengthOf(node, &length); result != ZelErr::kOk)
        return result;
    if (length < 0)
        return ZelErr::kParamTree;
    place->length = static_cast<std::size_t>(length);
    place->overlay = at(port->target).overlay;
    place->address = 0;
    for (const Link& link : description_.linksOf(node)) {
        if (link.kind != LinkKind::kAddress && link.kind != LinkKind::kIndex)
            continue;
        std::int64_t term = 0;
        if (const ZelCamErr result = read(link, &term); result != ZelErr::kOk)
            return result;
        std::int64_t stride = 1;
        if (link.kind == LinkKind::kIndex) {
            stride = link.hasNumber ? link.integer : length;
            if (link.extra >= 0) {
                if (const ZelCamErr result = read(link.extra, &stride); result != ZelErr::kOk)
                    return result;
            }
        }
        place->address += static_cast<std::uint64_t>(term) * static_cast<std::uint64_t>(stride);
    }
    return ZelErr::kOk;
}

ZelCamErr Evaluator::findPlaceToWrite(const Node& node, Place* place)
{
    struct Verifying { // Also when there is no memory.
        bool& is;
        ~Verifying() { is = false; }
    };
    const Verifying verifying{isVerifying_ = true};
    return findPlace(node, place);
}

ZelCamErr Evaluator::readTextRegister(const Node& node, std::string* value)
{
    Place place;
    if (const ZelCamErr result = findPlace(node, &place); result != ZelErr::kOk)
        return result;
    if (!isReadable(node.accessMode))
        return ZelErr::kParamAccess;
    remember(node.cell, place);
    value->clear();
    // A length may be a lie: what is read grows until the text ends.
    Place piece = place;
    for (std::size_t end = 0; end < std::min(place.length, kMaxTextRegister); end += piece.length) {
        piece.address = place.address + end;
        piece.length = std::min(place.length - end, kTextPiece);
        value->resize(end + piece.length);
        const ZelCamErr result =
            router_.read(place.overlay, piece.address, value->data() + end, piece.length);
        if (result != ZelErr::kOk)
            return result;
        const std::size_t zero = value->find('\0', end);
        if (zero != std::string::npos) {
            value->resize(zero);
            break;
        }
    }
    return ZelErr::kOk;
}

Evaluator::Cell& Evaluator::cellAt(std::int32_t cell)
{
    std::int32_t& index = cellOf_[static_cast<std::size_t>(cell)];
    if (index < 0) {
        cells_.emplace_back();
        index = static_cast<std::int32_t>(cells_.size() - 1);
    }
    return cells_[static_cast<std::size_t>(index)];
}

void Evaluator::remember(std::int32_t cell, const Place& place)
{
    Cell& kept = cellAt(cell);
    if (kept.place == place || place.length == 0 || place.overlay >= 0)
        return;
    if (cellsAt_.size() > kMaxBlocks) {
        cellsAt_.clear();
        for (Cell& each : cells_)
            each.place = Place();
        forget();
    }
    const std::uint64_t last = place.address + std::min(place.length, kMaxTextRegister) - 1;
    for (std::uint64_t block = place.address >> kBlockBits; block <= last >> kBlockBits; ++block) {
        std::vector<std::int32_t>& cells = cellsAt_[block];
        if (std::find(cells.begin(), cells.end(), cell) == cells.end())
            cells.push_back(cell);
    }
    kept.place = place;
}

void Evaluator::makeOldAround(const Place& place)
{
    const std::uint64_t last = place.address + std::max<std::size_t>(place.length, 1) - 1;
    for (std::uint64_t block = place.address >> kBlockBits; block <= last >> kBlockBits; ++block) {
        const auto found = cellsAt_.find(block);
        if (found == cellsAt_.end())
            continue;
        for (const std::int32_t cell : found->second) {
            const Place& other = cellAt(cell).place;
            if (other.address > last || place.address > other.address + (other.length - 1))
                continue;
            // All entries of a structure follow it.
            for (std::int32_t node = cell;
                 node < static_cast<std::int32_t>(cellOf_.size()) && at(node).cell == cell; ++node)
                makeOld(node);
        }
    }
}

ZelCamErr Evaluator::readCell(const Node& node, const Place& place, std::uint8_t* bytes)
{
    Cell& cell = cellAt(node.cell);
    const std::int32_t index = indexOf(node);
    const bool isKept = dependents_.mayKeepBytes(index) && holds(index, Part::kValue, cell.then);
    if (!(isKept || cell.operation == operation_) || !(cell.place == place)) {
        cell.operation = cell.then = 0;
        const std::uint64_t then = now();
        const ZelCamErr result =
            router_.read(place.overlay, place.address, cell.bytes.data(), place.length);
        if (result != ZelErr::kOk)
            return result;
        remember(node.cell, place);
        cell.place = place;
        cell.operation = operation_;
        cell.then = then;
    }
    std::memcpy(bytes, cell.bytes.data(), place.length);
    return ZelErr::kOk;
}

ZelCamErr Evaluator::readWord(const Node& node, Place* place, std::uint64_t* word)
{
    if (const ZelCamErr result = findPlace(node, place); result != ZelErr::kOk)
        return result;
    if (place->length < 1 || place->length > sizeof *word)
        return ZelErr::kParamTree;
    if (!isReadable(node.accessMode))
        return ZelErr::kParamAccess;
    std::uint8_t bytes[sizeof *word] = {};
    const ZelCamErr result = readCell(node, *place, bytes);
    *word = loadRegister(bytes, place->length, isBigEndian(node, *place));
    return result;
}

ZelCamErr Evaluator::writeBytes(const Node& node, const Place& place, const void* bytes)
{
    const ZelCamErr result = router_.write(place.overlay, place.address, bytes, place.length);
    changed(indexOf(node));
    makeOldAround(place);
    return result;
}

ZelCamErr Evaluator::writeWord(const Node& node, const Place& place, std::uint64_t word)
{
    std::uint8_t bytes[sizeof word] = {};
    storeRegister(word, bytes, place.length, isBigEndian(node, place));
    return writeBytes(node, place, bytes);
}

ZelCamErr Evaluator::readRegister(const Node& node, std::int64_t* value)
{
    Place place;
    std::uint64_t word = 0;
    if (const ZelCamErr result = readWord(node, &place, &word); result != ZelErr::kOk)
        return result;
    const RegisterBits bits = bitsOf(node, place.length);
    if (bits.width == 0)
        return ZelErr::kParamTree;
    *value = extractBits(word, bits);
    return ZelErr::kOk;
}

ZelCamErr Evaluator::writeRegister(const Node& node, std::int64_t value)
{
    Place place;
    std::uint64_t word = 0;
    ZelCamErr result = findPlaceToWrite(node, &place);
    if (result == ZelErr::kOk && (place.length < 1 || place.length > sizeof word))
        result = ZelErr::kParamTree;
    // What shares its register with other bits needs these.
    if (result == ZelErr::kOk && node.kind != NodeKind::kIntReg)
        result = readWord(node, &place, &word);
    if (result != ZelErr::kOk)
        return result;
    const RegisterBits bits = bitsOf(node, place.length);
    if (bits.width == 0)
        return ZelErr::kParamTree;
    return writeWord(node, place, replaceBits(word, bits, value));
}

ZelCamErr Evaluator::readRegister(const Node& node, double* value)
{
    Place place;
    std::uint64_t word = 0;
    if (const ZelCamErr result = readWord(node, &place, &word); result != ZelErr::kOk)
        return result;
    if (place.length == sizeof(float)) {
        const auto narrow = static_cast<std::uint32_t>(word);
        float real = 0.0F;
        std::memcpy(&real, &narrow, sizeof real);
        *value = static_cast<double>(real);
        return ZelErr::kOk;
    }
    std::memcpy(value, &word, sizeof word);
    return place.length == sizeof word ? ZelErr::kOk : ZelErr::kParamTree;
}

ZelCamErr Evaluator::writeRegister(const Node& node, double value)
{
    Place place;
    if (const ZelCamErr result = findPlaceToWrite(node, &place); result != ZelErr::kOk)
        return result;
    std::uint64_t word = 0;
    if (place.length == sizeof(float)) {
        const auto real = static_cast<float>(value);
        std::uint32_t narrow = 0;
        std::memcpy(&narrow, &real, sizeof narrow);
        word = narrow;
    } else if (place.length == sizeof word) {
        std::memcpy(&word, &value, sizeof word);
    } else {
        return ZelErr::kParamTree;
    }
    return writeWord(node, place, word);
}

ZelCamErr Evaluator::maxLength(std::int32_t index, std::int64_t* length)
{
    constexpr std::int64_t kUnlimited = 0x7FFFFFFF;
    const Level level(*this);
    if (level.isTooDeep())
        return ZelErr::kParamTree;
    const Node& node = at(index);
    *length = kUnlimited;
    if (node.kind == NodeKind::kString) {
        Link* link = nullptr;
        const ZelCamErr result = valueLink(node, &link);
        return result == ZelErr::kOk && link->target >= 0 ? maxLength(link->target, length)
                                                          : result;
    }
    if (node.kind != NodeKind::kStringReg)
        return ZelErr::kOk;
    if (const ZelCamErr result = lengthOf(node, length); result != ZelErr::kOk)
        return result;
    *length = std::clamp(*length, std::int64_t{0}, kUnlimited);
    return ZelErr::kOk;
}

} // namespace genapi
