// Answers of DSGetBufferInfo.
#pragma once

#include "simulator/producer/announced_buffer.h"
#include "simulator/producer/info_value.h"

#include <string>

namespace simulator::producer
{

/// `state` and `frame` are a copy taken under the lock of the queues. Throws Failure -1014 for what
/// only a filled buffer knows, -1008 for data that a plain image does not have, -1009 for unknown
/// commands.
InfoValue bufferInfo(const AnnouncedBuffer& buffer, BufferState state, const FrameRecord& frame,
                     const std::string& tlType, std::int32_t command);

} // namespace simulator::producer
