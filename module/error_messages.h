// Messages of the SDK's result codes.
#pragma once

#include "zel_err.h"

/// English message of a code, "Unknown code" for one without. NUL-terminated, static, never null.
/// The message of -1011 holds the byte 0x92 and is therefore not valid UTF-8.
const char* GetZelCamErrString(ZelCamErr code);
