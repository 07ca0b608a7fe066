#include "common/failure.h"

#include <algorithm>
#include <array>

namespace common
{

namespace
{

struct Advice {
    ZelCamErr code;
    Exit exit;
    const char* text;
};

constexpr std::array<Advice, 25> kAdvice{{
    {ZelErr::kGenTLNotImplemented, Exit::Failed, "this camera or its transport cannot do that"},
    {ZelErr::kGenTLResourceInUse, Exit::Busy, "it is in use by this program already"},
    {ZelErr::kGenTLAccessDenied, Exit::Busy,
     "another program controls the camera: close it there and try again"},
    {ZelErr::kGenTLInvalidId, Exit::NoCamera, "it is not there: `zelcam list` shows what is"},
    {ZelErr::kGenTLInvalidParameter, Exit::Failed, "a value was not accepted"},
    {ZelErr::kGenTLIo, Exit::Failed,
     "the camera does not answer: check cable and power, then `zelcam doctor`"},
    {ZelErr::kGenTLTimeout, Exit::TimeOut,
     "nothing came in time: give --timeout more milliseconds, or look at `zelcam doctor`"},
    {ZelErr::kGenTLAbort, Exit::Stopped, "stopped"},
    {ZelErr::kGenTLInvalidAddress, Exit::Failed, "the camera has no memory at this address"},
    {ZelErr::kGenTLInvalidValue, Exit::Failed, "the camera refuses the value"},
    {ZelErr::kGenTLResourceExhausted, Exit::Failed, "the host or the camera ran out of resources"},
    {ZelErr::kGenTLOutOfMemory, Exit::Failed, "the host has not enough memory"},
    {ZelErr::kGenTLBusy, Exit::Busy, "the camera is busy: try again"},
    {ZelErr::kFileNotFound, Exit::File, "there is no such file or folder"},
    {ZelErr::kFileRead, Exit::File, "not permitted, or the disk is full"},
    {ZelErr::kWrongConfiguration, Exit::File, "this is no settings file of this camera"},
    {ZelErr::kNoDevice, Exit::NoCamera, "the camera is gone: check cable and power"},
    {ZelErr::kInvalidArgument, Exit::Failed, "a value, a file type or a format is not supported"},
    {ZelErr::kParamAccess, Exit::Failed,
     "not permitted now: `zelcam features NAME` shows the access"},
    {ZelErr::kParamType, Exit::Failed, "the feature is of another type"},
    {ZelErr::kParamOutOfRange, Exit::Failed,
     "out of range: `zelcam features NAME` shows the range"},
    {ZelErr::kParamUnknown, Exit::Failed,
     "the camera has no such feature: `zelcam features` lists all"},
    {ZelErr::kParamInvalidArgument, Exit::Failed,
     "no such entry: `zelcam features NAME` lists all"},
    {ZelErr::kParamTree, Exit::Failed,
     "the camera's description is broken: ZELCAM_LOG=genapi tells where"},
    {ZelErr::kParamRuntime, Exit::Failed, "the camera refused or does not answer"},
}};

const Advice* find(ZelCamErr code)
{
    const auto* const found = std::find_if(kAdvice.begin(), kAdvice.end(),
                                           [code](const Advice& row) { return row.code == code; });
    return found != kAdvice.end() ? found : nullptr;
}

} // namespace

Failure::Failure(Exit exit, const std::string& text, ZelCamErr code)
    : std::runtime_error(text), exit_(exit), code_(code)
{
}

std::string adviceFor(ZelCamErr code)
{
    const Advice* const advice = find(code);
    return advice != nullptr ? advice->text : "it failed; ZELCAM_LOG=backend tells more";
}

Failure sdkFailure(const std::string& what, ZelCamErr code)
{
    const Advice* const advice = find(code);
    return {advice != nullptr ? advice->exit : Exit::Failed,
            what + ": " + adviceFor(code) + " (code " + std::to_string(code) + ")", code};
}

void check(const std::string& what, ZelCamErr code)
{
    if (code != ZelErr::kOk) {
        throw sdkFailure(what, code);
    }
}

} // namespace common
