// Delivery of device events by the double.
#pragma once

#include "zel_camera_api.h"

#include <string>

namespace zel_double
{

/// Keeps a registration for the tests, who name it by its number, counted from 0. It can be fired
/// for ever, also after it was ended and after its device is gone: the rudest SDK there is.
void keepRegistration(ZelCam::EventCallback callback, void* context);

/// Delivers an event to the latest registration, on the calling thread.
void fireLatest(const std::string& data);

/// Waits until no other thread is in a callback, as an SDK does that promises silence after an
/// unregistration. False when that took seconds: a deadlock.
bool settleCallbacks();

} // namespace zel_double
