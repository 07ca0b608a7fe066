// The functions of a GenTL producer as a table: filled from a loaded library, or by the simulator.
#pragma once

#include "gentl_abi/gentl_abi.h"

namespace gentl
{

/// Pointers to a producer's functions; a function that the producer lacks is null (only those since
/// 1.1 may be). The comments tell the version of the standard since which a function exists.
struct FunctionTable {
    // 1.0 library
    Error (*GCInitLib)() = nullptr;
    Error (*GCCloseLib)() = nullptr;
    Error (*GCGetInfo)(std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size) = nullptr;
    Error (*GCGetLastError)(Error* code, char* text, std::size_t* size) = nullptr;
    // 1.0 ports
    Error (*GCReadPort)(Handle port, std::uint64_t address, void* data,
                        std::size_t* size) = nullptr;
    Error (*GCWritePort)(Handle port, std::uint64_t address, const void* data,
                         std::size_t* size) = nullptr;
    Error (*GCGetPortURL)(Handle port, char* url, std::size_t* size) = nullptr;
    Error (*GCGetPortInfo)(Handle port, std::int32_t command, std::int32_t* type, void* data,
                           std::size_t* size) = nullptr;
    // 1.0 events
    Error (*GCRegisterEvent)(Handle source, std::int32_t type, Handle* event) = nullptr;
    Error (*GCUnregisterEvent)(Handle source, std::int32_t type) = nullptr;
    Error (*EventGetData)(Handle event, void* data, std::size_t* size,
                          std::uint64_t timeoutMs) = nullptr;
    Error (*EventGetDataInfo)(Handle event, const void* in, std::size_t inSize,
                              std::int32_t command, std::int32_t* type, void* data,
                              std::size_t* size) = nullptr;
    Error (*EventGetInfo)(Handle event, std::int32_t command, std::int32_t* type, void* data,
                          std::size_t* size) = nullptr;
    Error (*EventFlush)(Handle event) = nullptr;
    Error (*EventKill)(Handle event) = nullptr;
    // 1.0 system
    Error (*TLOpen)(Handle* tl) = nullptr;
    Error (*TLClose)(Handle tl) = nullptr;
    Error (*TLGetInfo)(Handle tl, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size) = nullptr;
    Error (*TLGetNumInterfaces)(Handle tl, std::uint32_t* count) = nullptr;
    Error (*TLGetInterfaceID)(Handle tl, std::uint32_t index, char* id,
                              std::size_t* size) = nullptr;
    Error (*TLGetInterfaceInfo)(Handle tl, const char* id, std::int32_t command, std::int32_t* type,
                                void* data, std::size_t* size) = nullptr;
    Error (*TLOpenInterface)(Handle tl, const char* id, Handle* interface) = nullptr;
    Error (*TLUpdateInterfaceList)(Handle tl, Bool8* changed, std::uint64_t timeoutMs) = nullptr;
    // 1.0 interface
    Error (*IFClose)(Handle interface) = nullptr;
    Error (*IFGetInfo)(Handle interface, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size) = nullptr;
    Error (*IFGetNumDevices)(Handle interface, std::uint32_t* count) = nullptr;
    Error (*IFGetDeviceID)(Handle interface, std::uint32_t index, char* id,
                           std::size_t* size) = nullptr;
    Error (*IFUpdateDeviceList)(Handle interface, Bool8* changed,
                                std::uint64_t timeoutMs) = nullptr;
    Error (*IFGetDeviceInfo)(Handle interface, const char* id, std::int32_t command,
                             std::int32_t* type, void* data, std::size_t* size) = nullptr;
    Error (*IFOpenDevice)(Handle interface, const char* id, std::int32_t access,
                          Handle* device) = nullptr;
    // 1.0 device
    Error (*DevGetPort)(Handle device, Handle* port) = nullptr;
    Error (*DevGetNumDataStreams)(Handle device, std::uint32_t* count) = nullptr;
    Error (*DevGetDataStreamID)(Handle device, std::uint32_t index, char* id,
                                std::size_t* size) = nullptr;
    Error (*DevOpenDataStream)(Handle device, const char* id, Handle* stream) = nullptr;
    Error (*DevGetInfo)(Handle device, std::int32_t command, std::int32_t* type, void* data,
                        std::size_t* size) = nullptr;
    Error (*DevClose)(Handle device) = nullptr;
    // 1.0 stream
    Error (*DSAnnounceBuffer)(Handle stream, void* memory, std::size_t size, void* userPointer,
                              Handle* buffer) = nullptr;
    Error (*DSAllocAndAnnounceBuffer)(Handle stream, std::size_t size, void* userPointer,
                                      Handle* buffer) = nullptr;
    Error (*DSFlushQueue)(Handle stream, std::int32_t operation) = nullptr;
    Error (*DSStartAcquisition)(Handle stream, std::int32_t flags, std::uint64_t count) = nullptr;
    Error (*DSStopAcquisition)(Handle stream, std::int32_t flags) = nullptr;
    Error (*DSGetInfo)(Handle stream, std::int32_t command, std::int32_t* type, void* data,
                       std::size_t* size) = nullptr;
    Error (*DSGetBufferID)(Handle stream, std::uint32_t index, Handle* buffer) = nullptr;
    Error (*DSClose)(Handle stream) = nullptr;
    Error (*DSRevokeBuffer)(Handle stream, Handle buffer, void** memory,
                            void** userPointer) = nullptr;
    Error (*DSQueueBuffer)(Handle stream, Handle buffer) = nullptr;
    Error (*DSGetBufferInfo)(Handle stream, Handle buffer, std::int32_t command, std::int32_t* type,
                             void* data, std::size_t* size) = nullptr;
    // 1.1
    Error (*GCGetNumPortURLs)(Handle port, std::uint32_t* count) = nullptr;
    Error (*GCGetPortURLInfo)(Handle port, std::uint32_t index, std::int32_t command,
                              std::int32_t* type, void* data, std::size_t* size) = nullptr;
    Error (*GCReadPortStacked)(Handle port, RegisterStackEntry* entries,
                               std::size_t* count) = nullptr;
    Error (*GCWritePortStacked)(Handle port, RegisterStackEntry* entries,
                                std::size_t* count) = nullptr;
    // 1.3
    Error (*DSGetBufferChunkData)(Handle stream, Handle buffer, ChunkData* chunks,
                                  std::size_t* count) = nullptr;
    // 1.4
    Error (*IFGetParentTL)(Handle interface, Handle* tl) = nullptr;
    Error (*DevGetParentIF)(Handle device, Handle* interface) = nullptr;
    Error (*DSGetParentDev)(Handle stream, Handle* device) = nullptr;
    // 1.5
    Error (*DSGetNumBufferParts)(Handle stream, Handle buffer, std::uint32_t* count) = nullptr;
    Error (*DSGetBufferPartInfo)(Handle stream, Handle buffer, std::uint32_t part,
                                 std::int32_t command, std::int32_t* type, void* data,
                                 std::size_t* size) = nullptr;
    // 1.6
    Error (*DSGetBufferInfoStacked)(Handle stream, Handle buffer, BufferInfoStacked* entries,
                                    std::size_t count) = nullptr;
    Error (*DSGetBufferPartInfoStacked)(Handle stream, Handle buffer,
                                        BufferPartInfoStacked* entries,
                                        std::size_t count) = nullptr;
};

} // namespace gentl
