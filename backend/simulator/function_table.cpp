// Fills the table with the functions of the producer.
#include "simulator/function_table.h"

#include "simulator/producer/producer_functions.h"

namespace simulator
{

namespace
{

void addLibrary(gentl::FunctionTable* table)
{
    table->GCInitLib = &producer::api::GCInitLib;
    table->GCCloseLib = &producer::api::GCCloseLib;
    table->GCGetInfo = &producer::api::GCGetInfo;
    table->GCGetLastError = &producer::api::GCGetLastError;
    table->GCReadPort = &producer::api::GCReadPort;
    table->GCWritePort = &producer::api::GCWritePort;
    table->GCGetPortURL = &producer::api::GCGetPortURL;
    table->GCGetPortInfo = &producer::api::GCGetPortInfo;
    table->GCRegisterEvent = &producer::api::GCRegisterEvent;
    table->GCUnregisterEvent = &producer::api::GCUnregisterEvent;
    table->EventGetData = &producer::api::EventGetData;
    table->EventGetDataInfo = &producer::api::EventGetDataInfo;
    table->EventGetInfo = &producer::api::EventGetInfo;
    table->EventFlush = &producer::api::EventFlush;
    table->EventKill = &producer::api::EventKill;
    table->GCGetNumPortURLs = &producer::api::GCGetNumPortURLs;
    table->GCGetPortURLInfo = &producer::api::GCGetPortURLInfo;
    table->GCReadPortStacked = &producer::api::GCReadPortStacked;
    table->GCWritePortStacked = &producer::api::GCWritePortStacked;
}

void addModules(gentl::FunctionTable* table)
{
    table->TLOpen = &producer::api::TLOpen;
    table->TLClose = &producer::api::TLClose;
    table->TLGetInfo = &producer::api::TLGetInfo;
    table->TLGetNumInterfaces = &producer::api::TLGetNumInterfaces;
    table->TLGetInterfaceID = &producer::api::TLGetInterfaceID;
    table->TLGetInterfaceInfo = &producer::api::TLGetInterfaceInfo;
    table->TLOpenInterface = &producer::api::TLOpenInterface;
    table->TLUpdateInterfaceList = &producer::api::TLUpdateInterfaceList;
    table->IFClose = &producer::api::IFClose;
    table->IFGetInfo = &producer::api::IFGetInfo;
    table->IFGetNumDevices = &producer::api::IFGetNumDevices;
    table->IFGetDeviceID = &producer::api::IFGetDeviceID;
    table->IFUpdateDeviceList = &producer::api::IFUpdateDeviceList;
    table->IFGetDeviceInfo = &producer::api::IFGetDeviceInfo;
    table->IFOpenDevice = &producer::api::IFOpenDevice;
    table->DevGetPort = &producer::api::DevGetPort;
    table->DevGetNumDataStreams = &producer::api::DevGetNumDataStreams;
    table->DevGetDataStreamID = &producer::api::DevGetDataStreamID;
    table->DevOpenDataStream = &producer::api::DevOpenDataStream;
    table->DevGetInfo = &producer::api::DevGetInfo;
    table->DevClose = &producer::api::DevClose;
    table->IFGetParentTL = &producer::api::IFGetParentTL;
    table->DevGetParentIF = &producer::api::DevGetParentIF;
}

void addStream(gentl::FunctionTable* table)
{
    table->DSAnnounceBuffer = &producer::api::DSAnnounceBuffer;
    table->DSAllocAndAnnounceBuffer = &producer::api::DSAllocAndAnnounceBuffer;
    table->DSFlushQueue = &producer::api::DSFlushQueue;
    table->DSStartAcquisition = &producer::api::DSStartAcquisition;
    table->DSStopAcquisition = &producer::api::DSStopAcquisition;
    table->DSGetInfo = &producer::api::DSGetInfo;
    table->DSGetBufferID = &producer::api::DSGetBufferID;
    table->DSClose = &producer::api::DSClose;
    table->DSRevokeBuffer = &producer::api::DSRevokeBuffer;
    table->DSQueueBuffer = &producer::api::DSQueueBuffer;
    table->DSGetBufferInfo = &producer::api::DSGetBufferInfo;
    table->DSGetBufferChunkData = &producer::api::DSGetBufferChunkData;
    table->DSGetParentDev = &producer::api::DSGetParentDev;
    table->DSGetNumBufferParts = &producer::api::DSGetNumBufferParts;
    table->DSGetBufferPartInfo = &producer::api::DSGetBufferPartInfo;
    table->DSGetBufferInfoStacked = &producer::api::DSGetBufferInfoStacked;
    table->DSGetBufferPartInfoStacked = &producer::api::DSGetBufferPartInfoStacked;
}

} // namespace

const gentl::FunctionTable& functionTable()
{
    static const gentl::FunctionTable table = [] {
        gentl::FunctionTable functions;
        addLibrary(&functions);
        addModules(&functions);
        addStream(&functions);
        return functions;
    }();
    return table;
}

} // namespace simulator
