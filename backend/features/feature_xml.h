// Writes the GenICam description of a table of features.
#pragma once

#include "features/feature_table.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace features
{

/// What the root element says of the description.
namespace description
{
constexpr int kSchemaMajor = 1;
constexpr int kSchemaMinor = 1;
constexpr int kSchemaSubMinor = 0;
constexpr int kMajor = 1;
constexpr int kMinor = 0;
constexpr int kSubMinor = 0;
} // namespace description

/// The description of a laid-out table; every feature node is accompanied by the register nodes
/// that it needs (NameReg, NameRegMin, NameRegAvailable ...).
class FeatureXml
{
public:
    explicit FeatureXml(const FeatureTable& table);
    /// The text in pieces that follow one another. Once: hands them out.
    std::vector<std::string> take() { return std::move(pieces_); }

private:
    /// Between features: begins another piece where the one at hand is full.
    void endPiece();
    void head();
    /// The node that tells readers of kept values that something changed them.
    void changes();
    void feature(const Feature& feature);
    void common(const Feature& feature);
    void integer(const Feature& feature);
    void real(const Feature& feature);
    void enumeration(const Feature& feature);
    void string(const Feature& feature);
    void category(const Feature& feature);
    void selected(const Feature& feature);
    void registers(const Feature& feature);
    void valueRegister(const Feature& feature);
    /// Whether a whole number of so many bytes has a sign.
    void sign(std::uint32_t length);
    /// Whether the value changes only when something is written.
    static bool mayBeKept(const Feature& feature);
    /// Address, index, length, access mode, port and caching of a register node.
    void place(const Feature& feature, std::uint64_t offset, std::uint32_t length,
               const std::string& accessMode, bool cached);
    void entryBits(const Feature& feature, std::uint64_t offset);

    /// A line of numbers or names, which hold nothing that XML means otherwise; none without
    /// content.
    template <std::size_t Size>
    void element(const char (&tag)[Size], std::string_view content, std::string_view suffix = {});
    /// A line of any text.
    void text(std::string_view tag, std::string_view content);
    void open(std::string_view tag, std::string_view name);
    void close(std::string_view tag);
    template <class... Texts> void append(const Texts&... texts) { (text_.append(texts), ...); }

    const FeatureTable& table_;
    const bool hasChanges_;
    /// Selector -> the features that it selects, in their order.
    std::map<std::string_view, std::vector<std::string_view>> selected_;
    std::string text_; ///< The piece at hand.
    std::vector<std::string> pieces_;
};

} // namespace features
