// Visibility of what crosses the boundary between the SDK libraries and their users.
#pragma once

/// Marks a type or function whose symbol or type information must be the same object in every
/// library, whatever visibility a library is compiled with.
#define ZEL_API __attribute__((visibility("default")))
