// Ownership of Aravis objects, and what its errors mean as result codes.
#pragma once

#include "zel_err.h"

#include <arv.h>

#include <memory>

namespace vision
{

struct Unref {
    void operator()(void* object) const { g_object_unref(object); }
};

/// Owns one reference of a GObject.
template <class Type> using ArvPtr = std::unique_ptr<Type, Unref>;

/// Collects the error of one call; frees it.
class ArvError
{
public:
    ArvError() = default;
    ArvError(const ArvError&) = delete;
    ArvError& operator=(const ArvError&) = delete;
    ~ArvError() { g_clear_error(&error_); }

    GError** out() { return &error_; }
    bool failed() const { return error_ != nullptr; }
    const char* text() const { return error_ != nullptr ? error_->message : ""; }
    /// 0 without an error, else the GenTL code that says the same.
    ZelCamErr code() const;

private:
    GError* error_ = nullptr;
};

/// Sends Aravis's own messages to the log instead of the terminal. Call before its first use; any
/// number of times.
void silenceAravis();

} // namespace vision
