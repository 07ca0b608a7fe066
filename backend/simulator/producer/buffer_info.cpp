// Answers of DSGetBufferInfo, by what they are about: buffer, frame, image.
#include "simulator/producer/buffer_info.h"

#include "simulator/producer/failure.h"

namespace simulator::producer
{

namespace
{

/// What is known of every buffer, filled or not; false: `command` asks for something else.
bool ofBuffer(const AnnouncedBuffer& buffer, BufferState state, const FrameRecord& frame,
              const std::string& tlType, std::int32_t command, InfoValue* value)
{
    switch (command) {
    case gentl::kBufferInfoBase:
        *value = InfoValue::pointer(buffer.memory());
        return true;
    case gentl::kBufferInfoSize:
        *value = InfoValue::size(buffer.size());
        return true;
    case gentl::kBufferInfoUserPtr:
        *value = InfoValue::pointer(buffer.userPointer());
        return true;
    case gentl::kBufferInfoTlType:
        *value = InfoValue::text(tlType);
        return true;
    case gentl::kBufferInfoNewData:
        *value = InfoValue::bool8(frame.newData);
        return true;
    case gentl::kBufferInfoIsQueued:
        *value =
            InfoValue::bool8(state != BufferState::Announced && state != BufferState::Delivered);
        return true;
    case gentl::kBufferInfoIsAcquiring:
        *value = InfoValue::bool8(state == BufferState::Filling);
        return true;
    case gentl::kBufferInfoIsIncomplete:
        *value = InfoValue::bool8(frame.newData && frame.incomplete);
        return true;
    case gentl::kBufferInfoSizeFilled:
        *value = InfoValue::size(frame.newData ? frame.sizeFilled : 0);
        return true;
    case gentl::kBufferInfoIsComposite:
        *value = InfoValue::bool8(false);
        return true;
    default:
        return false;
    }
}

InfoValue ofImage(const FrameRecord& frame, std::int32_t command)
{
    const FrameLayout& layout = frame.layout;
    switch (command) {
    case gentl::kBufferInfoWidth:
        return InfoValue::size(layout.width);
    case gentl::kBufferInfoHeight:
        return InfoValue::size(layout.height);
    case gentl::kBufferInfoXOffset:
        return InfoValue::size(layout.offsetX);
    case gentl::kBufferInfoYOffset:
        return InfoValue::size(layout.offsetY);
    case gentl::kBufferInfoXPadding:
    case gentl::kBufferInfoYPadding:
    case gentl::kBufferInfoImageOffset:
        return InfoValue::size(0);
    case gentl::kBufferInfoImagePresent:
        return InfoValue::bool8(true);
    case gentl::kBufferInfoPixelFormat:
        return InfoValue::uint64(layout.pixelFormat);
    case gentl::kBufferInfoPixelFormatNamespace:
        return InfoValue::uint64(gentl::kNamespacePfnc32);
    case gentl::kBufferInfoPixelEndianness:
        return InfoValue::int32(gentl::kEndiannessLittle);
    case gentl::kBufferInfoDeliveredImageHeight:
        return InfoValue::size(frame.linesFilled);
    default:
        throw Failure(gentl::err::kInvalidParameter, "unknown buffer info command");
    }
}

InfoValue ofFrame(const FrameRecord& frame, std::int32_t command)
{
    const FrameLayout& layout = frame.layout;
    switch (command) {
    case gentl::kBufferInfoTimestamp: // ticks are nanoseconds
    case gentl::kBufferInfoTimestampNs:
        return InfoValue::uint64(layout.timestampNs);
    case gentl::kBufferInfoFrameId:
        return InfoValue::uint64(frame.frameId);
    case gentl::kBufferInfoPayloadType:
        return InfoValue::size(gentl::kPayloadImage);
    case gentl::kBufferInfoDataSize:
        return InfoValue::size(frame.dataSize);
    case gentl::kBufferInfoDataLargerThanBuffer:
        return InfoValue::bool8(frame.largerThanBuffer);
    case gentl::kBufferInfoContainsChunkData:
        return InfoValue::bool8(!frame.chunks.empty());
    case gentl::kBufferInfoDeliveredChunkPayloadSize:
        return InfoValue::size(frame.chunks.empty() ? 0 : layout.chunkBytes);
    case gentl::kBufferInfoChunkLayoutId:
        if (frame.chunks.empty()) {
            throw Failure(gentl::err::kNoData, "the frame has no chunks");
        }
        return InfoValue::uint64(layout.chunkLayoutId);
    case gentl::kBufferInfoFileName:
        throw Failure(gentl::err::kNoData, "the frame is not a file");
    default:
        return ofImage(frame, command);
    }
}

} // namespace

InfoValue bufferInfo(const AnnouncedBuffer& buffer, BufferState state, const FrameRecord& frame,
                     const std::string& tlType, std::int32_t command)
{
    requireParameter(command >= gentl::kBufferInfoBase && command <= gentl::kBufferInfoIsComposite,
                     "unknown buffer info command");
    InfoValue value = InfoValue::bool8(false);
    if (ofBuffer(buffer, state, frame, tlType, command, &value)) {
        return value;
    }
    if (!frame.newData) {
        throw Failure(gentl::err::kNotAvailable, "the buffer holds no frame");
    }
    return ofFrame(frame, command);
}

} // namespace simulator::producer
