#include "module/error_messages.h"

#include <algorithm>
#include <array>

namespace
{

struct Message {
    ZelCamErr code;
    const char* text;
};

/// In descending order of the codes. Tabs, blanks and wording are those of the SDK, kept as they
/// are; so is the single byte of another character set in the message of the time-out.
constexpr std::array<Message, 41> kMessages{{
    {ZelErr::kOk, "OK"},
    {ZelErr::kGenTLError, "GenTL: Unspecified runtime error"},
    {ZelErr::kGenTLNotInitialized,
     "GenTL: Module or resource not initialized; e.g., GCInitLib was not called."},
    {ZelErr::kGenTLNotImplemented,
     "GenTL: Requested operation not implemented;\te.g., no Port functions on a Buffer\tmodule."},
    {ZelErr::kGenTLResourceInUse, "GenTL: Requested resource is already in use."},
    {ZelErr::kGenTLAccessDenied, "GenTL: Requested operation is not allowed; e.g., a remote device "
                                 "is opened by another client."},
    {ZelErr::kGenTLInvalidHandle, "GenTL: Given handle does not support the operation; e.g., "
                                  "function call on wrong handle or NULL pointer."},
    {ZelErr::kGenTLInvalidId, "GenTL: ID could not be connected to a resource; e.g., a device with "
                              "the given ID is currently not available."},
    {ZelErr::kGenTLNoData, "GenTL: The function has no data to work on."},
    {ZelErr::kGenTLInvalidParameter,
     "GenTL: One of the parameter given was not valid or out of range."},
    {ZelErr::kGenTLIo, "GenTL: Communication error has occurred; e.g., a read or write operation "
                       "to a remote device failed."},
    {ZelErr::kGenTLTimeout,
     "GenTL: An operation\x92s timeout time expired before it could be completed."},
    {ZelErr::kGenTLAbort,
     "GenTL: An operation has been aborted before it could be completed. For example, a wait "
     "operation through EventGetData has been terminated\tvia a call to EventKill."},
    {ZelErr::kGenTLInvalidBuffer,
     "GenTL: The GenTL Consumer has not announced enough buffers to start the\tacquisition in the "
     "currently active\tacquisition mode."},
    {ZelErr::kGenTLNotAvailable,
     "GenTL: Resource or information is not available at a given time in a current state."},
    {ZelErr::kGenTLInvalidAddress,
     "GenTL: A given address is out of range or invalid for internal reasons."},
    {ZelErr::kGenTLBufferTooSmall,
     "GenTL: A provided buffer is too small to receive the expected amount of data. This may "
     "affect acquisition buffers in the Data Stream module if the buffers \t\t\tare smaller than "
     "the expected payload size but also buffers passed to any other function of the GenTL "
     "Producer\tinterface to retrieve information or IDs."},
    {ZelErr::kGenTLInvalidIndex,
     "GenTL: A provided index referencing a Producer internal object is out of bounds."},
    {ZelErr::kGenTLParsingChunkData,
     "GenTL: An error occurred parsing a buffer containing chunk data."},
    {ZelErr::kGenTLInvalidValue,
     "GenTL: A register write function was trying to write an invalid value."},
    {ZelErr::kGenTLResourceExhausted,
     "GenTL: A requested resource is exhausted. This is a rather general error which might for "
     "example refer to a limited\tnumber of available handles being available."},
    {ZelErr::kGenTLOutOfMemory,
     "GenTL: The system and/or other hardware in the system (frame grabber) ran out of memory."},
    {ZelErr::kGenTLBusy, "GenTL: The required operation cannot be\texecuted because the "
                         "responsible module / entity is busy executing actions that cannot be "
                         "performed\tconcurrently \t\t\twith the requested operation."},
    {ZelErr::kUnknown, "Unknown error"},
    {ZelErr::kFileNotFound, "File not found"},
    {ZelErr::kFileRead, "File read error"},
    {ZelErr::kWrongConfiguration, "Wrong configuration"},
    {ZelErr::kInvalidIndex, "Invalid index"},
    {ZelErr::kNoDevice, "No device"},
    {ZelErr::kInvalidArgument, "Invalid argument"},
    {ZelErr::kInvalidState, "Invalid state"},
    {ZelErr::kFlashErase, "Flash erase error"},
    {ZelErr::kNotEnoughArguments, "Not enough actual arguments"},
    {ZelErr::kParamGeneric, "GenICam: Generic error"},
    {ZelErr::kParamTree, "GenICam: Tree error"},
    {ZelErr::kParamAccess, "GenICam: Access error"},
    {ZelErr::kParamType, "GenICam: Parameter type is invalid"},
    {ZelErr::kParamOutOfRange, "GenICam: Parameter is out of range"},
    {ZelErr::kParamUnknown, "GenICam: Unknown parameter"},
    {ZelErr::kParamInvalidArgument, "GenICam: Invalid argument"},
    {ZelErr::kParamRuntime, "GenICam: Runtime error"},
}};

constexpr bool descending()
{
    for (std::size_t i = 1; i < kMessages.size(); ++i) {
        if (kMessages[i - 1].code <= kMessages[i].code) {
            return false;
        }
    }
    return true;
}
static_assert(descending(), "the search relies on the order");

} // namespace

const char* GetZelCamErrString(ZelCamErr code)
{
    const auto* const found = std::lower_bound(
        kMessages.begin(), kMessages.end(), code,
        [](const Message& message, ZelCamErr wanted) { return message.code > wanted; });
    return found != kMessages.end() && found->code == code ? found->text : "Unknown code";
}
