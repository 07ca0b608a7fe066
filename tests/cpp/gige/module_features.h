// Whole numbers of modules that describe themselves, by name.
#pragma once

#include "base/endian.h"
#include "genapi/feature_source.h"
#include "zel_err.h"

#include <array>
#include <cstdint>
#include <string>

struct FeatureRegister {
    std::uint64_t address = 0;
    std::size_t size = 0; ///< 4 or 8 bytes; 0: there is none.
};

inline FeatureRegister findRegister(genapi::FeatureSource& module, const std::string& name)
{
    std::string text;
    module.description(&text);
    const std::size_t node = text.find("Name=\"" + name + "Reg\"");
    if (node == text.npos) {
        return {};
    }
    const auto number = [&](const std::string& tag) {
        const std::size_t at = text.find(tag, node) + tag.size();
        return std::stoull(text.substr(at, 20), nullptr, 0);
    };
    return {number("<Address>"), static_cast<std::size_t>(number("<Length>"))};
}

/// All ones when it cannot be read.
inline std::uint64_t readFeature(genapi::FeatureSource& module, const std::string& name)
{
    std::array<std::uint8_t, 8> bytes{};
    const FeatureRegister where = findRegister(module, name);
    return where.size != 0 && where.size <= bytes.size() &&
                   module.read(where.address, &bytes[8 - where.size], where.size) == 0
               ? base::loadBig<std::uint64_t>(bytes.data())
               : ~std::uint64_t{0};
}

inline ZelCamErr writeFeature(genapi::FeatureSource& module, const std::string& name,
                              std::uint64_t value)
{
    std::array<std::uint8_t, 8> bytes{};
    base::storeBig<std::uint64_t>(bytes.data(), value);
    const FeatureRegister where = findRegister(module, name);
    return where.size != 0 && where.size <= bytes.size()
               ? module.write(where.address, &bytes[8 - where.size], where.size)
               : ZelErr::kGenTLInvalidAddress;
}
