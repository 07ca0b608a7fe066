// A producer's functions as the C symbols of a loadable file.
#include "simulator/producer/exported_functions.h"
#include "zel_export.h"

using namespace gentl; // NOLINT: the C names of a foreign interface

namespace
{
const FunctionTable& api() { return simulator::producer::exportedFunctions(); }
} // namespace

extern "C" {

ZEL_API Error GCInitLib() { return api().GCInitLib(); }

ZEL_API Error GCCloseLib() { return api().GCCloseLib(); }

ZEL_API Error GCGetInfo(std::int32_t command, std::int32_t* type, void* data, std::size_t* size)
{
    return api().GCGetInfo(command, type, data, size);
}

ZEL_API Error GCGetLastError(Error* code, char* text, std::size_t* size)
{
    return api().GCGetLastError(code, text, size);
}

ZEL_API Error GCReadPort(Handle port, std::uint64_t address, void* data, std::size_t* size)
{
    return api().GCReadPort(port, address, data, size);
}

ZEL_API Error GCWritePort(Handle port, std::uint64_t address, const void* data, std::size_t* size)
{
    return api().GCWritePort(port, address, data, size);
}

ZEL_API Error GCGetPortURL(Handle port, char* url, std::size_t* size)
{
    return api().GCGetPortURL(port, url, size);
}

ZEL_API Error GCGetPortInfo(Handle port, std::int32_t command, std::int32_t* type, void* data,
                            std::size_t* size)
{
    return api().GCGetPortInfo(port, command, type, data, size);
}

ZEL_API Error GCRegisterEvent(Handle source, std::int32_t type, Handle* event)
{
    return api().GCRegisterEvent(source, type, event);
}

ZEL_API Error GCUnregisterEvent(Handle source, std::int32_t type)
{
    return api().GCUnregisterEvent(source, type);
}

ZEL_API Error EventGetData(Handle event, void* data, std::size_t* size, std::uint64_t timeoutMs)
{
    return api().EventGetData(event, data, size, timeoutMs);
}

ZEL_API Error EventGetDataInfo(Handle event, const void* in, std::size_t inSize,
                               std::int32_t command, std::int32_t* type, void* data,
                               std::size_t* size)
{
    return api().EventGetDataInfo(event, in, inSize, command, type, data, size);
}

ZEL_API Error EventGetInfo(Handle event, std::int32_t command, std::int32_t* type, void* data,
                           std::size_t* size)
{
    return api().EventGetInfo(event, command, type, data, size);
}

ZEL_API Error EventFlush(Handle event) { return api().EventFlush(event); }

ZEL_API Error EventKill(Handle event) { return api().EventKill(event); }

ZEL_API Error TLOpen(Handle* tl) { return api().TLOpen(tl); }

ZEL_API Error TLClose(Handle tl) { return api().TLClose(tl); }

ZEL_API Error TLGetInfo(Handle tl, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size)
{
    return api().TLGetInfo(tl, command, type, data, size);
}

ZEL_API Error TLGetNumInterfaces(Handle tl, std::uint32_t* count)
{
    return api().TLGetNumInterfaces(tl, count);
}

ZEL_API Error TLGetInterfaceID(Handle tl, std::uint32_t index, char* id, std::size_t* size)
{
    return api().TLGetInterfaceID(tl, index, id, size);
}

ZEL_API Error TLGetInterfaceInfo(Handle tl, const char* id, std::int32_t command,
                                 std::int32_t* type, void* data, std::size_t* size)
{
    return api().TLGetInterfaceInfo(tl, id, command, type, data, size);
}

ZEL_API Error TLOpenInterface(Handle tl, const char* id, Handle* interface)
{
    return api().TLOpenInterface(tl, id, interface);
}

ZEL_API Error TLUpdateInterfaceList(Handle tl, Bool8* changed, std::uint64_t timeoutMs)
{
    return api().TLUpdateInterfaceList(tl, changed, timeoutMs);
}

ZEL_API Error IFClose(Handle interface) { return api().IFClose(interface); }

ZEL_API Error IFGetInfo(Handle interface, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size)
{
    return api().IFGetInfo(interface, command, type, data, size);
}

ZEL_API Error IFGetNumDevices(Handle interface, std::uint32_t* count)
{
    return api().IFGetNumDevices(interface, count);
}

ZEL_API Error IFGetDeviceID(Handle interface, std::uint32_t index, char* id, std::size_t* size)
{
    return api().IFGetDeviceID(interface, index, id, size);
}

ZEL_API Error IFUpdateDeviceList(Handle interface, Bool8* changed, std::uint64_t timeoutMs)
{
    return api().IFUpdateDeviceList(interface, changed, timeoutMs);
}

ZEL_API Error IFGetDeviceInfo(Handle interface, const char* id, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size)
{
    return api().IFGetDeviceInfo(interface, id, command, type, data, size);
}

ZEL_API Error IFOpenDevice(Handle interface, const char* id, std::int32_t access, Handle* device)
{
    return api().IFOpenDevice(interface, id, access, device);
}

ZEL_API Error DevGetPort(Handle device, Handle* port) { return api().DevGetPort(device, port); }

ZEL_API Error DevGetNumDataStreams(Handle device, std::uint32_t* count)
{
    return api().DevGetNumDataStreams(device, count);
}

ZEL_API Error DevGetDataStreamID(Handle device, std::uint32_t index, char* id, std::size_t* size)
{
    return api().DevGetDataStreamID(device, index, id, size);
}

ZEL_API Error DevOpenDataStream(Handle device, const char* id, Handle* stream)
{
    return api().DevOpenDataStream(device, id, stream);
}

ZEL_API Error DevGetInfo(Handle device, std::int32_t command, std::int32_t* type, void* data,
                         std::size_t* size)
{
    return api().DevGetInfo(device, command, type, data, size);
}

ZEL_API Error DevClose(Handle device) { return api().DevClose(device); }

ZEL_API Error DSAnnounceBuffer(Handle stream, void* memory, std::size_t size, void* userPointer,
                               Handle* buffer)
{
    return api().DSAnnounceBuffer(stream, memory, size, userPointer, buffer);
}

ZEL_API Error DSAllocAndAnnounceBuffer(Handle stream, std::size_t size, void* userPointer,
                                       Handle* buffer)
{
    return api().DSAllocAndAnnounceBuffer(stream, size, userPointer, buffer);
}

ZEL_API Error DSFlushQueue(Handle stream, std::int32_t operation)
{
    return api().DSFlushQueue(stream, operation);
}

ZEL_API Error DSStartAcquisition(Handle stream, std::int32_t flags, std::uint64_t count)
{
    return api().DSStartAcquisition(stream, flags, count);
}

ZEL_API Error DSStopAcquisition(Handle stream, std::int32_t flags)
{
    return api().DSStopAcquisition(stream, flags);
}

ZEL_API Error DSGetInfo(Handle stream, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size)
{
    return api().DSGetInfo(stream, command, type, data, size);
}

ZEL_API Error DSGetBufferID(Handle stream, std::uint32_t index, Handle* buffer)
{
    return api().DSGetBufferID(stream, index, buffer);
}

ZEL_API Error DSClose(Handle stream) { return api().DSClose(stream); }

ZEL_API Error DSRevokeBuffer(Handle stream, Handle buffer, void** memory, void** userPointer)
{
    return api().DSRevokeBuffer(stream, buffer, memory, userPointer);
}

ZEL_API Error DSQueueBuffer(Handle stream, Handle buffer)
{
    return api().DSQueueBuffer(stream, buffer);
}

ZEL_API Error DSGetBufferInfo(Handle stream, Handle buffer, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size)
{
    return api().DSGetBufferInfo(stream, buffer, command, type, data, size);
}

ZEL_API Error GCGetNumPortURLs(Handle port, std::uint32_t* count)
{
    return api().GCGetNumPortURLs(port, count);
}

ZEL_API Error GCGetPortURLInfo(Handle port, std::uint32_t index, std::int32_t command,
                               std::int32_t* type, void* data, std::size_t* size)
{
    return api().GCGetPortURLInfo(port, index, command, type, data, size);
}

ZEL_API Error GCReadPortStacked(Handle port, RegisterStackEntry* entries, std::size_t* count)
{
    return api().GCReadPortStacked(port, entries, count);
}

ZEL_API Error GCWritePortStacked(Handle port, RegisterStackEntry* entries, std::size_t* count)
{
    return api().GCWritePortStacked(port, entries, count);
}

ZEL_API Error DSGetBufferChunkData(Handle stream, Handle buffer, ChunkData* chunks,
                                   std::size_t* count)
{
    return api().DSGetBufferChunkData(stream, buffer, chunks, count);
}

ZEL_API Error IFGetParentTL(Handle interface, Handle* tl)
{
    return api().IFGetParentTL(interface, tl);
}

ZEL_API Error DevGetParentIF(Handle device, Handle* interface)
{
    return api().DevGetParentIF(device, interface);
}

ZEL_API Error DSGetParentDev(Handle stream, Handle* device)
{
    return api().DSGetParentDev(stream, device);
}

ZEL_API Error DSGetNumBufferParts(Handle stream, Handle buffer, std::uint32_t* count)
{
    return api().DSGetNumBufferParts(stream, buffer, count);
}

ZEL_API Error DSGetBufferPartInfo(Handle stream, Handle buffer, std::uint32_t part,
                                  std::int32_t command, std::int32_t* type, void* data,
                                  std::size_t* size)
{
    return api().DSGetBufferPartInfo(stream, buffer, part, command, type, data, size);
}

ZEL_API Error DSGetBufferInfoStacked(Handle stream, Handle buffer, BufferInfoStacked* entries,
                                     std::size_t count)
{
    return api().DSGetBufferInfoStacked(stream, buffer, entries, count);
}

ZEL_API Error DSGetBufferPartInfoStacked(Handle stream, Handle buffer,
                                         BufferPartInfoStacked* entries, std::size_t count)
{
    return api().DSGetBufferPartInfoStacked(stream, buffer, entries, count);
}
}
