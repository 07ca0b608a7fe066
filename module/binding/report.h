// The one place that writes diagnostics: lines on the C library's standard error stream.
#pragma once

#include "zel_err.h"

namespace binding
{

/// Writes a line; the text brings its newline.
void report(const char* line);
/// Writes "<what>: <decimal code> <message>\n": an SDK operation failed.
void reportFailure(const char* what, ZelCamErr code);
/// Writes "<what>: 0x<code in hexadecimal>\n": an image component failed.
void reportComponentFailure(const char* what, ZelCamErr code);

} // namespace binding
