// Finds a producer's functions in a loaded library, one by one.
#include "gentl/loader.h"

#include <dlfcn.h>

namespace gentl
{

namespace
{

/// Looks functions up by name; remembers the first that was needed and is missing.
struct Resolver {
    template <class Function> void takes(Function FunctionTable::*member, const char* name) const
    {
        table->*member = reinterpret_cast<Function>(dlsym(library, name));
    }
    template <class Function> void needs(Function FunctionTable::*member, const char* name)
    {
        takes(member, name);
        if (table->*member == nullptr && missing == nullptr) {
            missing = name;
        }
    }

    void resolveMandatory();
    void resolveOptional() const;

    void* library;
    FunctionTable* table;
    const char* missing = nullptr;
};

// Without these no parameter of any device could be reached.
void Resolver::resolveMandatory()
{
    needs(&FunctionTable::GCInitLib, "GCInitLib");
    needs(&FunctionTable::GCReadPort, "GCReadPort");
    needs(&FunctionTable::GCWritePort, "GCWritePort");
    needs(&FunctionTable::TLOpen, "TLOpen");
    needs(&FunctionTable::TLGetNumInterfaces, "TLGetNumInterfaces");
    needs(&FunctionTable::TLGetInterfaceID, "TLGetInterfaceID");
    needs(&FunctionTable::TLOpenInterface, "TLOpenInterface");
    needs(&FunctionTable::TLUpdateInterfaceList, "TLUpdateInterfaceList");
    needs(&FunctionTable::IFGetNumDevices, "IFGetNumDevices");
    needs(&FunctionTable::IFGetDeviceID, "IFGetDeviceID");
    needs(&FunctionTable::IFUpdateDeviceList, "IFUpdateDeviceList");
    needs(&FunctionTable::IFOpenDevice, "IFOpenDevice");
    needs(&FunctionTable::DevGetPort, "DevGetPort");
    needs(&FunctionTable::DevClose, "DevClose");
}

// Producers without streams or events serve parameters only; later ones know more than earlier
// ones.
void Resolver::resolveOptional() const
{
    takes(&FunctionTable::GCCloseLib, "GCCloseLib");
    takes(&FunctionTable::GCGetInfo, "GCGetInfo");
    takes(&FunctionTable::GCGetLastError, "GCGetLastError");
    takes(&FunctionTable::GCGetPortURL, "GCGetPortURL");
    takes(&FunctionTable::GCGetPortInfo, "GCGetPortInfo");
    takes(&FunctionTable::GCRegisterEvent, "GCRegisterEvent");
    takes(&FunctionTable::GCUnregisterEvent, "GCUnregisterEvent");
    takes(&FunctionTable::EventGetData, "EventGetData");
    takes(&FunctionTable::EventGetDataInfo, "EventGetDataInfo");
    takes(&FunctionTable::EventGetInfo, "EventGetInfo");
    takes(&FunctionTable::EventFlush, "EventFlush");
    takes(&FunctionTable::EventKill, "EventKill");
    takes(&FunctionTable::TLClose, "TLClose");
    takes(&FunctionTable::TLGetInfo, "TLGetInfo");
    takes(&FunctionTable::TLGetInterfaceInfo, "TLGetInterfaceInfo");
    takes(&FunctionTable::IFClose, "IFClose");
    takes(&FunctionTable::IFGetInfo, "IFGetInfo");
    takes(&FunctionTable::IFGetDeviceInfo, "IFGetDeviceInfo");
    takes(&FunctionTable::DevGetNumDataStreams, "DevGetNumDataStreams");
    takes(&FunctionTable::DevGetDataStreamID, "DevGetDataStreamID");
    takes(&FunctionTable::DevOpenDataStream, "DevOpenDataStream");
    takes(&FunctionTable::DevGetInfo, "DevGetInfo");
    takes(&FunctionTable::DSAnnounceBuffer, "DSAnnounceBuffer");
    takes(&FunctionTable::DSAllocAndAnnounceBuffer, "DSAllocAndAnnounceBuffer");
    takes(&FunctionTable::DSFlushQueue, "DSFlushQueue");
    takes(&FunctionTable::DSStartAcquisition, "DSStartAcquisition");
    takes(&FunctionTable::DSStopAcquisition, "DSStopAcquisition");
    takes(&FunctionTable::DSGetInfo, "DSGetInfo");
    takes(&FunctionTable::DSGetBufferID, "DSGetBufferID");
    takes(&FunctionTable::DSClose, "DSClose");
    takes(&FunctionTable::DSRevokeBuffer, "DSRevokeBuffer");
    takes(&FunctionTable::DSQueueBuffer, "DSQueueBuffer");
    takes(&FunctionTable::DSGetBufferInfo, "DSGetBufferInfo");
    takes(&FunctionTable::GCGetNumPortURLs, "GCGetNumPortURLs");
    takes(&FunctionTable::GCGetPortURLInfo, "GCGetPortURLInfo");
    takes(&FunctionTable::GCReadPortStacked, "GCReadPortStacked");
    takes(&FunctionTable::GCWritePortStacked, "GCWritePortStacked");
    takes(&FunctionTable::DSGetBufferChunkData, "DSGetBufferChunkData");
    takes(&FunctionTable::IFGetParentTL, "IFGetParentTL");
    takes(&FunctionTable::DevGetParentIF, "DevGetParentIF");
    takes(&FunctionTable::DSGetParentDev, "DSGetParentDev");
    takes(&FunctionTable::DSGetNumBufferParts, "DSGetNumBufferParts");
    takes(&FunctionTable::DSGetBufferPartInfo, "DSGetBufferPartInfo");
    takes(&FunctionTable::DSGetBufferInfoStacked, "DSGetBufferInfoStacked");
    takes(&FunctionTable::DSGetBufferPartInfoStacked, "DSGetBufferPartInfoStacked");
}

} // namespace

const char* resolve(void* library, FunctionTable* table)
{
    Resolver resolver{library, table};
    resolver.resolveMandatory();
    resolver.resolveOptional();
    return resolver.missing;
}

} // namespace gentl
