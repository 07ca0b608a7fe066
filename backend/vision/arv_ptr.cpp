#include "vision/arv_ptr.h"

#include "base/log.h"

namespace vision
{

ZelCamErr ArvError::code() const
{
    if (error_ == nullptr) {
        return ZelErr::kOk;
    }
    if (error_->domain != arv_device_error_quark()) {
        return ZelErr::kGenTLIo;
    }
    switch (error_->code) {
    case ARV_DEVICE_ERROR_TIMEOUT:
        return ZelErr::kGenTLTimeout;
    case ARV_DEVICE_ERROR_NOT_CONTROLLER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_WRITE_PROTECT:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_ACCESS_DENIED:
        return ZelErr::kGenTLAccessDenied;
    case ARV_DEVICE_ERROR_INVALID_PARAMETER:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_PARAMETER:
        return ZelErr::kGenTLInvalidParameter;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_INVALID_ADDRESS:
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BAD_ALIGNMENT:
        return ZelErr::kGenTLInvalidAddress;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_NOT_IMPLEMENTED:
        return ZelErr::kGenTLNotImplemented;
    case ARV_DEVICE_ERROR_PROTOCOL_ERROR_BUSY:
        return ZelErr::kGenTLBusy;
    case ARV_DEVICE_ERROR_NOT_FOUND:
        return ZelErr::kGenTLInvalidId;
    default:
        return ZelErr::kGenTLIo;
    }
}

namespace
{
void toLog(const char* domain, GLogLevelFlags, const char* message, void*)
{
    base::log(base::LogChannel::Vision, "%s: %s", domain != nullptr ? domain : "glib", message);
}
} // namespace

void silenceAravis()
{
    static const bool done = [] {
        // Set once: the library has already taken its own levels from ARV_DEBUG by then.
        g_log_set_handler("Aravis", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK), toLog, nullptr);
        return true;
    }();
    (void)done;
}

} // namespace vision
