// The GenTL binary interface: types, constants and the table of functions. Written from the facts
// of the standard; the numbers are those of GenTL 1.6.
#pragma once

#include <cstddef>
#include <cstdint>

namespace gentl
{

using Handle = void*;
using Error = std::int32_t;
using Bool8 = std::uint8_t;

constexpr std::uint64_t kInfinite = ~std::uint64_t{0};

namespace err
{
constexpr Error kSuccess = 0;
constexpr Error kError = -1001;
constexpr Error kNotInitialized = -1002;
constexpr Error kNotImplemented = -1003;
constexpr Error kResourceInUse = -1004;
constexpr Error kAccessDenied = -1005;
constexpr Error kInvalidHandle = -1006;
constexpr Error kInvalidId = -1007;
constexpr Error kNoData = -1008;
constexpr Error kInvalidParameter = -1009;
constexpr Error kIo = -1010;
constexpr Error kTimeout = -1011;
constexpr Error kAbort = -1012;
constexpr Error kInvalidBuffer = -1013;
constexpr Error kNotAvailable = -1014;
constexpr Error kInvalidAddress = -1015;
constexpr Error kBufferTooSmall = -1016;
constexpr Error kInvalidIndex = -1017;
constexpr Error kParsingChunkData = -1018;
constexpr Error kInvalidValue = -1019;
constexpr Error kResourceExhausted = -1020;
constexpr Error kOutOfMemory = -1021;
constexpr Error kBusy = -1022;
constexpr Error kAmbiguous = -1023;
} // namespace err

/// Data type of an answer.
enum InfoDataType : std::int32_t {
    kTypeUnknown = 0,
    kTypeString = 1,
    kTypeStringList = 2,
    kTypeInt16 = 3,
    kTypeUint16 = 4,
    kTypeInt32 = 5,
    kTypeUint32 = 6,
    kTypeInt64 = 7,
    kTypeUint64 = 8,
    kTypeFloat64 = 9,
    kTypePtr = 10,
    kTypeBool8 = 11,
    kTypeSizeT = 12,
    kTypeBuffer = 13,
    kTypePtrDiff = 14,
};

/// GCGetInfo and TLGetInfo.
enum TlInfo : std::int32_t {
    kTlInfoId = 0,
    kTlInfoVendor = 1,
    kTlInfoModel = 2,
    kTlInfoVersion = 3,
    kTlInfoTlType = 4,
    kTlInfoName = 5,
    kTlInfoPathName = 6,
    kTlInfoDisplayName = 7,
    kTlInfoCharEncoding = 8,
    kTlInfoGenTLVersionMajor = 9,
    kTlInfoGenTLVersionMinor = 10,
};

/// TLGetInterfaceInfo and IFGetInfo.
enum InterfaceInfo : std::int32_t {
    kInterfaceInfoId = 0,
    kInterfaceInfoDisplayName = 1,
    kInterfaceInfoTlType = 2,
};

/// IFGetDeviceInfo and DevGetInfo.
enum DeviceInfoCommand : std::int32_t {
    kDeviceInfoId = 0,
    kDeviceInfoVendor = 1,
    kDeviceInfoModel = 2,
    kDeviceInfoTlType = 3,
    kDeviceInfoDisplayName = 4,
    kDeviceInfoAccessStatus = 5,
    kDeviceInfoUserDefinedName = 6,
    kDeviceInfoSerialNumber = 7,
    kDeviceInfoVersion = 8,
    kDeviceInfoTimestampFrequency = 9,
};

/// How a device is opened.
enum DeviceAccess : std::int32_t {
    kDeviceAccessUnknown = 0,
    kDeviceAccessNone = 1,
    kDeviceAccessReadOnly = 2,
    kDeviceAccessControl = 3,
    kDeviceAccessExclusive = 4,
};

/// How a device could be opened.
enum DeviceAccessStatus : std::int32_t {
    kStatusUnknown = 0,
    kStatusReadWrite = 1,
    kStatusReadOnly = 2,
    kStatusNoAccess = 3,
    kStatusBusy = 4,
    kStatusOpenReadWrite = 5,
    kStatusOpenReadOnly = 6,
};

/// DSGetInfo.
enum StreamInfo : std::int32_t {
    kStreamInfoId = 0,
    kStreamInfoNumDelivered = 1,
    kStreamInfoNumUnderrun = 2,
    kStreamInfoNumAnnounced = 3,
    kStreamInfoNumQueued = 4,
    kStreamInfoNumAwaitDelivery = 5,
    kStreamInfoNumStarted = 6,
    kStreamInfoPayloadSize = 7,
    kStreamInfoIsGrabbing = 8,
    kStreamInfoDefinesPayloadSize = 9,
    kStreamInfoTlType = 10,
    kStreamInfoNumChunksMax = 11,
    kStreamInfoBufAnnounceMin = 12,
    kStreamInfoBufAlignment = 13,
    kStreamInfoFlowTable = 14,
    kStreamInfoGenDCPrefetchDescriptor = 15,
};

/// DSGetBufferInfo.
enum BufferInfo : std::int32_t {
    kBufferInfoBase = 0,
    kBufferInfoSize = 1,
    kBufferInfoUserPtr = 2,
    kBufferInfoTimestamp = 3,
    kBufferInfoNewData = 4,
    kBufferInfoIsQueued = 5,
    kBufferInfoIsAcquiring = 6,
    kBufferInfoIsIncomplete = 7,
    kBufferInfoTlType = 8,
    kBufferInfoSizeFilled = 9,
    kBufferInfoWidth = 10,
    kBufferInfoHeight = 11,
    kBufferInfoXOffset = 12,
    kBufferInfoYOffset = 13,
    kBufferInfoXPadding = 14,
    kBufferInfoYPadding = 15,
    kBufferInfoFrameId = 16,
    kBufferInfoImagePresent = 17,
    kBufferInfoImageOffset = 18,
    kBufferInfoPayloadType = 19,
    kBufferInfoPixelFormat = 20,
    kBufferInfoPixelFormatNamespace = 21,
    kBufferInfoDeliveredImageHeight = 22,
    kBufferInfoDeliveredChunkPayloadSize = 23,
    kBufferInfoChunkLayoutId = 24,
    kBufferInfoFileName = 25,
    kBufferInfoPixelEndianness = 26,
    kBufferInfoDataSize = 27,
    kBufferInfoTimestampNs = 28,
    kBufferInfoDataLargerThanBuffer = 29,
    kBufferInfoContainsChunkData = 30,
    kBufferInfoIsComposite = 31,
};

/// DSGetBufferPartInfo.
enum BufferPartInfo : std::int32_t {
    kPartInfoBase = 0,
    kPartInfoDataSize = 1,
    kPartInfoDataType = 2,
    kPartInfoDataFormat = 3,
    kPartInfoDataFormatNamespace = 4,
    kPartInfoWidth = 5,
    kPartInfoHeight = 6,
    kPartInfoXOffset = 7,
    kPartInfoYOffset = 8,
    kPartInfoXPadding = 9,
    kPartInfoSourceId = 10,
    kPartInfoDeliveredImageHeight = 11,
    kPartInfoRegionId = 12,
    kPartInfoDataPurposeId = 13,
};

/// BUFFER_INFO payload type.
enum PayloadType : std::int32_t {
    kPayloadUnknown = 0,
    kPayloadImage = 1,
    kPayloadRawData = 2,
    kPayloadFile = 3,
    kPayloadChunkData = 4,
    kPayloadJpeg = 5,
    kPayloadJpeg2000 = 6,
    kPayloadH264 = 7,
    kPayloadChunkOnly = 8,
    kPayloadDeviceSpecific = 9,
    kPayloadMultiPart = 10,
    kPayloadGenDC = 11,
};

/// Data type of a buffer part.
enum PartDataType : std::int32_t {
    kPartUnknown = 0,
    kPart2DImage = 1,
    kPart2DPlaneBiplanar = 2,
    kPart2DPlaneTriplanar = 3,
    kPart2DPlaneQuadplanar = 4,
    kPart3DImage = 5,
    kPart3DPlaneBiplanar = 6,
    kPart3DPlaneTriplanar = 7,
    kPart3DPlaneQuadplanar = 8,
    kPartConfidenceMap = 9,
    kPartJpeg = 10,
    kPartJpeg2000 = 11,
};

/// Whose numbers a pixel format has.
enum PixelFormatNamespace : std::int32_t {
    kNamespaceUnknown = 0,
    kNamespaceGev = 1,
    kNamespaceIidc = 2,
    kNamespacePfnc16 = 3,
    kNamespacePfnc32 = 4,
};

/// Byte order.
enum Endianness : std::int32_t {
    kEndiannessUnknown = 0,
    kEndiannessLittle = 1,
    kEndiannessBig = 2,
};

/// GCGetPortInfo.
enum PortInfo : std::int32_t {
    kPortInfoId = 0,
    kPortInfoVendor = 1,
    kPortInfoModel = 2,
    kPortInfoTlType = 3,
    kPortInfoModule = 4,
    kPortInfoLittleEndian = 5,
    kPortInfoBigEndian = 6,
    kPortInfoAccessRead = 7,
    kPortInfoAccessWrite = 8,
    kPortInfoAccessNa = 9,
    kPortInfoAccessNi = 10,
    kPortInfoVersion = 11,
    kPortInfoPortName = 12,
};

/// GCGetPortURLInfo.
enum UrlInfo : std::int32_t {
    kUrlInfoUrl = 0,
    kUrlInfoSchemaVersionMajor = 1,
    kUrlInfoSchemaVersionMinor = 2,
    kUrlInfoFileVersionMajor = 3,
    kUrlInfoFileVersionMinor = 4,
    kUrlInfoFileVersionSubMinor = 5,
    kUrlInfoFileSha1Hash = 6,
    kUrlInfoFileRegisterAddress = 7,
    kUrlInfoFileSize = 8,
    kUrlInfoScheme = 9,
    kUrlInfoFileName = 10,
};

/// GCRegisterEvent.
enum EventType : std::int32_t {
    kEventError = 0,
    kEventNewBuffer = 1,
    kEventFeatureInvalidate = 2,
    kEventFeatureChange = 3,
    kEventRemoteDevice = 4,
    kEventModule = 5,
};

/// EventGetInfo.
enum EventInfo : std::int32_t {
    kEventInfoType = 0,
    kEventInfoNumInQueue = 1,
    kEventInfoNumFired = 2,
    kEventInfoSizeMax = 3,
    kEventInfoDataSizeMax = 4,
};

/// EventGetDataInfo.
enum EventDataInfo : std::int32_t {
    kEventDataId = 0,
    kEventDataValue = 1,
    kEventDataNumId = 2,
};

/// DSFlushQueue.
enum AcqQueueType : std::int32_t {
    kQueueInputToOutput = 0,
    kQueueOutputDiscard = 1,
    kQueueAllToInput = 2,
    kQueueUnqueuedToInput = 3,
    kQueueAllDiscard = 4,
};

/// DSStartAcquisition.
enum AcqStartFlags : std::int32_t {
    kAcqStartDefault = 0,
};

/// DSStopAcquisition.
enum AcqStopFlags : std::int32_t {
    kAcqStopDefault = 0,
    kAcqStopKill = 1,
};

#pragma pack(push, 1)
/// Data of a new-buffer event.
struct NewBufferData {
    Handle buffer;
    void* userPointer;
};
/// One register of a stacked access.
struct RegisterStackEntry {
    std::uint64_t address;
    void* data;
    std::size_t size;
};
/// One chunk of a buffer; the offset counts from the buffer's base.
struct ChunkData {
    std::uint64_t id;
    std::ptrdiff_t offset;
    std::size_t length;
};
/// One question of DSGetBufferInfoStacked.
struct BufferInfoStacked {
    std::int32_t command;
    std::int32_t type;
    void* data;
    std::size_t size;
    Error result;
};
/// One question of DSGetBufferPartInfoStacked; result before type.
struct BufferPartInfoStacked {
    std::uint32_t part;
    std::int32_t command;
    Error result;
    std::int32_t type;
    void* data;
    std::size_t size;
};
#pragma pack(pop)
static_assert(sizeof(NewBufferData) == 16 && sizeof(RegisterStackEntry) == 24, "packed");
static_assert(sizeof(ChunkData) == 24 && sizeof(BufferInfoStacked) == 28, "packed");
static_assert(sizeof(BufferPartInfoStacked) == 32, "packed");

} // namespace gentl
