// The functions of the producer, as the C interface and the function table give them out.
#pragma once

#include "gentl_abi/gentl_abi.h"

#include <cstddef>
#include <cstdint>

/// Names, arguments and codes are those of GenTL. Any thread may call any of them; none throws.
namespace simulator::producer::api
{

gentl::Error GCInitLib();
gentl::Error GCCloseLib();
gentl::Error GCGetInfo(std::int32_t command, std::int32_t* type, void* data, std::size_t* size);
gentl::Error GCGetLastError(gentl::Error* code, char* text, std::size_t* size);
gentl::Error GCReadPort(gentl::Handle port, std::uint64_t address, void* data, std::size_t* size);
gentl::Error GCWritePort(gentl::Handle port, std::uint64_t address, const void* data,
                         std::size_t* size);
gentl::Error GCGetPortURL(gentl::Handle port, char* url, std::size_t* size);
gentl::Error GCGetPortInfo(gentl::Handle port, std::int32_t command, std::int32_t* type, void* data,
                           std::size_t* size);
gentl::Error GCRegisterEvent(gentl::Handle source, std::int32_t type, gentl::Handle* event);
gentl::Error GCUnregisterEvent(gentl::Handle source, std::int32_t type);
gentl::Error EventGetData(gentl::Handle event, void* data, std::size_t* size,
                          std::uint64_t timeoutMs);
gentl::Error EventGetDataInfo(gentl::Handle event, const void* in, std::size_t inSize,
                              std::int32_t command, std::int32_t* type, void* data,
                              std::size_t* size);
gentl::Error EventGetInfo(gentl::Handle event, std::int32_t command, std::int32_t* type, void* data,
                          std::size_t* size);
gentl::Error EventFlush(gentl::Handle event);
gentl::Error EventKill(gentl::Handle event);
gentl::Error TLOpen(gentl::Handle* tl);
gentl::Error TLClose(gentl::Handle tl);
gentl::Error TLGetInfo(gentl::Handle tl, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size);
gentl::Error TLGetNumInterfaces(gentl::Handle tl, std::uint32_t* count);
gentl::Error TLGetInterfaceID(gentl::Handle tl, std::uint32_t index, char* id, std::size_t* size);
gentl::Error TLGetInterfaceInfo(gentl::Handle tl, const char* id, std::int32_t command,
                                std::int32_t* type, void* data, std::size_t* size);
gentl::Error TLOpenInterface(gentl::Handle tl, const char* id, gentl::Handle* interface);
gentl::Error TLUpdateInterfaceList(gentl::Handle tl, gentl::Bool8* changed,
                                   std::uint64_t timeoutMs);
gentl::Error IFClose(gentl::Handle interface);
gentl::Error IFGetInfo(gentl::Handle interface, std::int32_t command, std::int32_t* type,
                       void* data, std::size_t* size);
gentl::Error IFGetNumDevices(gentl::Handle interface, std::uint32_t* count);
gentl::Error IFGetDeviceID(gentl::Handle interface, std::uint32_t index, char* id,
                           std::size_t* size);
gentl::Error IFUpdateDeviceList(gentl::Handle interface, gentl::Bool8* changed,
                                std::uint64_t timeoutMs);
gentl::Error IFGetDeviceInfo(gentl::Handle interface, const char* id, std::int32_t command,
                             std::int32_t* type, void* data, std::size_t* size);
gentl::Error IFOpenDevice(gentl::Handle interface, const char* id, std::int32_t access,
                          gentl::Handle* device);
gentl::Error DevGetPort(gentl::Handle device, gentl::Handle* port);
gentl::Error DevGetNumDataStreams(gentl::Handle device, std::uint32_t* count);
gentl::Error DevGetDataStreamID(gentl::Handle device, std::uint32_t index, char* id,
                                std::size_t* size);
gentl::Error DevOpenDataStream(gentl::Handle device, const char* id, gentl::Handle* stream);
gentl::Error DevGetInfo(gentl::Handle device, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size);
gentl::Error DevClose(gentl::Handle device);
gentl::Error DSAnnounceBuffer(gentl::Handle stream, void* memory, std::size_t size,
                              void* userPointer, gentl::Handle* buffer);
gentl::Error DSAllocAndAnnounceBuffer(gentl::Handle stream, std::size_t size, void* userPointer,
                                      gentl::Handle* buffer);
gentl::Error DSFlushQueue(gentl::Handle stream, std::int32_t operation);
gentl::Error DSStartAcquisition(gentl::Handle stream, std::int32_t flags, std::uint64_t count);
gentl::Error DSStopAcquisition(gentl::Handle stream, std::int32_t flags);
gentl::Error DSGetInfo(gentl::Handle stream, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size);
gentl::Error DSGetBufferID(gentl::Handle stream, std::uint32_t index, gentl::Handle* buffer);
gentl::Error DSClose(gentl::Handle stream);
gentl::Error DSRevokeBuffer(gentl::Handle stream, gentl::Handle buffer, void** memory,
                            void** userPointer);
gentl::Error DSQueueBuffer(gentl::Handle stream, gentl::Handle buffer);
gentl::Error DSGetBufferInfo(gentl::Handle stream, gentl::Handle buffer, std::int32_t command,
                             std::int32_t* type, void* data, std::size_t* size);
gentl::Error GCGetNumPortURLs(gentl::Handle port, std::uint32_t* count);
gentl::Error GCGetPortURLInfo(gentl::Handle port, std::uint32_t index, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size);
gentl::Error GCReadPortStacked(gentl::Handle port, gentl::RegisterStackEntry* entries,
                               std::size_t* count);
gentl::Error GCWritePortStacked(gentl::Handle port, gentl::RegisterStackEntry* entries,
                                std::size_t* count);
gentl::Error DSGetBufferChunkData(gentl::Handle stream, gentl::Handle buffer,
                                  gentl::ChunkData* chunks, std::size_t* count);
gentl::Error IFGetParentTL(gentl::Handle interface, gentl::Handle* tl);
gentl::Error DevGetParentIF(gentl::Handle device, gentl::Handle* interface);
gentl::Error DSGetParentDev(gentl::Handle stream, gentl::Handle* device);
gentl::Error DSGetNumBufferParts(gentl::Handle stream, gentl::Handle buffer, std::uint32_t* count);
gentl::Error DSGetBufferPartInfo(gentl::Handle stream, gentl::Handle buffer, std::uint32_t part,
                                 std::int32_t command, std::int32_t* type, void* data,
                                 std::size_t* size);
gentl::Error DSGetBufferInfoStacked(gentl::Handle stream, gentl::Handle buffer,
                                    gentl::BufferInfoStacked* entries, std::size_t count);
gentl::Error DSGetBufferPartInfoStacked(gentl::Handle stream, gentl::Handle buffer,
                                        gentl::BufferPartInfoStacked* entries, std::size_t count);

} // namespace simulator::producer::api
