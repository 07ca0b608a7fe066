// One node of ArvGc, with results as codes instead of GErrors.
#pragma once

#include "zel_err.h"

#include <arv.h>

#include <cstdint>
#include <string>

namespace genapi
{

/// Borrows a node of a live map; cheap to copy. Called under the lock of the map. Nothing is
/// checked here but what ArvGc checks.
class EngineNode
{
public:
    EngineNode() = default;
    /// `node` may be null: everything then answers -40201.
    explicit EngineNode(ArvGcNode* node);

    bool isValid() const { return form_ != Form::kNone; }

    /// The value as a whole number; booleans are 0 and 1, floats are rounded.
    ZelCamErr readInteger(std::int64_t* value) const;
    ZelCamErr writeInteger(std::int64_t value) const;
    ZelCamErr readReal(double* value) const;
    ZelCamErr writeReal(double value) const;
    ZelCamErr readText(std::string* value) const;
    ZelCamErr writeText(const char* value) const;

    /// Range as ArvGc works it out: for converters, whose formula it has.
    ZelCamErr readIntegerRange(std::int64_t* min, std::int64_t* max) const;
    ZelCamErr readRealRange(double* min, double* max) const;

private:
    enum class Form : std::uint8_t { kNone, kInteger, kReal, kBoolean, kText };

    ArvGcNode* node_ = nullptr;
    Form form_ = Form::kNone;
};

} // namespace genapi
