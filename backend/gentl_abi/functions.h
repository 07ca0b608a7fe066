// The functions of a GenTL producer: the one list from which tables, look-ups and exports come.
#pragma once

#include "gentl_abi/gentl_abi.h"

/// ROW(need, name, parameters, arguments) for every function, in the order of the standard's
/// versions: 1.0 (library, ports, events, system, interface, device, stream), 1.1, 1.3, 1.4, 1.5,
/// 1.6. need: kMandatory for what no parameter of any device could be reached without, else
/// kOptional: producers without streams or events serve parameters only, and later ones know more
/// than earlier ones. All return an Error.
#define ZEL_GENTL_FUNCTIONS(ROW)                                                                   \
    ROW(kMandatory, GCInitLib, (), ())                                                             \
    ROW(kOptional, GCCloseLib, (), ())                                                             \
    ROW(kOptional, GCGetInfo,                                                                      \
        (std::int32_t command, std::int32_t * type, void* data, std::size_t* size),                \
        (command, type, data, size))                                                               \
    ROW(kOptional, GCGetLastError, (Error * code, char* text, std::size_t* size),                  \
        (code, text, size))                                                                        \
    ROW(kMandatory, GCReadPort,                                                                    \
        (Handle port, std::uint64_t address, void* data, std::size_t* size),                       \
        (port, address, data, size))                                                               \
    ROW(kMandatory, GCWritePort,                                                                   \
        (Handle port, std::uint64_t address, const void* data, std::size_t* size),                 \
        (port, address, data, size))                                                               \
    ROW(kOptional, GCGetPortURL, (Handle port, char* url, std::size_t* size), (port, url, size))   \
    ROW(kOptional, GCGetPortInfo,                                                                  \
        (Handle port, std::int32_t command, std::int32_t * type, void* data, std::size_t* size),   \
        (port, command, type, data, size))                                                         \
    ROW(kOptional, GCRegisterEvent, (Handle source, std::int32_t type, Handle * event),            \
        (source, type, event))                                                                     \
    ROW(kOptional, GCUnregisterEvent, (Handle source, std::int32_t type), (source, type))          \
    ROW(kOptional, EventGetData,                                                                   \
        (Handle event, void* data, std::size_t* size, std::uint64_t timeoutMs),                    \
        (event, data, size, timeoutMs))                                                            \
    ROW(kOptional, EventGetDataInfo,                                                               \
        (Handle event, const void* in, std::size_t inSize, std::int32_t command,                   \
         std::int32_t* type, void* data, std::size_t* size),                                       \
        (event, in, inSize, command, type, data, size))                                            \
    ROW(kOptional, EventGetInfo,                                                                   \
        (Handle event, std::int32_t command, std::int32_t * type, void* data, std::size_t* size),  \
        (event, command, type, data, size))                                                        \
    ROW(kOptional, EventFlush, (Handle event), (event))                                            \
    ROW(kOptional, EventKill, (Handle event), (event))                                             \
    ROW(kMandatory, TLOpen, (Handle * tl), (tl))                                                   \
    ROW(kOptional, TLClose, (Handle tl), (tl))                                                     \
    ROW(kOptional, TLGetInfo,                                                                      \
        (Handle tl, std::int32_t command, std::int32_t * type, void* data, std::size_t* size),     \
        (tl, command, type, data, size))                                                           \
    ROW(kMandatory, TLGetNumInterfaces, (Handle tl, std::uint32_t * count), (tl, count))           \
    ROW(kMandatory, TLGetInterfaceID,                                                              \
        (Handle tl, std::uint32_t index, char* id, std::size_t* size), (tl, index, id, size))      \
    ROW(kOptional, TLGetInterfaceInfo,                                                             \
        (Handle tl, const char* id, std::int32_t command, std::int32_t* type, void* data,          \
         std::size_t* size),                                                                       \
        (tl, id, command, type, data, size))                                                       \
    ROW(kMandatory, TLOpenInterface, (Handle tl, const char* id, Handle* interface),               \
        (tl, id, interface))                                                                       \
    ROW(kMandatory, TLUpdateInterfaceList, (Handle tl, Bool8 * changed, std::uint64_t timeoutMs),  \
        (tl, changed, timeoutMs))                                                                  \
    ROW(kOptional, IFClose, (Handle interface), (interface))                                       \
    ROW(kOptional, IFGetInfo,                                                                      \
        (Handle interface, std::int32_t command, std::int32_t * type, void* data,                  \
         std::size_t* size),                                                                       \
        (interface, command, type, data, size))                                                    \
    ROW(kMandatory, IFGetNumDevices, (Handle interface, std::uint32_t * count),                    \
        (interface, count))                                                                        \
    ROW(kMandatory, IFGetDeviceID,                                                                 \
        (Handle interface, std::uint32_t index, char* id, std::size_t* size),                      \
        (interface, index, id, size))                                                              \
    ROW(kMandatory, IFUpdateDeviceList,                                                            \
        (Handle interface, Bool8 * changed, std::uint64_t timeoutMs),                              \
        (interface, changed, timeoutMs))                                                           \
    ROW(kOptional, IFGetDeviceInfo,                                                                \
        (Handle interface, const char* id, std::int32_t command, std::int32_t* type, void* data,   \
         std::size_t* size),                                                                       \
        (interface, id, command, type, data, size))                                                \
    ROW(kMandatory, IFOpenDevice,                                                                  \
        (Handle interface, const char* id, std::int32_t access, Handle* device),                   \
        (interface, id, access, device))                                                           \
    ROW(kMandatory, DevGetPort, (Handle device, Handle * port), (device, port))                    \
    ROW(kOptional, DevGetNumDataStreams, (Handle device, std::uint32_t * count), (device, count))  \
    ROW(kOptional, DevGetDataStreamID,                                                             \
        (Handle device, std::uint32_t index, char* id, std::size_t* size),                         \
        (device, index, id, size))                                                                 \
    ROW(kOptional, DevOpenDataStream, (Handle device, const char* id, Handle* stream),             \
        (device, id, stream))                                                                      \
    ROW(kOptional, DevGetInfo,                                                                     \
        (Handle device, std::int32_t command, std::int32_t * type, void* data, std::size_t* size), \
        (device, command, type, data, size))                                                       \
    ROW(kMandatory, DevClose, (Handle device), (device))                                           \
    ROW(kOptional, DSAnnounceBuffer,                                                               \
        (Handle stream, void* memory, std::size_t size, void* userPointer, Handle* buffer),        \
        (stream, memory, size, userPointer, buffer))                                               \
    ROW(kOptional, DSAllocAndAnnounceBuffer,                                                       \
        (Handle stream, std::size_t size, void* userPointer, Handle* buffer),                      \
        (stream, size, userPointer, buffer))                                                       \
    ROW(kOptional, DSFlushQueue, (Handle stream, std::int32_t operation), (stream, operation))     \
    ROW(kOptional, DSStartAcquisition, (Handle stream, std::int32_t flags, std::uint64_t count),   \
        (stream, flags, count))                                                                    \
    ROW(kOptional, DSStopAcquisition, (Handle stream, std::int32_t flags), (stream, flags))        \
    ROW(kOptional, DSGetInfo,                                                                      \
        (Handle stream, std::int32_t command, std::int32_t * type, void* data, std::size_t* size), \
        (stream, command, type, data, size))                                                       \
    ROW(kOptional, DSGetBufferID, (Handle stream, std::uint32_t index, Handle * buffer),           \
        (stream, index, buffer))                                                                   \
    ROW(kOptional, DSClose, (Handle stream), (stream))                                             \
    ROW(kOptional, DSRevokeBuffer,                                                                 \
        (Handle stream, Handle buffer, void** memory, void** userPointer),                         \
        (stream, buffer, memory, userPointer))                                                     \
    ROW(kOptional, DSQueueBuffer, (Handle stream, Handle buffer), (stream, buffer))                \
    ROW(kOptional, DSGetBufferInfo,                                                                \
        (Handle stream, Handle buffer, std::int32_t command, std::int32_t * type, void* data,      \
         std::size_t* size),                                                                       \
        (stream, buffer, command, type, data, size))                                               \
    ROW(kOptional, GCGetNumPortURLs, (Handle port, std::uint32_t * count), (port, count))          \
    ROW(kOptional, GCGetPortURLInfo,                                                               \
        (Handle port, std::uint32_t index, std::int32_t command, std::int32_t * type, void* data,  \
         std::size_t* size),                                                                       \
        (port, index, command, type, data, size))                                                  \
    ROW(kOptional, GCReadPortStacked,                                                              \
        (Handle port, RegisterStackEntry * entries, std::size_t * count), (port, entries, count))  \
    ROW(kOptional, GCWritePortStacked,                                                             \
        (Handle port, RegisterStackEntry * entries, std::size_t * count), (port, entries, count))  \
    ROW(kOptional, DSGetBufferChunkData,                                                           \
        (Handle stream, Handle buffer, ChunkData * chunks, std::size_t * count),                   \
        (stream, buffer, chunks, count))                                                           \
    ROW(kOptional, IFGetParentTL, (Handle interface, Handle * tl), (interface, tl))                \
    ROW(kOptional, DevGetParentIF, (Handle device, Handle * interface), (device, interface))       \
    ROW(kOptional, DSGetParentDev, (Handle stream, Handle * device), (stream, device))             \
    ROW(kOptional, DSGetNumBufferParts, (Handle stream, Handle buffer, std::uint32_t * count),     \
        (stream, buffer, count))                                                                   \
    ROW(kOptional, DSGetBufferPartInfo,                                                            \
        (Handle stream, Handle buffer, std::uint32_t part, std::int32_t command,                   \
         std::int32_t * type, void* data, std::size_t* size),                                      \
        (stream, buffer, part, command, type, data, size))                                         \
    ROW(kOptional, DSGetBufferInfoStacked,                                                         \
        (Handle stream, Handle buffer, BufferInfoStacked * entries, std::size_t count),            \
        (stream, buffer, entries, count))                                                          \
    ROW(kOptional, DSGetBufferPartInfoStacked,                                                     \
        (Handle stream, Handle buffer, BufferPartInfoStacked * entries, std::size_t count),        \
        (stream, buffer, entries, count))

namespace gentl
{

/// Pointers to a producer's functions, by their names; a function that the producer lacks is null.
struct FunctionTable {
#define ZEL_MEMBER(need, name, parameters, arguments) Error(*name) parameters = nullptr;
    ZEL_GENTL_FUNCTIONS(ZEL_MEMBER)
#undef ZEL_MEMBER
};

} // namespace gentl
