// What a status of a GigE Vision acknowledge means to the user.
#pragma once

#include "gige/wire/gvcp.h"
#include "zel_err.h"

namespace gige
{

/// As a GenTL code; 0 for success.
inline ZelCamErr codeOf(std::uint16_t answer)
{
    switch (answer) {
    case wire::status::kNotImplemented:
        return ZelErr::kGenTLNotImplemented;
    case wire::status::kInvalidParameter:
        return ZelErr::kGenTLInvalidParameter;
    case wire::status::kInvalidAddress:
    case wire::status::kBadAlignment:
        return ZelErr::kGenTLInvalidAddress;
    case wire::status::kWriteProtect:
    case wire::status::kAccessDenied:
        return ZelErr::kGenTLAccessDenied;
    case wire::status::kBusy:
        return ZelErr::kGenTLBusy;
    default:
        return wire::status::failed(answer) ? ZelErr::kGenTLIo : ZelErr::kOk;
    }
}

} // namespace gige
