// Result codes of the camera SDK, its parameter API and the image components.
#pragma once

#include <cstdint>

/// Result of an SDK operation: 0 is success, negative values are failures.
using ZelCamErr = std::int32_t;

/// The codes that have a name and a message. Three bands: GenTL producer errors (-1001 to -1022,
/// the numbers of the GenTL standard), the SDK's own (-40001 to -40121), GenICam parameter errors
/// (-40200 to -40207).
namespace ZelErr
{

constexpr ZelCamErr kOk = 0;

constexpr ZelCamErr kGenTLError = -1001;
constexpr ZelCamErr kGenTLNotInitialized = -1002;
constexpr ZelCamErr kGenTLNotImplemented = -1003;
constexpr ZelCamErr kGenTLResourceInUse = -1004;
constexpr ZelCamErr kGenTLAccessDenied = -1005;
constexpr ZelCamErr kGenTLInvalidHandle = -1006;
constexpr ZelCamErr kGenTLInvalidId = -1007;
constexpr ZelCamErr kGenTLNoData = -1008;
constexpr ZelCamErr kGenTLInvalidParameter = -1009;
constexpr ZelCamErr kGenTLIo = -1010;
constexpr ZelCamErr kGenTLTimeout = -1011;
constexpr ZelCamErr kGenTLAbort = -1012;
constexpr ZelCamErr kGenTLInvalidBuffer = -1013;
constexpr ZelCamErr kGenTLNotAvailable = -1014;
constexpr ZelCamErr kGenTLInvalidAddress = -1015;
constexpr ZelCamErr kGenTLBufferTooSmall = -1016;
constexpr ZelCamErr kGenTLInvalidIndex = -1017;
constexpr ZelCamErr kGenTLParsingChunkData = -1018;
constexpr ZelCamErr kGenTLInvalidValue = -1019;
constexpr ZelCamErr kGenTLResourceExhausted = -1020;
constexpr ZelCamErr kGenTLOutOfMemory = -1021;
constexpr ZelCamErr kGenTLBusy = -1022;

constexpr ZelCamErr kUnknown = -40001;
constexpr ZelCamErr kFileNotFound = -40002;
constexpr ZelCamErr kFileRead = -40003;
constexpr ZelCamErr kWrongConfiguration = -40004;
constexpr ZelCamErr kInvalidIndex = -40005;
constexpr ZelCamErr kNoDevice = -40006;
constexpr ZelCamErr kInvalidArgument = -40007;
constexpr ZelCamErr kInvalidState = -40051;
constexpr ZelCamErr kFlashErase = -40101;
constexpr ZelCamErr kNotEnoughArguments = -40121;

constexpr ZelCamErr kParamGeneric = -40200;
constexpr ZelCamErr kParamTree = -40201;
constexpr ZelCamErr kParamAccess = -40202;
constexpr ZelCamErr kParamType = -40203;
constexpr ZelCamErr kParamOutOfRange = -40204;
constexpr ZelCamErr kParamUnknown = -40205;
constexpr ZelCamErr kParamInvalidArgument = -40206;
constexpr ZelCamErr kParamRuntime = -40207;

} // namespace ZelErr
